#include "storewriter.h"

#include "runrecords.h"
#include "storejournal.h"

#include <QDateTime>
#include <QSqlError>
#include <QSqlQuery>
#include <QTimer>
#include <QVariant>

#include <algorithm>

namespace {

// Records written in one transaction at most.
constexpr int batchSize = 500;
// How long a record waits for others to share its transaction.
constexpr int batchDelayMs = 100;

// The columns each record fills, with the kind of value they hold.
struct Column
{
    const char* name;
    QVariant::Type type;
};

const Column runColumns[] = {{"id", QVariant::String},           {"station_id", QVariant::LongLong},
                             {"started_ms", QVariant::LongLong}, {"utc_offset_s", QVariant::LongLong},
                             {"job_file", QVariant::String},     {"job_file_sha256", QVariant::String},
                             {"job_sha256", QVariant::String},   {"steps", QVariant::String},
                             {"operator", QVariant::String},     {"devices", QVariant::LongLong}};
const Column resultColumns[] = {{"run_id", QVariant::String},          {"device_id", QVariant::String},
                                {"serial", QVariant::String},          {"ip", QVariant::String},
                                {"nickname", QVariant::String},        {"part", QVariant::String},
                                {"connection", QVariant::String},      {"outcome", QVariant::String},
                                {"failed_action", QVariant::LongLong}, {"failed_type", QVariant::String},
                                {"exit_code", QVariant::LongLong},     {"signal", QVariant::LongLong},
                                {"started_ms", QVariant::LongLong},    {"ended_ms", QVariant::LongLong},
                                {"utc_offset_s", QVariant::LongLong},  {"elapsed_ms", QVariant::LongLong},
                                {"log_file", QVariant::String}};
const Column auditColumns[] = {{"at_ms", QVariant::LongLong},   {"station_id", QVariant::LongLong},
                               {"actor", QVariant::String},     {"what", QVariant::String},
                               {"old_value", QVariant::String}, {"new_value", QVariant::String}};
const Column endColumns[] = {{"ended_ms", QVariant::LongLong}, {"devices", QVariant::LongLong},
                             {"done", QVariant::LongLong},     {"failed", QVariant::LongLong},
                             {"crashed", QVariant::LongLong},  {"timed_out", QVariant::LongLong},
                             {"aborted", QVariant::LongLong},  {"not_started", QVariant::LongLong}};

template<size_t N> QString columnList(const Column (&columns)[N])
{
    QStringList names;
    for (const Column& column : columns)
        names << QString::fromLatin1(column.name);
    return names.join(QStringLiteral(", "));
}

template<size_t N> QString placeholders(const Column (&)[N])
{
    QStringList marks;
    for (size_t i = 0; i < N; ++i)
        marks << QStringLiteral("?");
    return marks.join(QStringLiteral(", "));
}

// The writer's statements, made once from the column lists.
struct Statements
{
    QString insertRun;
    QString insertResult;
    QString updateRun;
    QString insertAudit;
};

Statements makeStatements()
{
    QStringList assignments;
    for (const Column& column : endColumns)
        assignments << QString::fromLatin1(column.name) + QStringLiteral(" = ?");
    Statements statements;
    statements.insertRun = QStringLiteral("INSERT INTO runs(%1) VALUES(%2) ON CONFLICT(id) DO NOTHING")
                               .arg(columnList(runColumns), placeholders(runColumns));
    statements.insertResult =
        QStringLiteral("INSERT INTO device_results(%1) VALUES(%2) ON CONFLICT(run_id, device_id) DO NOTHING")
            .arg(columnList(resultColumns), placeholders(resultColumns));
    statements.updateRun =
        QStringLiteral("UPDATE runs SET %1 WHERE id = ?").arg(assignments.join(QStringLiteral(", ")));
    // An audit row has no key of its own: a replayed one is known by its moment, setting and station.
    statements.insertAudit =
        QStringLiteral("INSERT INTO audit(%1) SELECT %2 WHERE NOT EXISTS (SELECT 1 FROM audit "
                       "WHERE at_ms = ? AND what = ? AND station_id = ?)")
            .arg(columnList(auditColumns), placeholders(auditColumns));
    return statements;
}

// A value as the column takes it: empty texts and absent values are NULL. NUL characters
// are dropped: PostgreSQL refuses them in text, and one odd nickname must not hold up a run.
QVariant columnValue(const QVariantMap& record, const Column& column)
{
    const QVariant value = record.value(QString::fromLatin1(column.name));
    if (column.type == QVariant::String) {
        QString text = value.toString();
        text.remove(QChar(0));
        return text.isEmpty() ? QVariant(QVariant::String) : QVariant(text);
    }
    bool ok = false;
    const qint64 number = value.toLongLong(&ok);
    return value.isNull() || !ok ? QVariant(QVariant::LongLong) : QVariant(number);
}

template<size_t N> void bindColumns(QSqlQuery& query, const QVariantMap& record, const Column (&columns)[N])
{
    for (const Column& column : columns)
        query.addBindValue(columnValue(record, column));
}

// Why a statement failed; *busy tells whether the store is busy or gone (try again later) rather
// than refusing the record itself.
bool failed(ProductionStore& store, const QSqlQuery& query, QString* error, bool* busy)
{
    const QSqlError sqlError = query.lastError();
    if (error)
        *error = sqlError.text();
    if (busy) {
        // SQLite: another program held the file beyond the busy timeout (SQLITE_BUSY, SQLITE_LOCKED).
        const QString code = sqlError.nativeErrorCode();
        *busy = sqlError.type() == QSqlError::ConnectionError ||
                (!store.isPostgres() && (code == QLatin1String("5") || code == QLatin1String("6")));
        if (!*busy && store.database().isOpen()) {
            QSqlQuery probe(store.database());
            *busy = !probe.exec(QStringLiteral("SELECT 1"));
        } else if (!store.database().isOpen()) {
            *busy = true;
        }
    }
    return false;
}

int countResults(const QList<QVariantMap>& records)
{
    return int(std::count_if(records.cbegin(), records.cend(), [](const QVariantMap& record) {
        return record.value(RunRecords::kindKey).toString() == RunRecords::resultKind;
    }));
}

} // namespace

