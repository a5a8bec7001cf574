#include "storejournal.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLockFile>
#include <QSettings>
#include <QUuid>

namespace {

const QString storeKind = QStringLiteral("store");
const QString journalSuffix = QStringLiteral(".journal");

QString lockPathOf(const QString& journalPath)
{
    return journalPath + QStringLiteral(".lock");
}

} // namespace

StoreJournal::StoreJournal(const QString& folder, const QString& storeUrl)
    : folder(folder), url(storeUrl),
      path(QDir(folder).filePath(QUuid::createUuid().toString(QUuid::WithoutBraces) + journalSuffix))
{}

StoreJournal::~StoreJournal()
{
    QMutexLocker locker(&mutex);
    if (!file.isOpen())
        return;
    file.close();
    // Nothing waiting: nothing to keep.
    if (lastCommitted >= lastSequence)
        QFile::remove(path);
    lock.reset();
}

QString StoreJournal::defaultFolder()
{
    const QSettings settings(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("Kelmara"),
                             QStringLiteral("Harnwick"));
    const QFileInfo info(settings.fileName());
    return QDir(info.absolutePath()).filePath(info.completeBaseName() + QStringLiteral("-journal"));
}

namespace {

void appendJsonString(QByteArray& out, const QString& text)
{
    out += '"';
    const QByteArray utf8 = text.toUtf8();
    for (const char c : utf8) {
        if (c == '"' || c == '\\') {
            out += '\\';
            out += c;
        } else if (static_cast<unsigned char>(c) < 0x20) {
            out += "\\u00";
            out += "0123456789abcdef"[(c >> 4) & 0xf];
            out += "0123456789abcdef"[c & 0xf];
        } else {
            out += c;
        }
    }
    out += '"';
}

} // namespace

QByteArray StoreJournal::line(const QVariantMap& record)
{
    // Written by hand: a result goes through here as its device ends, on the thread that runs the
    // devices, and the general JSON writer costs several times more. Lists and maps take it still.
    QByteArray out;
    out.reserve(512);
    out += '{';
    for (auto it = record.cbegin(); it != record.cend(); ++it) {
        if (it != record.cbegin())
            out += ',';
        appendJsonString(out, it.key());
        out += ':';
        const QVariant& value = it.value();
        switch (int(value.type())) {
        case QMetaType::Int:
        case QMetaType::LongLong:
        case QMetaType::UInt:
        case QMetaType::ULongLong:
            out += QByteArray::number(value.toLongLong());
            break;
        case QMetaType::Bool:
            out += value.toBool() ? "true" : "false";
            break;
        case QMetaType::QString:
            appendJsonString(out, value.toString());
            break;
        default:
            if (value.isNull())
                out += "null";
            else
                out += QJsonDocument(QJsonArray{QJsonValue::fromVariant(value)})
                           .toJson(QJsonDocument::Compact)
                           .mid(1)
                           .chopped(1);
            break;
        }
    }
    out += "}\n";
    return out;
}

QString StoreJournal::errorString() const
{
    QMutexLocker locker(&mutex);
    return error;
}

bool StoreJournal::openFile()
{
    if (file.isOpen())
        return true;
    if (!QDir().mkpath(folder)) {
        error = tr("The journal folder \"%1\" cannot be made.").arg(QDir::toNativeSeparators(folder));
        return false;
    }
    lock = std::make_unique<QLockFile>(lockPathOf(path));
    lock->setStaleLockTime(0);
    if (!lock->tryLock(0)) {
        error = tr("The journal \"%1\" cannot be locked.").arg(QDir::toNativeSeparators(path));
        return false;
    }
    file.setFileName(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append)) {
        error = tr("The journal \"%1\" cannot be written: %2")
                    .arg(QDir::toNativeSeparators(path), file.errorString());
        return false;
    }
    return true;
}

qint64 StoreJournal::append(QVariantMap record)
{
    QMutexLocker locker(&mutex);
    if (!openFile())
        return 0;
    QByteArray bytes;
    if (!headerWritten)
        bytes = line({{QStringLiteral("kind"), storeKind}, {QStringLiteral("url"), url}});
    record.insert(QStringLiteral("seq"), lastSequence + 1);
    bytes += line(record);
    // One write per record: a kill cuts at most this line short, and a cut line is skipped on replay.
    if (file.write(bytes) != bytes.size() || !file.flush()) {
        error = tr("The journal \"%1\" cannot be written: %2")
                    .arg(QDir::toNativeSeparators(path), file.errorString());
        return 0;
    }
    headerWritten = true;
    return ++lastSequence;
}

void StoreJournal::committed(qint64 sequence)
{
    QMutexLocker locker(&mutex);
    lastCommitted = std::max(lastCommitted, sequence);
    if (!file.isOpen() || lastCommitted < lastSequence)
        return;
    if (file.resize(0))
        headerWritten = false;
}

bool StoreJournal::read(const QString& path, QString* storeUrl, QList<QVariantMap>* records)
{
    records->clear();
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    while (!file.atEnd()) {
        const QByteArray text = file.readLine();
        if (!text.endsWith('\n'))
            break; // cut short by a kill
        const QJsonDocument document = QJsonDocument::fromJson(text);
        if (!document.isObject())
            continue;
        const QVariantMap record = document.object().toVariantMap();
        if (record.value(QStringLiteral("kind")).toString() == storeKind)
            *storeUrl = record.value(QStringLiteral("url")).toString();
        else
            records->append(record);
    }
    return true;
}

std::vector<StoreJournal::Orphan> StoreJournal::claimOrphans(const QString& folder, const QString& ownPath)
{
    std::vector<Orphan> orphans;
    const QDir dir(folder);
    for (const QString& name :
         dir.entryList({QStringLiteral("*") + journalSuffix}, QDir::Files, QDir::Name)) {
        Orphan orphan;
        orphan.path = dir.filePath(name);
        if (QFileInfo(orphan.path) == QFileInfo(ownPath))
            continue;
        // A lock whose program is gone is taken over; one held by a running program is left alone.
        orphan.lock = std::make_shared<QLockFile>(lockPathOf(orphan.path));
        orphan.lock->setStaleLockTime(0);
        if (!orphan.lock->tryLock(0))
            continue;
        if (!read(orphan.path, &orphan.storeUrl, &orphan.records))
            continue;
        if (orphan.records.isEmpty()) {
            remove(orphan);
            continue;
        }
        orphans.push_back(std::move(orphan));
    }
    return orphans;
}

void StoreJournal::remove(Orphan& orphan)
{
    QFile::remove(orphan.path);
    if (orphan.lock)
        orphan.lock->unlock();
    orphan.lock.reset();
}
