#include "simbatchrun.h"

#include "batchutil.h"
#include "simadapter.h"
#include "simarguments.h"
#include "simclock.h"

#include <QFileInfo>
#include <QRegularExpression>

namespace {

const QByteArray NonUtf8Suffix = QByteArrayLiteral(" \xff\xfe\xb0");

// Exit codes of a run that did not fail by a fault of its own choosing.
constexpr int UsageExit = 2;
constexpr int BundleExit = 3;
constexpr int TimeoutExit = 4;

constexpr qint64 ConnectMs = 300;

bool isTrue(const QVariant& value)
{
    const QString text = value.toString().trimmed().toLower();
    return text == QLatin1String("true") || text == QLatin1String("1");
}

QString hex32(quint32 value)
{
    return QStringLiteral("0x%1").arg(value, 8, 16, QLatin1Char('0'));
}

} // namespace

SimBatchRun::SimBatchRun(SimClock& clock, const SimAdapter* adapter, const QString& address,
                         const SimArguments& arguments, const QList<SimFault>& faults)
    : m_clock(clock), m_adapter(adapter), m_address(address), m_arguments(arguments), m_faults(faults)
{}

bool SimBatchRun::readOptions(QString& error)
{
    if (m_arguments.has(QStringLiteral("--timeout"))) {
        bool ok = false;
        m_timeoutSeconds = m_arguments.value(QStringLiteral("--timeout")).toLongLong(&ok, 10);
        if (!ok || m_timeoutSeconds < 0) {
            error = QStringLiteral("'%1' is not a number of seconds")
                        .arg(m_arguments.value(QStringLiteral("--timeout")));
            return false;
        }
    }
    for (const QString& parameter : m_arguments.values(QStringLiteral("--parameter"))) {
        const int colon = parameter.indexOf(QLatin1Char(':'));
        if (colon <= 0) {
            error = QStringLiteral("parameter '%1' is not NAME:VALUE").arg(parameter);
            return false;
        }
        m_parameters.insert(parameter.left(colon), parameter.mid(colon + 1));
    }
    if (m_arguments.has(QStringLiteral("--logfile")) &&
        !m_output.openLog(m_arguments.value(QStringLiteral("--logfile")), error))
        return false;
    return true;
}