struct StoreWriter::OrphanBatch
{
    StoreJournal::Orphan journal;
    int results = 0;
};

StoreWriter::StoreWriter(const StoreLocation& location, const QString& stationName, StoreJournal* journal,
                         const QString& journalFolder, QObject* parent)
    : QObject(parent), location(location), stationName(stationName), journal(journal),
      journalFolder(journalFolder)
{
    retryTimer = new QTimer(this);
    retryTimer->setSingleShot(true);
    connect(retryTimer, &QTimer::timeout, this, &StoreWriter::process);
    batchTimer = new QTimer(this);
    batchTimer->setSingleShot(true);
    batchTimer->setInterval(batchDelayMs);
    connect(batchTimer, &QTimer::timeout, this, &StoreWriter::process);
}

StoreWriter::~StoreWriter() = default;

void StoreWriter::setRetryDelays(int firstMs, int longestMs)
{
    firstDelayMs = delayMs = firstMs;
    longestDelayMs = longestMs;
}

void StoreWriter::setStationName(const QString& name)
{
    // Opened again with the new name at the next write.
    if (name != stationName)
        store.close();
    stationName = name;
}

bool StoreWriter::ensureOpen(QString* error)
{
    if (store.isOpen())
        return true;
    if (!stationName.isEmpty())
        store.setStationName(stationName);
    return store.open(location, error);
}

void StoreWriter::begin()
{
    for (auto& orphan :
         StoreJournal::claimOrphans(journalFolder, journal ? journal->filePath() : QString())) {
        auto batch = std::make_unique<OrphanBatch>();
        batch->journal = std::move(orphan);
        batch->results = countResults(batch->journal.records);
        orphans.push_back(std::move(batch));
    }
    process();
}

void StoreWriter::post(const QVariantMap& record)
{
    QMutexLocker locker(&inboxMutex);
    inbox.append(record);
    // One wake-up per batch: while the writer is going to look anyway, records only queue up.
    if (lookingSoon)
        return;
    lookingSoon = true;
    QMetaObject::invokeMethod(this, &StoreWriter::takeInbox, Qt::QueuedConnection);
}

QList<QVariantMap> StoreWriter::drainInbox(bool lookAgainSoon)
{
    QMutexLocker locker(&inboxMutex);
    QList<QVariantMap> records;
    records.swap(inbox);
    lookingSoon = lookAgainSoon;
    return records;
}

