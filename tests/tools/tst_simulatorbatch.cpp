#include "batchutil.h"
#include "simulatorprocess.h"
#include "testregistry.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

namespace {

using Step = QMap<QString, QVariant>;

Step step(const QString& task, bool enabled, Step settings = {})
{
    settings.insert(QStringLiteral("task"), task);
    settings.insert(QStringLiteral("enabled"), enabled);
    return settings;
}

// Writes the job as a bundle with the project's own writer, as Harnwick does before a run.
QString writeBundle(const QString& directory, const QList<Step>& steps, const QStringList& parameters = {})
{
    BatchUtil::DeviceEntry device;
    device.serialNumber = 801002345;
    device.connectionType = BatchUtil::Usb;
    const QString path = QDir(directory).filePath(QStringLiteral("bulk_operation_20250101_120000.hwj"));
    return BatchUtil().bundleWrite(path, steps, {device}, true, QStringLiteral("SWD"), 4000, parameters)
               ? path
               : QString();
}

QString writeFile(const QString& directory, const QString& name, int size)
{
    QFile file(QDir(directory).filePath(name));
    if (file.open(QIODevice::WriteOnly))
        file.write(QByteArray(size, '\x5a'));
    return file.fileName();
}

// The numbers of the actions that ran, as "1 3 5".
QString actionNumbers(const QStringList& lines)
{
    const QRegularExpression running(QStringLiteral("^Running action\\s+(\\d+).*"));
    return lines.filter(running).replaceInStrings(running, QStringLiteral("\\1")).join(' ');
}

QStringList onSerial(const QString& bundle, const QStringList& more = {})
{
    return QStringList{"batch", bundle, "--serialno", "801002345"} + more;
}

} // namespace

class TestSimulatorBatch : public QObject
{
    Q_OBJECT

private slots:
    void actionsAreNumberedByTheirPlaceInTheJob();
    void parametersAreSubstituted();
    void logFileIsAppended();
    void failuresAndExitCodes();
    void timeoutEndsTheRun();
    void strayBytesOnlyInTheirAction();
};

void TestSimulatorBatch::actionsAreNumberedByTheirPlaceInTheJob()
{
    QTemporaryDir dir;
    const QString image = writeFile(dir.path(), "fw.bin", 20000);
    const QString bundle = writeBundle(
        dir.path(), {step("log_device_info", true), step("wait", false, {{"duration_ms", 10}}),
                     step("flash_target_device", true,
                          {{"image_file", image},
                           {"start_address", "0x00008000"},
                           {"flags", QStringList{"verify_after_flash", "reset_after_flash"}}}),
                     step("recover_target_device", false), step("mass_erase_target_device", true)});
    const auto outcome = SimulatorProcess(dir.path()).run(onSerial(bundle));
    QCOMPARE(outcome.exitCode, 0);
    const QStringList lines = outcome.lines();
    QCOMPARE(actionNumbers(lines), QString("1 3 5"));
    QVERIFY(lines.contains("Skipping disabled action 2") && lines.contains("Skipping disabled action 4"));
    QVERIFY(lines.contains("Flashing fw.bin (20000 bytes) to KM32G101F512 at 0x00008000"));
    const int programmed = lines.indexOf("Programming: 100%");
    QVERIFY(programmed > 0 && programmed < lines.indexOf("Verifying: 100%"));
    QVERIFY(lines.indexOf("Verifying: 100%") < lines.indexOf(QRegularExpression("Running action 5: .*")));
    QCOMPARE(lines.last(), QString("Job finished: 3 actions run, 2 skipped"));
}

void TestSimulatorBatch::parametersAreSubstituted()
{
    QTemporaryDir dir;
    const SimulatorProcess simulator(dir.path());
    const QString bundle = writeBundle(
        dir.path(),
        {step("run_custom_command", true,
              {{"arguments", QStringList{"device", "info", "--tag={{serial_number}}/{{nickname}}"}},
               {"append_connection_option", true}}),
         step("wait", false, {{"duration_ms", "{{never_given}}"}}),
         step("set_adapter_debug_mode", true, {{"mode", "{{mode}}"}})},
        {"serial_number", "nickname", "mode"});
    const QStringList arguments = QString("batch %1 --ip 192.0.2.20 --parameter serial_number:801020001 "
                                          "--parameter nickname:bench-dual --parameter mode:mini")
                                      .arg(bundle)
                                      .split(' ');
    const auto outcome = simulator.run(arguments);
    QCOMPARE(outcome.exitCode, 0);
    QVERIFY(outcome.lines().contains(
        "Running custom command: corvane device info --tag=801020001/bench-dual --ip 192.0.2.20"));
    QVERIFY(outcome.lines().contains("Adapter debug mode is MINI"));
    QCOMPARE(simulator.records().last().value("command").toString(), QString("batch"));
    QCOMPARE(simulator.records().last().value("arguments").toArray(), QJsonArray::fromStringList(arguments));

    // A variable without a value fails its action; the disabled step's variable never mattered.
    const auto unknown = simulator.run(arguments.mid(0, 8));
    QCOMPARE(unknown.exitCode, 1);
    QCOMPARE(actionNumbers(unknown.lines()), QString("1 3"));
    QVERIFY(unknown.lines().last().startsWith("ERROR: Action 3 uses the variable '{{mode}}'"));
}