int SimBatchRun::run(const QString& bundlePath)
{
    QString error;
    if (!readOptions(error)) {
        SimOutput::errorLine(QStringLiteral("corvane-sim: %1").arg(error));
        return UsageExit;
    }
    m_clock.setLimitMs(m_timeoutSeconds * 1000);

    say(QStringLiteral("Job bundle: %1").arg(QFileInfo(bundlePath).fileName()));
    if (!m_adapter) {
        fail(QStringLiteral("No adapter found with %1.").arg(m_address));
        return m_exitCode;
    }

    BatchUtil batchUtil;
    QString bundleError;
    QObject::connect(&batchUtil, &BatchUtil::errorEncountered, [&bundleError](const QString& message) {
        if (bundleError.isEmpty())
            bundleError = message;
    });
    QList<Step> steps;
    QList<BatchUtil::DeviceEntry> devices;
    bool applied = false;
    QString debugInterface;
    int speedKHz = -1;
    QStringList parameterNames;
    if (!batchUtil.bundleRead(bundlePath, steps, devices, applied, debugInterface, speedKHz,
                              parameterNames)) {
        fail(bundleError.isEmpty() ? QStringLiteral("Could not read the job bundle.") : bundleError,
             BundleExit);
        return m_exitCode;
    }

    const QString via = m_address.startsWith(QLatin1String("IP"))
                            ? QStringLiteral("the network (%1)").arg(m_adapter->ip)
                            : QStringLiteral("USB");
    say(m_adapter->nickname.isEmpty()
            ? QStringLiteral("Connecting to adapter %1 over %2").arg(m_adapter->serial).arg(via)
            : QStringLiteral("Connecting to adapter %1 (%2) over %3")
                  .arg(m_adapter->serial)
                  .arg(m_adapter->nickname, via));
    if (!pause(ConnectMs))
        return m_exitCode;
    if (applied && !debugInterface.isEmpty())
        say(QStringLiteral("Debug interface: %1").arg(debugInterface));
    if (applied && speedKHz > 0)
        say(QStringLiteral("Debug speed: %1 kHz").arg(speedKHz));

    if (m_arguments.has(QStringLiteral("--device")))
        m_targetPart = m_arguments.value(QStringLiteral("--device"));
    else if (m_adapter->partDetectable)
        m_targetPart = m_adapter->part;
    m_boardAtStart = hasTarget();
    if (!m_boardAtStart)
        say(QStringLiteral("No target attached"));
    else
        say(QStringLiteral("Target part: %1")
                .arg(m_targetPart.isEmpty() ? QStringLiteral("not identified") : m_targetPart));
    if (const SimTarget* board = m_nowMs ? m_adapter->targetAt(m_nowMs()) : nullptr;
        board && !board->uniqueId.isEmpty())
        say(QStringLiteral("Target unique ID: %1").arg(board->uniqueId));

    if (!strike(0))
        return m_exitCode;

    int ran = 0;
    int skipped = 0;
    for (int i = 0; i < steps.size(); ++i) {
        m_action = i + 1;
        Step step = steps.at(i);
        if (!isTrue(step.value(QStringLiteral("enabled")))) {
            say(QStringLiteral("Skipping disabled action %1").arg(m_action));
            ++skipped;
            continue;
        }
        m_output.setLineSuffix(QByteArray());
        say(QStringLiteral("Running action %1: %2")
                .arg(m_action)
                .arg(step.value(QStringLiteral("task")).toString()));
        m_output.setLineSuffix(m_runSuffix);
        if (!stillConnected() || !substitute(step) || !strike(m_action) || !runStep(step))
            return m_exitCode;
        ++ran;
    }
    m_output.setLineSuffix(QByteArray());
    say(QStringLiteral("Job finished: %1 actions run, %2 skipped").arg(ran).arg(skipped));
    return 0;
}

bool SimBatchRun::substitute(Step& step)
{
    static const QRegularExpression variable(QStringLiteral("\\{\\{(.+?)\\}\\}"));
    QString unknown;
    const auto replace = [this, &unknown](const QString& text) -> QString {
        QString result;
        int from = 0;
        auto it = variable.globalMatch(text);
        while (it.hasNext()) {
            const QRegularExpressionMatch match = it.next();
            const QString name = match.captured(1);
            if (!m_parameters.contains(name)) {
                if (unknown.isEmpty())
                    unknown = name;
                return text;
            }
            result += text.mid(from, match.capturedStart() - from) + m_parameters.value(name);
            from = match.capturedEnd();
        }
        return result + text.mid(from);
    };
    for (auto it = step.begin(); it != step.end(); ++it) {
        if (it.value().userType() == QMetaType::QStringList) {
            QStringList list = it.value().toStringList();
            for (QString& element : list)
                element = replace(element);
            it.value() = list;
        } else {
            it.value() = replace(it.value().toString());
        }
        if (!unknown.isEmpty())
            return fail(QStringLiteral("Action %1 uses the variable '{{%2}}', which was not given a value "
                                       "(pass it with --parameter %2:VALUE).")
                            .arg(m_action)
                            .arg(unknown));
    }
    return true;
}

bool SimBatchRun::strike(int action)
{
    for (const SimFault& fault : m_faults) {
        if (fault.step != action)
            continue;
        switch (fault.effect) {
        case SimFault::Effect::Fail:
            return fail(QStringLiteral("Simulated failure."), fault.exitCode);
        case SimFault::Effect::Crash:
            SimFault::crashNow();
        case SimFault::Effect::Hang:
            if (!m_clock.advanceForever())
                return timedOut();
            break;
        case SimFault::Effect::SlowStart:
            if (action > 0)
                SimClock::sleepRealMs(fault.delayMs);
            break;
        case SimFault::Effect::Flood:
            for (int i = 1; i <= fault.lines; ++i)
                say(QStringLiteral("Transfer detail %1 of %2").arg(i).arg(fault.lines));
            break;
        case SimFault::Effect::NonUtf8:
            if (action == 0)
                m_runSuffix = NonUtf8Suffix;
            m_output.setLineSuffix(NonUtf8Suffix);
            break;
        default:
            break;
        }
    }
    return true;
}