void StoreWriter::takeInbox()
{
    const bool away = retryTimer->isActive();
    // Results that end close together go in one transaction: each commit of SQLite waits for the
    // disk, and the records are safe in the journal meanwhile. The batch's end takes what came since.
    const QList<QVariantMap> records = drainInbox(!away);
    pending += records;
    if (away) {
        // The store is away: the records wait with the others, in the journal already.
        report(lastProblem);
        if (!records.isEmpty())
            attempted = records.last().value(QStringLiteral("seq")).toLongLong();
        return;
    }
    if (!batchTimer->isActive())
        batchTimer->start();
}

void StoreWriter::tryNow()
{
    retryTimer->stop();
    process();
}

void StoreWriter::end()
{
    // One last try when the store is there; a store away would only hold up the program's end.
    pending += drainInbox(false);
    if (!retryTimer->isActive() && !pending.isEmpty())
        process();
    ended = true;
    retryTimer->stop();
    store.close();
}

void StoreWriter::scheduleRetry()
{
    if (ended)
        return;
    retryTimer->start(delayMs);
    delayMs = std::min(delayMs * 2, longestDelayMs);
}

void StoreWriter::report(const QString& problem)
{
    int results = countResults(pending);
    for (const auto& orphan : orphans)
        results += orphan->results;
    lastProblem = problem;
    if (results == lastReportedWaiting && !problem.isEmpty())
        return;
    lastReportedWaiting = results;
    emit waiting(results, problem);
}

void StoreWriter::process()
{
    batchTimer->stop();
    pending += drainInbox(false);
    if (ended)
        return;
    const qint64 handed =
        pending.isEmpty() ? attempted.load() : pending.last().value(QStringLiteral("seq")).toLongLong();
    QString problem;
    auto giveUpForNow = [&] {
        store.close();
        scheduleRetry();
        report(problem);
        attempted = std::max(attempted.load(), handed);
    };
    if (!ensureOpen(&problem)) {
        giveUpForNow();
        return;
    }

    // Journals of ended programs first: their records are older.
    for (auto it = orphans.begin(); it != orphans.end();) {
        OrphanBatch& batch = **it;
        QString error;
        const StoreLocation target = StoreLocation::fromUrl(batch.journal.storeUrl, &error);
        bool written = false;
        if (!target.isValid()) {
            // Nowhere to write it: left for a program that knows the place.
            it = orphans.erase(it);
            continue;
        }
        if (target == location) {
            bool busy = false;
            written = writeRecords(store, batch.journal.records, &error, &busy);
            if (!written && busy) {
                problem = error;
                giveUpForNow();
                return;
            }
        } else {
            ProductionStore other;
            if (!stationName.isEmpty())
                other.setStationName(stationName);
            written = other.open(target, &error) && writeRecords(other, batch.journal.records, &error);
        }
        if (written) {
            StoreJournal::remove(batch.journal);
            it = orphans.erase(it);
        } else {
            ++it;
        }
    }

    while (!pending.isEmpty()) {
        const QList<QVariantMap> chunk = pending.mid(0, batchSize);
        QString error;
        bool busy = false;
        if (writeRecords(store, chunk, &error, &busy)) {
            pending.erase(pending.begin(), pending.begin() + chunk.size());
            written += countResults(chunk);
            if (journal)
                journal->committed(chunk.last().value(QStringLiteral("seq")).toLongLong());
            continue;
        }
        if (busy) {
            problem = error;
            giveUpForNow();
            return;
        }
        // The store is there but refuses something in the chunk: each record on its own, so only
        // the one it refuses is left out.
        for (const QVariantMap& record : chunk) {
            if (!writeRecords(store, {record}, &error, &busy) && busy) {
                problem = error;
                giveUpForNow();
                return;
            }
            pending.removeFirst();
            written += countResults({record});
            if (journal)
                journal->committed(record.value(QStringLiteral("seq")).toLongLong());
        }
    }
    delayMs = firstDelayMs;
    report(QString());
    attempted = std::max(attempted.load(), handed);
}

