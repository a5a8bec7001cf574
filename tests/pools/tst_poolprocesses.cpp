#include "batchutil.h"
#include "forkedprocess.h"
#include "settingsutil.h"
#include "simulatorsession.h"
#include "testenvironment.h"
#include "testregistry.h"

#include <QDir>
#include <QFile>
#include <QHash>
#include <QProcess>
#include <QStandardPaths>
#include <QTest>

#include <csignal>

namespace {

constexpr int DevicesPerProcess = 16;

// Two fleets of sixteen adapters; two of each fail in their second action.
QByteArray fleet()
{
    QByteArray yaml = "adapters:\n";
    for (int i = 0; i < 2 * DevicesPerProcess; ++i) {
        yaml += "  - serial: " + QByteArray::number(801040000 + i) + "\n    part: KM32G101F512\n";
        if (i % 8 == 3)
            yaml += "    faults: [{command: batch, effect: fail, step: 2, exit_code: 5}]\n";
    }
    return yaml;
}

QMap<QString, QVariant> step(const char* task, const QMap<QString, QVariant>& values = {})
{
    QMap<QString, QVariant> map = values;
    map.insert(QStringLiteral("task"), QString::fromLatin1(task));
    map.insert(QStringLiteral("enabled"), true);
    return map;
}

QStringList poolsOutput(QString* errors = nullptr)
{
    ForkedProcess process;
    process.start(TestEnvironment::programPath(QStringLiteral(HARNWICK_APP_PATH)),
                  {QStringLiteral("--pools")});
    process.waitForFinished(60000);
    if (errors)
        *errors = QString::fromUtf8(process.readAllStandardError());
    return QString::fromUtf8(process.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts);
}

} // namespace

// Whole "harnwick --run" processes drawing from one store at once, one of them killed.
class TestPoolProcesses : public QObject
{
    Q_OBJECT

    SimulatorSession session{fleet()};

    QString bundle(const QString& name, int firstDevice)
    {
        QList<BatchUtil::DeviceEntry> devices;
        for (int i = 0; i < DevicesPerProcess; ++i) {
            BatchUtil::DeviceEntry entry;
            entry.serialNumber = quint32(801040000 + firstDevice + i);
            entry.connectionType = BatchUtil::Usb;
            entry.selected = true;
            devices << entry;
        }
        const QString path = session.filePath(name);
        BatchUtil util;
        const QStringList label{"device", "info", "--label", "{{unit_sn}}", "--label", "{{keys}}"};
        const bool written =
            util.bundleWrite(path,
                             {step("log_device_info"), step("wait", {{QStringLiteral("duration_ms"), 300}}),
                              step("run_custom_command", {{QStringLiteral("arguments"), label}})},
                             devices, false, QString(), 0, {});
        return written ? path : QString();
    }

private slots:
    void killedRunIsSettled()
    {
        TestEnvironment::clearSettings();
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::executableKey,
                                 TestEnvironment::simulatorPath());
        QFile::remove(QDir(QStandardPaths::writableLocation(QStandardPaths::AppDataLocation))
                          .filePath(QStringLiteral("production.sqlite")));
        ForkedProcess define;
        define.start(TestEnvironment::programPath(QStringLiteral(HARNWICK_APP_PATH)),
                     {"--pool-define", "unit_sn", "--counter", "1..100000", "--format", "HW-%06d"});
        QVERIFY(define.waitForFinished(60000));
        QCOMPARE(define.exitCode(), 0);
        QFile keys(session.filePath("keys.csv"));
        QVERIFY(keys.open(QIODevice::WriteOnly));
        for (int i = 0; i < 40; ++i)
            keys.write("KM-KEY-" + QByteArray::number(i) + "\n");
        keys.close();
        define.start(TestEnvironment::programPath(QStringLiteral(HARNWICK_APP_PATH)),
                     {"--pool-define", "keys", "--list", keys.fileName()});
        QVERIFY(define.waitForFinished(60000));
        QCOMPARE(define.exitCode(), 0);

