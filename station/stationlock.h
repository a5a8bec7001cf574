#pragma once

#include <QByteArray>
#include <QString>

// The station password and what guards it: only a salted PBKDF2-SHA256 record of it is ever kept
// ("pbkdf2-sha256$ITERATIONS$SALT$KEY", base64), five wrong tries in a row make it wait a minute,
// and an unlocked station locks itself again after a set idle time. There is no default password:
// until one is set the station cannot be unlocked at all.
//
// Pure: the caller keeps the record and gives the times.
class StationLock
{
public:
    static constexpr int iterations = 150000;
    static constexpr int triesBeforeWait = 5;
    static constexpr qint64 waitMs = 60000;
    static constexpr qint64 defaultIdleMs = 5 * 60 * 1000;
    static constexpr int minimumLength = 4;

    enum class Result
    {
        Unlocked,
        Wrong,
        // Too many wrong tries: no try counts until the wait is over.
        MustWait,
        NoPassword
    };

    explicit StationLock(const QString& record = QString());

    // A record for a new password with a fresh random salt; empty when the password is too short.
    static QString makeRecord(const QString& password, int iterationCount = iterations);
    // Whether the password matches the record (a malformed record or one with too few
    // iterations matches nothing).
    static bool matches(const QString& record, const QString& password);

    bool hasPassword() const { return !m_record.isEmpty(); }
    QString record() const { return m_record; }
    // Sets the first password; refused (false) once there is one, unless the station is unlocked.
    bool setPassword(const QString& password);

    Result unlock(const QString& password, qint64 nowMs);
    void lock() { m_unlocked = false; }
    bool isUnlocked() const { return m_unlocked; }
    // How long a locked-out station still waits; 0 when a try would count.
    qint64 waitLeftMs(qint64 nowMs) const;
    int wrongTries() const { return m_wrongTries; }

    // The operator did something: the idle time counts from here.
    void touch(qint64 nowMs) { m_lastActivityMs = nowMs; }
    void setIdleLimitMs(qint64 ms) { m_idleLimitMs = ms; }
    // Locks when unlocked and idle for the limit; true when it locked now.
    bool lockIfIdle(qint64 nowMs);

private:
    QString m_record;
    bool m_unlocked = false;
    int m_wrongTries = 0;
    qint64 m_waitUntilMs = 0;
    qint64 m_lastActivityMs = 0;
    qint64 m_idleLimitMs = defaultIdleMs;
};