bool SimBatchRun::runStep(const Step& step)
{
    const QString task = step.value(QStringLiteral("task")).toString().trimmed().toLower();
    if (task == QLatin1String("install_adapter_firmware"))
        return installAdapterFirmware(step);
    if (task == QLatin1String("set_adapter_debug_mode"))
        return setAdapterDebugMode(step);
    if (task == QLatin1String("log_device_info"))
        return logDeviceInfo();
    if (task == QLatin1String("flash_target_device"))
        return flashTargetDevice(step);
    if (task == QLatin1String("mass_erase_target_device"))
        return massEraseTargetDevice();
    if (task == QLatin1String("lock_unlock_target_device"))
        return lockUnlockTargetDevice(step);
    if (task == QLatin1String("recover_target_device"))
        return recoverTargetDevice();
    if (task == QLatin1String("wait"))
        return waitStep(step);
    if (task == QLatin1String("run_custom_command"))
        return runCustomCommand(step);
    return fail(QStringLiteral("Unknown task '%1'.").arg(step.value(QStringLiteral("task")).toString()));
}

bool SimBatchRun::installAdapterFirmware(const Step& step)
{
    QString source = QStringLiteral("the built-in firmware");
    if (isTrue(step.value(QStringLiteral("use_default")))) {
        if (isTrue(step.value(QStringLiteral("install_only_if_newer")))) {
            say(QStringLiteral("Adapter firmware is up to date"));
            return pause(300);
        }
    } else {
        const QString file = step.value(QStringLiteral("emz_file")).toString();
        if (file.isEmpty())
            return fail(QStringLiteral("No firmware file given."));
        if (!QFileInfo(file).isFile())
            return fail(QStringLiteral("Could not open firmware file '%1'.").arg(file));
        source = QStringLiteral("'%1'").arg(file);
    }
    say(QStringLiteral("Installing adapter firmware from %1").arg(source));
    if (!progress(QStringLiteral("Updating adapter firmware"), 3200, 4))
        return false;
    say(QStringLiteral("Adapter restarting"));
    if (!pause(800))
        return false;
    say(QStringLiteral("Adapter firmware installed"));
    return true;
}

bool SimBatchRun::setAdapterDebugMode(const Step& step)
{
    static const QStringList modes{QStringLiteral("MCU"), QStringLiteral("IN"), QStringLiteral("OUT"),
                                   QStringLiteral("MINI"), QStringLiteral("OFF")};
    const QString mode = step.value(QStringLiteral("mode")).toString().trimmed().toUpper();
    if (!modes.contains(mode))
        return fail(
            QStringLiteral("Unknown debug mode '%1'.").arg(step.value(QStringLiteral("mode")).toString()));
    say(QStringLiteral("Setting adapter debug mode to %1").arg(mode));
    if (!pause(400))
        return false;
    say(QStringLiteral("Adapter debug mode is %1").arg(mode));
    return true;
}

bool SimBatchRun::logDeviceInfo()
{
    if (!requireTarget() || !pause(250))
        return false;
    say(QStringLiteral("Part number: %1").arg(m_targetPart));
    say(QStringLiteral("Adapter serial number: %1").arg(m_adapter->serial));
    if (!m_adapter->nickname.isEmpty())
        say(QStringLiteral("Adapter nickname: %1").arg(m_adapter->nickname));
    if (!m_adapter->ip.isEmpty())
        say(QStringLiteral("Adapter IP address: %1").arg(m_adapter->ip));
    return true;
}

