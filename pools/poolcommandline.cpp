#include "poolcommandline.h"

#include "csvlistimport.h"
#include "poolpattern.h"
#include "poolstoreconnection.h"

#include <QCommandLineParser>
#include <QTextStream>

#include <limits>

namespace {

const QString DefineOption = QStringLiteral("pool-define");
const QString PoolsOption = QStringLiteral("pools");

} // namespace

PoolCommandLine::PoolCommandLine(QTextStream& out, QTextStream& err) : out(out), err(err) {}

bool PoolCommandLine::handles(const QStringList& arguments)
{
    for (const QString& argument : arguments)
        if (argument == QLatin1String("--pool-define") ||
            argument.startsWith(QLatin1String("--pool-define=")) || argument == QLatin1String("--pools"))
            return true;
    return false;
}

bool PoolCommandLine::parse(const QStringList& arguments, Request* request, QString* error)
{
    QCommandLineParser parser;
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    const QCommandLineOption define(DefineOption, tr("Define a data pool, or add to one."), tr("name"));
    const QCommandLineOption pools(PoolsOption, tr("List the data pools with their counts."));
    const QCommandLineOption counter(QStringLiteral("counter"), tr("A counter from FIRST to LAST."),
                                     tr("first..last"));
    const QCommandLineOption mac(QStringLiteral("mac"), tr("A block of MAC addresses from FIRST to LAST."),
                                 tr("first..last"));
    const QCommandLineOption list(QStringLiteral("list"), tr("Values from a CSV file."), tr("file"));
    const QCommandLineOption column(QStringLiteral("column"), tr("The CSV column holding the values."),
                                    tr("name"));
    const QCommandLineOption step(QStringLiteral("step"), tr("The distance between values (default 1)."),
                                  tr("n"));
    const QCommandLineOption format(QStringLiteral("format"), tr("How a counter value is written."),
                                    tr("pattern"));
    const QCommandLineOption onFailure(
        QStringLiteral("on-failure"), tr("What a failed device's value becomes: reuse or void."), tr("rule"));
    const QCommandLineOption database(QStringLiteral("database"), tr("The production store."), tr("url"));
    parser.addOptions({define, pools, counter, mac, list, column, step, format, onFailure, database});
    if (!parser.parse(arguments)) {
        *error = parser.errorText();
        return false;
    }
    if (!parser.positionalArguments().isEmpty()) {
        *error = tr("Unexpected argument \"%1\".").arg(parser.positionalArguments().first());
        return false;
    }
    Request parsed;
    parsed.database = parser.value(database);
    if (parser.isSet(pools)) {
        if (parser.isSet(define)) {
            *error = tr("--pools and --pool-define cannot be used together.");
            return false;
        }
        for (const QCommandLineOption* option : {&counter, &mac, &list, &column, &step, &format, &onFailure})
            if (parser.isSet(*option)) {
                *error = tr("--%1 belongs to --pool-define.").arg(option->names().first());
                return false;
            }
        parsed.list = true;
        *request = parsed;
        return true;
    }
    PoolDefinition& definition = parsed.definition;
    definition.name = parser.value(define);
    if (!PoolStore::validName(definition.name, error))
        return false;
    const int kinds = int(parser.isSet(counter)) + int(parser.isSet(mac)) + int(parser.isSet(list));
    if (kinds != 1) {
        *error = tr("--pool-define needs exactly one of --counter, --mac and --list.");
        return false;
    }
    definition.kind = parser.isSet(mac)
                          ? PoolDefinition::Mac
                          : (parser.isSet(list) ? PoolDefinition::List : PoolDefinition::Counter);
    if (parser.isSet(format) && definition.kind != PoolDefinition::Counter) {
        *error = tr("--format is for counters only.");
        return false;
    }
    if (parser.isSet(column) && definition.kind != PoolDefinition::List) {
        *error = tr("--column is for lists only.");
        return false;
    }
    if (parser.isSet(step) && definition.kind == PoolDefinition::List) {
        *error = tr("--step is for counters and MAC blocks only.");
        return false;
    }
    quint64 stepValue = 1;
    if (parser.isSet(step)) {
        bool ok = false;
        const qlonglong value = parser.value(step).toLongLong(&ok);
        if (!ok || value < 1) {
            *error = tr("The step \"%1\" is not a whole number of at least 1.").arg(parser.value(step));
            return false;
        }
        stepValue = quint64(value);
    }
    if (definition.kind == PoolDefinition::Counter) {
        if (!PoolRange::parseCounter(parser.value(counter), stepValue, &definition.range, error))
            return false;
        definition.format = parser.value(format);
        PoolPattern pattern;
        if (!definition.format.isEmpty() && !PoolPattern::parse(definition.format, &pattern, error))
            return false;
    } else if (definition.kind == PoolDefinition::Mac) {
        if (!PoolRange::parseMac(parser.value(mac), stepValue, &definition.range, error))
            return false;
    } else {
        parsed.listFile = parser.value(list);
        parsed.column = parser.value(column);
    }
    // Keys in a list are typically secret and used once; counters and addresses come back.
    definition.voidOnFailure = definition.kind == PoolDefinition::List;
    if (parser.isSet(onFailure)) {
        const QString rule = parser.value(onFailure);
        if (rule != QLatin1String("reuse") && rule != QLatin1String("void")) {
            *error = tr("--on-failure takes \"reuse\" or \"void\", not \"%1\".").arg(rule);
            return false;
        }
        definition.voidOnFailure = rule == QLatin1String("void");
    }
    *request = parsed;
    return true;
}

QString PoolCommandLine::countsLine(const PoolCounts& counts)
{
    return QStringList{counts.name,
                       PoolDefinition::kindName(counts.kind),
                       QString::number(counts.left),
                       QString::number(counts.committed),
                       QString::number(counts.released),
                       QString::number(counts.voided),
                       QString::number(counts.reserved)}
        .join(QLatin1Char('\t'));
}

int PoolCommandLine::fail(ExitCode code, const QString& message)
{
    err << tr("harnwick: %1").arg(message) << Qt::endl;
    return code;
}

int PoolCommandLine::exec(const QStringList& arguments)
{
    Request request;
    QString error;
    if (!parse(arguments, &request, &error))
        return fail(BadInput, error);
    if (request.definition.kind == PoolDefinition::List && !request.list &&
        !CsvListImport::readFile(request.listFile, request.column, &request.definition.values, &error))
        return fail(BadInput, error);

    PoolStoreConnection connection;
    bool badLocation = false;
    if (!connection.open(request.database, &error, &badLocation))
        return fail(badLocation ? BadInput : StoreFailed, error);
    PoolStore pools = connection.pools();
    if (request.list) {
        QList<PoolCounts> all;
        if (!pools.counts(&all, &error))
            return fail(StoreFailed, error);
        for (const PoolCounts& counts : qAsConst(all))
            out << countsLine(counts) << Qt::endl;
        return Success;
    }
    if (!pools.define(request.definition, &error))
        return fail(error.startsWith(tr("The production store")) ? StoreFailed : BadInput, error);
    return Success;
}
