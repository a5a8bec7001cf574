#include "historycommand.h"

#include "jobexecution.h"
#include "productionstore.h"
#include "runreport.h"
#include "storesettings.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QSqlError>
#include <QSqlQuery>
#include <QTextStream>

namespace {

const QString historyOption = QStringLiteral("history");
const QString deviceOption = QStringLiteral("device");
const QString sinceOption = QStringLiteral("since");
const QString untilOption = QStringLiteral("until");
const QString csvOption = QStringLiteral("csv");
const QString databaseOption = QStringLiteral("database");
const QString helpOption = QStringLiteral("help");

// The columns read for each result, in this order.
const QString selectResults = QStringLiteral(
    "SELECT d.run_id, s.name, d.device_id, d.serial, d.ip, d.nickname, d.part, d.connection, d.outcome, "
    "d.failed_action, d.failed_type, d.exit_code, d.signal, d.started_ms, d.ended_ms, d.utc_offset_s, "
    "d.elapsed_ms, d.log_file, r.job_file, r.job_sha256, r.started_ms, r.utc_offset_s, "
    "%1 "
    "FROM device_results d JOIN runs r ON r.id = d.run_id LEFT JOIN stations s ON s.id = r.station_id");
namespace Col {
enum Column
{
    RunId,
    Station,
    DeviceId,
    Serial,
    Ip,
    Nickname,
    Part,
    Connection,
    Outcome,
    FailedAction,
    FailedType,
    ExitCode,
    Signal,
    StartedMs,
    EndedMs,
    OffsetS,
    ElapsedMs,
    LogFile,
    JobFile,
    JobSha256,
    RunStartedMs,
    RunOffsetS,
    PoolValues
};
} // namespace Col

QDateTime momentOf(const QVariant& ms, const QVariant& offset)
{
    if (ms.isNull())
        return QDateTime();
    return QDateTime::fromMSecsSinceEpoch(ms.toLongLong(), Qt::OffsetFromUTC, offset.toInt());
}

QString numberOrEmpty(const QVariant& value)
{
    return value.isNull() ? QString() : QString::number(value.toLongLong());
}

} // namespace

HistoryCommand::HistoryCommand(QTextStream& out, QTextStream& err, QObject* parent)
    : QObject(parent), out(out), err(err)
{}

QString HistoryCommand::poolValuesColumn(const QString& resultAlias, bool postgres)
{
    const QString values = postgres
                               ? QStringLiteral("string_agg(p.name || '=' || v.value, '; ' ORDER BY p.name)")
                               : QStringLiteral("group_concat(p.name || '=' || v.value, '; ')");
    return QStringLiteral("(SELECT %1 FROM pool_values v JOIN pools p ON p.id = v.pool_id "
                          "WHERE v.run_id = %2.run_id AND v.device_id = %2.device_id)")
        .arg(values, resultAlias);
}

bool HistoryCommand::isHistoryCommand(const QStringList& arguments)
{
    for (const QString& argument : arguments.mid(1))
        if (argument == QLatin1String("--history"))
            return true;
    return false;
}

int HistoryCommand::fail(const QString& message)
{
    err << tr("harnwick: %1").arg(message) << Qt::endl;
    return CannotRead;
}

void HistoryCommand::printHelp()
{
    out << tr("Usage: harnwick --history [options]\n"
              "\n"
              "Prints the device results kept in the production database, oldest first,\n"
              "without a window.\n"
              "\n"
              "Options:\n"
              "  --device ID       only this device (serial number, IP address or device id)\n"
              "  --since DATE      only results from DATE on (2026-11-20, 2026-11-20T14:00,\n"
              "                    today, yesterday; local time unless a zone is given)\n"
              "  --until DATE      only results up to DATE (a date alone: to its end)\n"
              "  --csv FILE        write the results to FILE as CSV instead (\"-\": standard output)\n"
              "  --database URL    read this database instead of the one in the settings:\n"
              "                    sqlite:PATH or postgresql://user@host:port/dbname\n"
              "\n"
              "Exit status: 0 when results were found, 1 when none match, 2 for bad options,\n"
              "a bad URL or a database that cannot be read.")
        << Qt::endl;
}

bool HistoryCommand::parseMoment(const QString& text, bool endOfDay, qint64* ms, QString* error)
{
    const QString value = text.trimmed();
    QDate date;
    if (value.compare(QLatin1String("today"), Qt::CaseInsensitive) == 0)
        date = QDate::currentDate();
    else if (value.compare(QLatin1String("yesterday"), Qt::CaseInsensitive) == 0)
        date = QDate::currentDate().addDays(-1);
    else if (value.size() == 10)
        date = QDate::fromString(value, Qt::ISODate);
    if (date.isValid()) {
        const QDateTime moment =
            endOfDay ? QDateTime(date.addDays(1), QTime(0, 0)).addMSecs(-1) : QDateTime(date, QTime(0, 0));
        *ms = moment.toMSecsSinceEpoch();
        return true;
    }
    QString spelled = value;
    // "2026-11-20 14:00" reads as "2026-11-20T14:00".
    if (spelled.size() > 10 && spelled.at(10) == QLatin1Char(' '))
        spelled[10] = QLatin1Char('T');
    const QDateTime moment =
        value.size() > 10 ? QDateTime::fromString(spelled, Qt::ISODateWithMs) : QDateTime();
    if (!moment.isValid()) {
        if (error)
            *error =
                tr("\"%1\" is not a date: write 2026-11-20, 2026-11-20T14:00, today or yesterday.").arg(text);
        return false;
    }
    *ms = moment.toMSecsSinceEpoch();
    return true;
}