bool SimBatchRun::flashTargetDevice(const Step& step)
{
    static const QStringList knownFlags{QStringLiteral("force"), QStringLiteral("reset_after_flash"),
                                        QStringLiteral("verify_after_flash"),
                                        QStringLiteral("halt_after_flash")};
    if (!requireTarget())
        return false;
    const QString file = step.value(QStringLiteral("image_file")).toString();
    if (file.isEmpty())
        return fail(QStringLiteral("No image file given."));
    const QFileInfo image(file);
    if (!image.isFile())
        return fail(QStringLiteral("Could not open image file '%1'.").arg(file));
    QString at;
    if (step.contains(QStringLiteral("start_address"))) {
        const QString text = step.value(QStringLiteral("start_address")).toString().trimmed();
        bool ok = false;
        const quint32 address = text.toUInt(&ok, 0);
        if (!ok)
            return fail(QStringLiteral("Invalid start address '%1'.").arg(text));
        at = QStringLiteral(" at %1").arg(hex32(address));
    } else if (image.suffix().compare(QLatin1String("bin"), Qt::CaseInsensitive) == 0) {
        return fail(QStringLiteral("The binary image '%1' needs a start address.").arg(file));
    }
    const QStringList flags = step.value(QStringLiteral("flags")).toStringList();
    for (const QString& flag : flags) {
        if (!knownFlags.contains(flag))
            return fail(QStringLiteral("Unknown flash flag '%1'.").arg(flag));
    }

    const qint64 size = image.size();
    const qint64 programMs =
        qMax<qint64>(200, qint64(double(size) * 1000.0 / (m_adapter->flashKiBPerSecond * 1024.0)));
    say(QStringLiteral("Flashing %1 (%2 bytes) to %3%4")
            .arg(image.fileName())
            .arg(size)
            .arg(m_targetPart, at));
    if (flags.contains(QStringLiteral("force")))
        say(QStringLiteral("Forced: unchanged sectors are programmed too"));
    if (!progress(QStringLiteral("Erasing"), 300 + programMs / 4, 2) ||
        !progress(QStringLiteral("Programming"), programMs, 10))
        return false;
    if (flags.contains(QStringLiteral("verify_after_flash")) &&
        !progress(QStringLiteral("Verifying"), programMs / 2, 4))
        return false;
    if (flags.contains(QStringLiteral("reset_after_flash"))) {
        say(QStringLiteral("Resetting target"));
        if (!pause(100))
            return false;
    }
    if (flags.contains(QStringLiteral("halt_after_flash"))) {
        say(QStringLiteral("Halting target"));
        if (!pause(50))
            return false;
    }
    say(QStringLiteral("Flashing complete"));
    return true;
}

bool SimBatchRun::massEraseTargetDevice()
{
    if (!requireTarget())
        return false;
    say(QStringLiteral("Mass erasing %1").arg(m_targetPart));
    if (!progress(QStringLiteral("Erasing"), 1600, 4))
        return false;
    say(QStringLiteral("Mass erase complete"));
    return true;
}

bool SimBatchRun::lockUnlockTargetDevice(const Step& step)
{
    if (!requireTarget())
        return false;
    const QString operation = step.value(QStringLiteral("operation")).toString().trimmed().toLower();
    if (operation == QLatin1String("lock")) {
        say(QStringLiteral("Locking debug access of %1").arg(m_targetPart));
        if (!pause(500))
            return false;
        say(QStringLiteral("Debug access locked"));
        return true;
    }
    if (operation == QLatin1String("unlock")) {
        say(QStringLiteral("Unlocking debug access of %1 (the target is erased)").arg(m_targetPart));
        if (!progress(QStringLiteral("Erasing"), 1200, 4))
            return false;
        say(QStringLiteral("Debug access unlocked"));
        return true;
    }
    return fail(QStringLiteral("Unknown lock operation '%1'.")
                    .arg(step.value(QStringLiteral("operation")).toString()));
}

bool SimBatchRun::recoverTargetDevice()
{
    if (!requireTarget())
        return false;
    say(QStringLiteral("Recovering %1").arg(m_targetPart));
    if (!progress(QStringLiteral("Recovering"), 1500, 3))
        return false;
    say(QStringLiteral("Target recovered"));
    return true;
}