bool StoreWriter::writeRecords(ProductionStore& store, const QList<QVariantMap>& records, QString* error,
                               bool* busy)
{
    if (busy)
        *busy = true;
    if (!store.isOpen()) {
        if (error)
            *error = tr("The production database is not open.");
        return false;
    }
    QSqlDatabase db = store.database();
    QSqlQuery query(db);
    // SQLite: take the write lock at once, so two programs never both read and then both wait to write.
    if (!query.exec(store.isPostgres() ? QStringLiteral("BEGIN") : QStringLiteral("BEGIN IMMEDIATE")))
        return failed(store, query, error, busy);
    auto rollBack = [&](const QSqlQuery& failing) {
        if (db.isOpen())
            QSqlQuery(db).exec(QStringLiteral("ROLLBACK"));
        return failed(store, failing, error, busy);
    };

    // The statements name fixed columns only; every value is bound.
    static const Statements statements = makeStatements();
    QSqlQuery insertRun(db);
    insertRun.prepare(statements.insertRun);
    QSqlQuery insertFile(db);
    insertFile.prepare(QStringLiteral("INSERT INTO run_files(run_id, path, sha256) VALUES(?, ?, ?)"));
    QSqlQuery insertResult(db);
    insertResult.prepare(statements.insertResult);
    QSqlQuery updateRun(db);
    updateRun.prepare(statements.updateRun);
    QSqlQuery insertStation(db);
    insertStation.prepare(QStringLiteral(
        "INSERT INTO stations(name, host, created_ms) VALUES(?, NULL, ?) ON CONFLICT(name) DO NOTHING"));
    QSqlQuery findStation(db);
    findStation.prepare(QStringLiteral("SELECT id FROM stations WHERE name = ?"));

    QSqlQuery insertAudit(db);
    insertAudit.prepare(statements.insertAudit);

    QHash<QString, qint64> stations{{store.stationName(), store.stationId()}};
    // The station's id by its name, entered when the store does not know it yet.
    auto stationOf = [&](const QVariantMap& record, qint64* id) {
        const QString station = record.value(RunRecords::stationKey).toString();
        if (!stations.contains(station)) {
            insertStation.addBindValue(station);
            insertStation.addBindValue(QDateTime::currentMSecsSinceEpoch());
            if (!insertStation.exec())
                return rollBack(insertStation);
            findStation.addBindValue(station);
            if (!findStation.exec() || !findStation.next())
                return rollBack(findStation);
            stations.insert(station, findStation.value(0).toLongLong());
            findStation.finish();
        }
        *id = stations.value(station);
        return true;
    };
    for (const QVariantMap& record : records) {
        const QString kind = record.value(RunRecords::kindKey).toString();
        if (kind == RunRecords::runKind) {
            QVariantMap values = record;
            qint64 station = 0;
            if (!stationOf(record, &station))
                return false;
            values.insert(QStringLiteral("station_id"), station);
            bindColumns(insertRun, values, runColumns);
            if (!insertRun.exec())
                return rollBack(insertRun);
            // A run written before (a replay) has its files already.
            if (insertRun.numRowsAffected() != 1)
                continue;
            for (const QVariant& file : record.value(RunRecords::filesKey).toList()) {
                const QVariantMap map = file.toMap();
                insertFile.addBindValue(record.value(QStringLiteral("id")).toString());
                insertFile.addBindValue(map.value(QStringLiteral("path")).toString());
                insertFile.addBindValue(map.value(QStringLiteral("sha256")).toString());
                if (!insertFile.exec())
                    return rollBack(insertFile);
            }
        } else if (kind == RunRecords::resultKind) {
            bindColumns(insertResult, record, resultColumns);
            if (!insertResult.exec())
                return rollBack(insertResult);
        } else if (kind == RunRecords::auditKind) {
            QVariantMap values = record;
            qint64 station = 0;
            if (!stationOf(record, &station))
                return false;
            values.insert(QStringLiteral("station_id"), station);
            bindColumns(insertAudit, values, auditColumns);
            insertAudit.addBindValue(values.value(QStringLiteral("at_ms")).toLongLong());
            insertAudit.addBindValue(values.value(QStringLiteral("what")).toString());
            insertAudit.addBindValue(station);
            if (!insertAudit.exec())
                return rollBack(insertAudit);
        } else if (kind == RunRecords::endKind) {
            bindColumns(updateRun, record, endColumns);
            updateRun.addBindValue(record.value(QStringLiteral("id")).toString());
            if (!updateRun.exec())
                return rollBack(updateRun);
        }
    }
    if (!query.exec(QStringLiteral("COMMIT")))
        return rollBack(query);
    return true;
}
