#include "stationlock.h"

#include <QCryptographicHash>
#include <QPasswordDigestor>
#include <QRandomGenerator>
#include <QStringList>

namespace {

const QString scheme = QStringLiteral("pbkdf2-sha256");
constexpr int saltBytes = 16;
constexpr int keyBytes = 32;

QByteArray derive(const QString& password, const QByteArray& salt, int iterationCount)
{
    return QPasswordDigestor::deriveKeyPbkdf2(QCryptographicHash::Sha256, password.toUtf8(), salt,
                                              iterationCount, keyBytes);
}

// Compares every byte, so the time taken does not tell how much of a guess was right.
bool sameBytes(const QByteArray& a, const QByteArray& b)
{
    if (a.size() != b.size())
        return false;
    unsigned char difference = 0;
    for (int i = 0; i < a.size(); ++i)
        difference |= static_cast<unsigned char>(a.at(i) ^ b.at(i));
    return difference == 0;
}

} // namespace

StationLock::StationLock(const QString& record) : m_record(record) {}

QString StationLock::makeRecord(const QString& password, int iterationCount)
{
    if (password.size() < minimumLength)
        return QString();
    QByteArray salt(saltBytes, '\0');
    QRandomGenerator::system()->fillRange(reinterpret_cast<quint32*>(salt.data()), saltBytes / 4);
    return QStringList{scheme, QString::number(iterationCount), QString::fromLatin1(salt.toBase64()),
                       QString::fromLatin1(derive(password, salt, iterationCount).toBase64())}
        .join(QLatin1Char('$'));
}

bool StationLock::matches(const QString& record, const QString& password)
{
    const QStringList parts = record.split(QLatin1Char('$'));
    if (parts.size() != 4 || parts.at(0) != scheme)
        return false;
    bool ok = false;
    const int iterationCount = parts.at(1).toInt(&ok);
    if (!ok || iterationCount < 100000)
        return false;
    const QByteArray salt = QByteArray::fromBase64(parts.at(2).toLatin1());
    const QByteArray key = QByteArray::fromBase64(parts.at(3).toLatin1());
    if (salt.size() < 8 || key.size() != keyBytes)
        return false;
    return sameBytes(derive(password, salt, iterationCount), key);
}

bool StationLock::setPassword(const QString& password)
{
    if (hasPassword() && !m_unlocked)
        return false;
    const QString record = makeRecord(password);
    if (record.isEmpty())
        return false;
    m_record = record;
    return true;
}

StationLock::Result StationLock::unlock(const QString& password, qint64 nowMs)
{
    if (!hasPassword())
        return Result::NoPassword;
    if (waitLeftMs(nowMs) > 0)
        return Result::MustWait;
    if (matches(m_record, password)) {
        m_unlocked = true;
        m_wrongTries = 0;
        m_lastActivityMs = nowMs;
        return Result::Unlocked;
    }
    if (++m_wrongTries >= triesBeforeWait) {
        m_wrongTries = 0;
        m_waitUntilMs = nowMs + waitMs;
        return Result::MustWait;
    }
    return Result::Wrong;
}

qint64 StationLock::waitLeftMs(qint64 nowMs) const
{
    return qMax<qint64>(0, m_waitUntilMs - nowMs);
}

bool StationLock::lockIfIdle(qint64 nowMs)
{
    if (!m_unlocked || m_idleLimitMs <= 0 || nowMs - m_lastActivityMs < m_idleLimitMs)
        return false;
    m_unlocked = false;
    return true;
}