bool SimBatchRun::waitStep(const Step& step)
{
    const QString text = step.value(QStringLiteral("duration_ms")).toString().trimmed();
    bool ok = false;
    const qint64 duration = text.toLongLong(&ok, 10);
    if (!ok || duration < 0)
        return fail(QStringLiteral("Invalid wait duration '%1'.").arg(text));
    say(QStringLiteral("Waiting %1 ms").arg(duration));
    if (!pause(duration))
        return false;
    say(QStringLiteral("Wait complete"));
    return true;
}

bool SimBatchRun::runCustomCommand(const Step& step)
{
    QStringList arguments = step.value(QStringLiteral("arguments")).toStringList();
    if (arguments.isEmpty())
        return fail(QStringLiteral("The custom command has no arguments."));
    if (isTrue(step.value(QStringLiteral("append_connection_option")))) {
        if (m_address.startsWith(QLatin1String("IP")))
            arguments << QStringLiteral("--ip") << m_adapter->ip;
        else
            arguments << QStringLiteral("--serialno") << QString::number(m_adapter->serial);
    }
    say(QStringLiteral("Running custom command: corvane %1").arg(arguments.join(QLatin1Char(' '))));
    if (!pause(500))
        return false;
    say(QStringLiteral("Custom command finished"));
    return true;
}

bool SimBatchRun::hasTarget() const
{
    return m_nowMs ? m_adapter->hasTargetAt(m_nowMs()) : !m_adapter->part.isEmpty();
}

bool SimBatchRun::stillConnected()
{
    if (!m_nowMs || !(m_adapter->timed || m_adapter->boardsTimed))
        return true;
    const qint64 now = m_nowMs();
    if (!m_adapter->attachedAt(now)) {
        m_output.setLineSuffix(QByteArray());
        return fail(QStringLiteral("Lost the connection to the adapter during action %1.").arg(m_action));
    }
    if (m_action > 0 && m_adapter->boardsTimed && !m_adapter->hasTargetAt(now)) {
        m_output.setLineSuffix(QByteArray());
        return fail(m_boardAtStart ? QStringLiteral("The target was removed during action %1.").arg(m_action)
                                   : QStringLiteral("No target is attached to the adapter."));
    }
    return true;
}

bool SimBatchRun::requireTarget()
{
    if (!hasTarget())
        return fail(QStringLiteral("No target is attached to the adapter."));
    if (m_targetPart.isEmpty())
        return fail(QStringLiteral("Could not identify the target; pass its part number with --device."));
    return true;
}

bool SimBatchRun::pause(qint64 ms)
{
    if (!m_nowMs || !(m_adapter->timed || m_adapter->boardsTimed))
        return m_clock.advance(ms) || timedOut();
    // With hot-plug a board pulled mid-action is noticed within a tenth of a second.
    constexpr qint64 sliceMs = 100;
    qint64 left = qMax<qint64>(ms, 0);
    do {
        const qint64 slice = qMin(left, sliceMs);
        if (!m_clock.advance(slice))
            return timedOut();
        left -= slice;
        if (!stillConnected())
            return false;
    } while (left > 0);
    return true;
}

bool SimBatchRun::timedOut()
{
    m_output.setLineSuffix(QByteArray());
    return fail(
        m_action > 0
            ? QStringLiteral("Timed out after %1 s during action %2.").arg(m_timeoutSeconds).arg(m_action)
            : QStringLiteral("Timed out after %1 s.").arg(m_timeoutSeconds),
        TimeoutExit);
}

bool SimBatchRun::progress(const QString& label, qint64 totalMs, int parts)
{
    for (int part = 1; part <= parts; ++part) {
        if (!pause(totalMs / parts))
            return false;
        say(QStringLiteral("%1: %2%").arg(label).arg(part * 100 / parts));
    }
    return true;
}

bool SimBatchRun::fail(const QString& message, int exitCode)
{
    say(QStringLiteral("ERROR: %1").arg(message));
    m_exitCode = exitCode;
    return false;
}