int HistoryCommand::exec(const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    parser.addOptions({{historyOption, QString()},
                       {deviceOption, QString(), QStringLiteral("id")},
                       {sinceOption, QString(), QStringLiteral("date")},
                       {untilOption, QString(), QStringLiteral("date")},
                       {csvOption, QString(), QStringLiteral("file")},
                       {databaseOption, QString(), QStringLiteral("url")},
                       {helpOption, QString()}});
    if (!parser.parse(arguments))
        return fail(parser.errorText() + QLatin1Char(' ') + tr("Try \"harnwick --history --help\"."));
    if (parser.isSet(helpOption)) {
        printHelp();
        return Found;
    }
    if (!parser.positionalArguments().isEmpty())
        return fail(tr("Unexpected argument \"%1\".").arg(parser.positionalArguments().constFirst()));

    qint64 since = 0, until = 0;
    QString error;
    if (parser.isSet(sinceOption) && !parseMoment(parser.value(sinceOption), false, &since, &error))
        return fail(error);
    if (parser.isSet(untilOption) && !parseMoment(parser.value(untilOption), true, &until, &error))
        return fail(error);
    if (parser.isSet(sinceOption) && parser.isSet(untilOption) && until < since)
        return fail(tr("--until lies before --since."));
    const QString device = parser.value(deviceOption).trimmed();
    if (parser.isSet(deviceOption) && device.isEmpty())
        return fail(tr("--device takes a serial number, an IP address or a device id."));

    const StoreLocation location = parser.isSet(databaseOption)
                                       ? StoreLocation::fromUrl(parser.value(databaseOption), &error)
                                       : StoreSettings::location(&error);
    if (!location.isValid())
        return fail(error);
    // Reading makes nothing: a file not there is a mistyped path or a station that never ran.
    if (!location.isPostgres() && !QFileInfo::exists(location.sqlitePath()))
        return fail(tr("The production database %1 does not exist.").arg(location.displayName()));
    ProductionStore store;
    if (!store.open(location, &error))
        return fail(error);

    QStringList conditions;
    QVariantList values;
    if (!device.isEmpty()) {
        // A unit is found by its data pool values too (which board has MAC 02:1A:00:00:01:0F).
        conditions << QStringLiteral(
            "(d.device_id = ? OR d.serial = ? OR d.ip = ? OR EXISTS (SELECT 1 FROM pool_values v WHERE "
            "v.run_id = d.run_id AND v.device_id = d.device_id AND v.value = ?))");
        values << device << device << device << device;
    }
    // A result that never started counts at its run's start.
    if (parser.isSet(sinceOption)) {
        conditions << QStringLiteral("COALESCE(d.started_ms, r.started_ms) >= ?");
        values << since;
    }
    if (parser.isSet(untilOption)) {
        conditions << QStringLiteral("COALESCE(d.started_ms, r.started_ms) <= ?");
        values << until;
    }
    QString sql = selectResults.arg(poolValuesColumn(QStringLiteral("d"), store.isPostgres()));
    if (!conditions.isEmpty())
        sql += QStringLiteral(" WHERE ") + conditions.join(QStringLiteral(" AND "));
    sql += QStringLiteral(" ORDER BY COALESCE(d.started_ms, r.started_ms), d.id");
    QSqlQuery query(store.database());
    query.setForwardOnly(true);
    query.prepare(sql);
    for (const QVariant& value : qAsConst(values))
        query.addBindValue(value);
    if (!query.exec())
        return fail(tr("The production database %1 cannot be read: %2")
                        .arg(location.displayName(), query.lastError().text()));

    // CSV goes to a file that appears whole or not at all.
    const QString csvPath = parser.value(csvOption);
    const bool csv = parser.isSet(csvOption);
    QSaveFile file(csvPath);
    QTextStream fileStream;
    QTextStream* csvStream = &out;
    if (csv && csvPath != QLatin1String("-")) {
        if (!file.open(QIODevice::WriteOnly))
            return fail(tr("The file \"%1\" cannot be written: %2")
                            .arg(QDir::toNativeSeparators(csvPath), file.errorString()));
        fileStream.setDevice(&file);
        fileStream.setCodec("UTF-8");
        csvStream = &fileStream;
    }
    if (csv) {
        // The byte order mark tells spreadsheets the file is UTF-8, as in the run report.
        *csvStream << QChar(0xfeff)
                   << RunReport::line({QStringLiteral("Start"),         QStringLiteral("End"),
                                       QStringLiteral("Station"),       QStringLiteral("Device id"),
                                       QStringLiteral("Serial number"), QStringLiteral("IP address"),
                                       QStringLiteral("Nickname"),      QStringLiteral("Target part"),
                                       QStringLiteral("Connection"),    QStringLiteral("Outcome"),
                                       QStringLiteral("Failed action"), QStringLiteral("Failed action type"),
                                       QStringLiteral("Exit code"),     QStringLiteral("Signal"),
                                       QStringLiteral("Elapsed ms"),    QStringLiteral("Log file"),
                                       QStringLiteral("Run"),           QStringLiteral("Job file"),
                                       QStringLiteral("Job SHA-256"),   QStringLiteral("Data pool values")});
    }

    int found = 0;
    while (query.next()) {
        ++found;
        const QVariant startedMs = query.value(Col::StartedMs).isNull() ? query.value(Col::RunStartedMs)
                                                                        : query.value(Col::StartedMs);
        const QVariant offset =
            query.value(Col::OffsetS).isNull() ? query.value(Col::RunOffsetS) : query.value(Col::OffsetS);
        const QDateTime started = momentOf(startedMs, offset);
        const QDateTime ended = momentOf(query.value(Col::EndedMs), offset);
        if (csv) {
            *csvStream << RunReport::line(
                {started.isValid() ? started.toString(Qt::ISODateWithMs) : QString(),
                 ended.isValid() ? ended.toString(Qt::ISODateWithMs) : QString(),
                 query.value(Col::Station).toString(),
                 query.value(Col::DeviceId).toString(),
                 query.value(Col::Serial).toString(),
                 query.value(Col::Ip).toString(),
                 query.value(Col::Nickname).toString(),
                 query.value(Col::Part).toString(),
                 query.value(Col::Connection).toString(),
                 query.value(Col::Outcome).toString(),
                 numberOrEmpty(query.value(Col::FailedAction)),
                 query.value(Col::FailedType).toString(),
                 numberOrEmpty(query.value(Col::ExitCode)),
                 numberOrEmpty(query.value(Col::Signal)),
                 numberOrEmpty(query.value(Col::ElapsedMs)),
                 query.value(Col::LogFile).toString(),
                 query.value(Col::RunId).toString(),
                 query.value(Col::JobFile).toString(),
                 query.value(Col::JobSha256).toString(),
                 query.value(Col::PoolValues).toString()});
            continue;
        }
        QString line = started.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss t")) + QStringLiteral("  ") +
                       query.value(Col::Outcome).toString().toUpper().leftJustified(11) +
                       QStringLiteral("  ") + query.value(Col::DeviceId).toString();
        const QString nickname = query.value(Col::Nickname).toString();
        line += QStringLiteral("  ") + (nickname.isEmpty() ? QStringLiteral("-") : nickname);
        line += QStringLiteral("  ") + query.value(Col::Part).toString();
        line += QStringLiteral("  ") + query.value(Col::Station).toString();
        if (!query.value(Col::ElapsedMs).isNull())
            line +=
                QStringLiteral("  ") + JobExecution::elapsedText(query.value(Col::ElapsedMs).toLongLong());
        if (!query.value(Col::FailedAction).isNull())
            line += QStringLiteral("  ") + tr("during action %1 (%2)")
                                               .arg(query.value(Col::FailedAction).toInt())
                                               .arg(query.value(Col::FailedType).toString());
        if (!query.value(Col::ExitCode).isNull() && query.value(Col::ExitCode).toInt() != 0)
            line += QStringLiteral("  ") + tr("exit code %1").arg(query.value(Col::ExitCode).toInt());
        if (!query.value(Col::Signal).isNull())
            line += QStringLiteral("  ") + tr("signal %1").arg(query.value(Col::Signal).toInt());
        if (!query.value(Col::PoolValues).toString().isEmpty())
            line += QStringLiteral("  ") + query.value(Col::PoolValues).toString();
        if (!query.value(Col::LogFile).toString().isEmpty())
            line += QStringLiteral("  ") + QDir::toNativeSeparators(query.value(Col::LogFile).toString());
        out << line << '\n';
    }
    if (query.lastError().isValid())
        return fail(tr("The production database %1 cannot be read: %2")
                        .arg(location.displayName(), query.lastError().text()));
    if (!csv)
        out << tr("%n result(s)", nullptr, found) << Qt::endl;
    csvStream->flush();
    if (csv && csvPath != QLatin1String("-") && !file.commit())
        return fail(tr("The file \"%1\" cannot be written: %2")
                        .arg(QDir::toNativeSeparators(csvPath), file.errorString()));
    out.flush();
    return found > 0 ? Found : NoneFound;
}