void TestSimulatorBatch::logFileIsAppended()
{
    QTemporaryDir dir;
    const SimulatorProcess simulator(dir.path());
    const QString bundle = writeBundle(dir.path(), {step("wait", true, {{"duration_ms", 5}})});
    const QString log = QDir(dir.path()).filePath("801002345.txt");
    const auto first = simulator.run(onSerial(bundle, {"--logfile", log}));
    const auto second = simulator.run(onSerial(bundle, {"--logfile", log}));
    QCOMPARE(second.exitCode, 0);
    QFile file(log);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), first.stdoutData + second.stdoutData);

    const auto unwritable = simulator.run(onSerial(bundle, {"--logfile", dir.path()}));
    QCOMPARE(unwritable.exitCode, 2);
    QVERIFY(unwritable.stderrData.contains("log file"));
}

void TestSimulatorBatch::failuresAndExitCodes()
{
    QTemporaryDir dir;
    const SimulatorProcess simulator(dir.path());
    const QString logInfo = writeBundle(dir.path(), {step("log_device_info", true)});
    const auto unknownAdapter = simulator.run({"batch", logInfo, "--serialno", "123456789"});
    QCOMPARE(unknownAdapter.exitCode, 1);
    QCOMPARE(actionNumbers(unknownAdapter.lines()), QString());
    // The wide-serial adapter cannot identify its target unless told.
    const auto unidentified = simulator.run({"batch", logInfo, "--serialno", "3000123456"});
    QCOMPARE(unidentified.exitCode, 1);
    QVERIFY(unidentified.lines().last().contains("--device"));
    QCOMPARE(
        simulator.run({"batch", logInfo, "--serialno", "3000123456", "--device", "KM40H330F1024"}).exitCode,
        0);
    const auto unreadable = simulator.run(onSerial(writeFile(dir.path(), "broken.hwj", 100)));
    QCOMPARE(unreadable.exitCode, 3);
    QVERIFY(unreadable.lines().last().startsWith("ERROR: "));

    const QList<QPair<Step, QString>> cases{
        {step("flash_target_device", true, {{"image_file", dir.filePath("absent.hex")}}),
         "Could not open image file"},
        {step("wait", true, {{"duration_ms", "soon"}}), "Invalid wait duration"},
        {step("reboot", true), "Unknown task 'reboot'"},
    };
    for (const auto& failing : cases) {
        const auto outcome = simulator.run(
            onSerial(writeBundle(dir.path(), {step("wait", true, {{"duration_ms", 1}}), failing.first})));
        QCOMPARE(outcome.exitCode, 1);
        QCOMPARE(actionNumbers(outcome.lines()), QString("1 2"));
        QVERIFY2(outcome.lines().last().contains(failing.second), qPrintable(outcome.lines().last()));
    }
}

void TestSimulatorBatch::timeoutEndsTheRun()
{
    QTemporaryDir dir;
    SimulatorProcess simulator(dir.path());
    // Time is simulated: at speed 0 an hour of waiting costs nothing, and the limit still applies.
    const QString bundle = writeBundle(dir.path(), {step("wait", true, {{"duration_ms", 1800000}}),
                                                    step("wait", true, {{"duration_ms", 1800000}})});
    QCOMPARE(simulator.run(onSerial(bundle, {"--timeout", "3700"})).exitCode, 0);
    const auto timedOut = simulator.run(onSerial(bundle, {"--timeout", "3000"}));
    QCOMPARE(timedOut.exitCode, 4);
    QCOMPARE(timedOut.lines().last(), QString("ERROR: Timed out after 3000 s during action 2."));

    // A hanging action ends at the time limit instead of never.
    simulator.setFleet("adapters:\n  - serial: 801002345\n    part: KM32G101F512\n"
                       "    faults:\n      - {command: batch, effect: hang, step: 1}\n");
    const auto hung = simulator.run(onSerial(bundle, {"--timeout", "30"}));
    QCOMPARE(hung.exitCode, 4);
    QCOMPARE(hung.lines().last(), QString("ERROR: Timed out after 30 s during action 1."));

    // Other speeds scale the real waiting.
    SimulatorProcess halfSpeed(dir.path());
    halfSpeed.setSpeed("0.5");
    const auto slow =
        halfSpeed.run(onSerial(writeBundle(dir.path(), {step("wait", true, {{"duration_ms", 1200}})})));
    QVERIFY(slow.exitCode == 0 && slow.elapsedMs >= 600);
}

// Flood, failure and crash at a chosen action are read back through the page by the hardening and
// job run tests; where the bytes that are not UTF-8 land is seen only here.
void TestSimulatorBatch::strayBytesOnlyInTheirAction()
{
    QTemporaryDir dir;
    SimulatorProcess simulator(dir.path());
    simulator.setFleet("adapters:\n  - serial: 801002345\n    part: KM32G101F512\n    faults:\n"
                       "      - {command: batch, effect: non_utf8, step: 2}\n");
    const auto outcome = simulator.run(onSerial(writeBundle(
        dir.path(), {step("wait", true, {{"duration_ms", 1}}), step("wait", true, {{"duration_ms", 2}})})));
    QCOMPARE(outcome.exitCode, 0);
    QCOMPARE(actionNumbers(outcome.lines()), QString("1 2"));
    QVERIFY(outcome.stdoutData.contains("Running action 1: wait\nWaiting 1 ms\n"));
    QVERIFY(outcome.stdoutData.contains("Running action 2: wait\nWaiting 2 ms \xff\xfe\xb0\n"));
}

HARNWICK_TEST(TestSimulatorBatch)
#include "tst_simulatorbatch.moc"