        session.clearRecord();
        SimulatorSession::setSpeed("1");
        const QString first = bundle("first.hwj", 0);
        const QString second = bundle("second.hwj", DevicesPerProcess);
        QVERIFY(!first.isEmpty() && !second.isEmpty());
        ForkedProcess survivor;
        ForkedProcess killed;
        survivor.start(TestEnvironment::programPath(QStringLiteral(HARNWICK_APP_PATH)),
                       {"--run", first, "--concurrency", "4", "--no-logs"});
        killed.start(TestEnvironment::programPath(QStringLiteral(HARNWICK_APP_PATH)),
                     {"--run", second, "--concurrency", "4", "--no-logs"});
        QVERIFY(survivor.waitForStarted() && killed.waitForStarted());
        // Killed once some of its devices ran and others wait (its output is buffered: the record tells).
        const auto secondStarted = [this] {
            int count = 0;
            for (const QStringList& arguments : session.batchInvocations())
                count += arguments.value(arguments.indexOf("--serialno") + 1).toLongLong() >=
                         801040000 + DevicesPerProcess;
            return count;
        };
        QTRY_VERIFY_WITH_TIMEOUT(secondStarted() >= 6, 30000);
        ::kill(pid_t(killed.processId()), SIGKILL);
        QVERIFY(killed.waitForFinished(30000));
        QVERIFY(survivor.waitForFinished(120000));
        QVERIFY2(secondStarted() < DevicesPerProcess, "the killed run had ended already");
        SimulatorSession::setSpeed("0");
        QCOMPARE(survivor.exitCode(), 1); // two of its devices failed
        const QString survivorOutput = QString::fromUtf8(survivor.readAllStandardOutput());
        QVERIFY2(survivorOutput.contains("16 devices: 14 done, 2 failed"),
                 qPrintable(survivorOutput + survivor.readAllStandardError()));

        // The next start on this station settles what the killed process held.
        QString errors;
        const QStringList lines = poolsOutput(&errors);
        QVERIFY2(errors.isEmpty(), qPrintable(errors));
        QCOMPARE(lines.size(), 2);
        const QStringList keyCounts = lines.at(0).split('\t');
        QCOMPARE(keyCounts.value(0), QStringLiteral("keys"));
        const int left = keyCounts.value(2).toInt(), committed = keyCounts.value(3).toInt(),
                  voided = keyCounts.value(5).toInt(), reserved = keyCounts.value(6).toInt();
        QCOMPARE(reserved, 0);
        QCOMPARE(left + committed + voided, 40);
        QVERIFY(committed >= 14 && voided >= 2 + 1);
        QCOMPARE(lines.at(1).split('\t').value(6), QStringLiteral("0"));

        // From what the tool received: no key reached two boards, and each board had its own serial number
        // unless an earlier board with that number failed.
        QHash<QString, QString> keyOwner;
        QHash<QString, int> serialUses;
        for (const QStringList& arguments : session.batchInvocations()) {
            QHash<QString, QString> parameters;
            for (int i = 0; i + 1 < arguments.size(); ++i)
                if (arguments.at(i) == "--parameter")
                    parameters.insert(arguments.at(i + 1).section(':', 0, 0),
                                      arguments.at(i + 1).section(':', 1));
            const QString device = arguments.value(arguments.indexOf("--serialno") + 1);
            QVERIFY2(!keyOwner.contains(parameters.value("keys")), qPrintable(parameters.value("keys")));
            keyOwner.insert(parameters.value("keys"), device);
            ++serialUses[parameters.value("unit_sn")];
        }
        QVERIFY(keyOwner.size() > DevicesPerProcess);
        int reusedSerials = 0;
        for (int uses : qAsConst(serialUses))
            reusedSerials += uses - 1;
        QVERIFY2(reusedSerials <= 4, qPrintable(QString::number(reusedSerials)));
    }
};

HARNWICK_TEST(TestPoolProcesses)
#include "tst_poolprocesses.moc"
