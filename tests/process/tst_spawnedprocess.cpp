#include "spawnedprocess.h"
#include "testenvironment.h"
#include "testregistry.h"

#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <vector>

// What a hand-written start can get wrong: descriptors and signal state leaking into the
// child, children left as zombies, ends by signal, programs that cannot run, large
// environments. The runner's own behaviour is tested with the runner.
class TestSpawnedProcess : public QObject
{
    Q_OBJECT

    TestEnvironment::ScriptFolder dir;

    struct Ended
    {
        QByteArray out;
        QByteArray err;
        int exitCode = -1;
        bool crashed = false;
        bool finished = false;
    };

    // Runs to the end, collecting output the way the runner does: on every notification.
    static Ended collect(SpawnedProcess& process)
    {
        Ended ended;
        connect(&process, &SpawnedProcess::readyReadStandardOutput, &process,
                [&] { ended.out += process.readAllStandardOutput(); });
        connect(&process, &SpawnedProcess::readyReadStandardError, &process,
                [&] { ended.err += process.readAllStandardError(); });
        QSignalSpy finished(&process, &SpawnedProcess::finished);
        if (finished.wait(20000)) {
            ended.finished = true;
            ended.exitCode = finished.at(0).at(0).toInt();
            ended.crashed = finished.at(0).at(1).toBool();
        }
        return ended;
    }

    // Reaped, not a zombie: a zombie still answers a null signal.
    static bool gone(qint64 pid) { return ::kill(pid_t(pid), 0) < 0 && errno == ESRCH; }

private slots:
    void childStartsClean()
    {
        // A descriptor opened without close-on-exec, an ignored SIGPIPE and a blocked
        // signal, as libraries and the program's own handlers leave them.
        const int stray = ::open("/dev/null", O_RDONLY);
        QVERIFY(stray > 2);
        struct sigaction ignore
        {
        }, previous{};
        ignore.sa_handler = SIG_IGN;
        sigaction(SIGPIPE, &ignore, &previous);
        sigset_t blocked, oldMask;
        sigemptyset(&blocked);
        sigaddset(&blocked, SIGUSR1);
        sigprocmask(SIG_BLOCK, &blocked, &oldMask);

        SpawnedProcess process;
        process.setOwnProcessGroup(true);
        const bool started = process.start(
            dir.script(
                QStringLiteral("inspect"),
                QStringLiteral(
                    "for fd in 0 1 2 %1; do [ -e /proc/$$/fd/$fd ] && echo \"fd $fd\"; done\n"
                    // Read by the shell itself: while it starts a command it
                    // blocks every signal for a moment.
                    "while read -r key value; do case $key in SigBlk:|SigIgn:) echo \"$key\t$value\";; "
                    "esac; done < /proc/$$/status\n"
                    "echo \"group $(cut -d' ' -f5 /proc/$$/stat) self $$\"\n"
                    "[ -p /proc/$$/fd/0 ] && echo 'stdin pipe'\n"
                    "echo oops >&2\n")
                    .arg(stray)),
            {});

        sigprocmask(SIG_SETMASK, &oldMask, nullptr);
        sigaction(SIGPIPE, &previous, nullptr);
        ::close(stray);
        QVERIFY2(started, qPrintable(process.errorString()));
        const qint64 pid = process.processId();

        const Ended ended = collect(process);
        QVERIFY(ended.finished);
        QCOMPARE(ended.exitCode, 0);
        QVERIFY(!ended.crashed);
        const QList<QByteArray> lines = ended.out.trimmed().split('\n');
        QCOMPARE(lines.mid(0, 3), (QList<QByteArray>{"fd 0", "fd 1", "fd 2"}));
        QVERIFY2(!ended.out.contains("fd " + QByteArray::number(stray)), ended.out.constData());
        // Nothing blocked, no standard signal ignored (the C library keeps its own real-time
        // signals above 31 to itself).
        const auto mask = [&](const QByteArray& key) {
            const int at = ended.out.indexOf(key + ":\t");
            return at < 0 ? ~0ULL : ended.out.mid(at + key.size() + 2, 16).toULongLong(nullptr, 16);
        };
        QCOMPARE(mask("SigBlk"), 0ULL);
        QCOMPARE(mask("SigIgn") & 0x7fffffffULL, 0ULL);
        QVERIFY(ended.out.contains("group " + QByteArray::number(pid) + " self " + QByteArray::number(pid)));
        QVERIFY(ended.out.contains("stdin pipe"));
        QCOMPARE(ended.err, QByteArray("oops\n"));
        QVERIFY(!process.isRunning());
        QVERIFY(gone(pid));
    }

    void endsBySignalAndNoZombies()
    {
        SpawnedProcess crashing;
        QVERIFY(crashing.start(
            dir.script(QStringLiteral("crash"), QStringLiteral("echo before\nkill -SEGV $$\n")), {}));
        QList<qint64> pids{crashing.processId()};
        Ended ended = collect(crashing);
        QVERIFY(ended.crashed);
        QCOMPARE(ended.exitCode, int(SIGSEGV));
        QCOMPARE(ended.out, QByteArray("before\n"));

        SpawnedProcess sleeping;
        QVERIFY(sleeping.start(QStringLiteral("sleep"), {QStringLiteral("30")}));
        pids << sleeping.processId();
        sleeping.terminate();
        ended = collect(sleeping);
        QVERIFY(ended.crashed);
        QCOMPARE(ended.exitCode, int(SIGTERM));

        // Exit codes come through as they are; many short lives leave nothing behind.
        std::vector<std::unique_ptr<SpawnedProcess>> many;
        int exitSum = 0;
        for (int i = 0; i < 40; ++i) {
            many.push_back(std::make_unique<SpawnedProcess>());
            QVERIFY(many.back()->start(QStringLiteral("sh"),
                                       {QStringLiteral("-c"), QStringLiteral("exit %1").arg(i)}));
            pids << many.back()->processId();
            connect(many.back().get(), &SpawnedProcess::finished, this, [&](int code) { exitSum += code; });
        }
        QTRY_VERIFY_WITH_TIMEOUT(
            std::none_of(many.cbegin(), many.cend(), [](const auto& p) { return p->isRunning(); }), 20000);
        QCOMPARE(exitSum, 39 * 40 / 2);

        // An object destroyed while its process runs takes the process with it.
        qint64 pid = 0;
        {
            SpawnedProcess doomed;
            QVERIFY(doomed.start(QStringLiteral("sleep"), {QStringLiteral("30")}));
            pid = doomed.processId();
            QCOMPARE(::kill(pid_t(pid), 0), 0);
        }
        pids << pid;
        for (qint64 ended : pids)
            QVERIFY2(gone(ended), qPrintable(QString::number(ended)));
    }

    void programsThatCannotRun()
    {
        QFile plain(dir.filePath(QStringLiteral("plain.txt")));
        QVERIFY(plain.open(QIODevice::WriteOnly));
        plain.write("not a program\n");
        plain.close();

        QFile garbage(dir.filePath(QStringLiteral("garbage")));
        QVERIFY(garbage.open(QIODevice::WriteOnly));
        garbage.write(QByteArray(64, '\x01'));
        garbage.close();
        garbage.setPermissions(QFile::ReadOwner | QFile::ExeOwner);

        QStringList refused{dir.filePath(QStringLiteral("absent")), plain.fileName(), dir.path(),
                            QStringLiteral("harnwick-no-such-program-801002345")};
        // An emulator runs the start as a plain fork and learns of a failed exec only as
        // exit code 127; natively the format is refused at the start.
        if (qEnvironmentVariableIsEmpty("HARNWICK_TEST_SIMULATOR"))
            refused << garbage.fileName();
        for (const QString& program : refused) {
            SpawnedProcess process;
            QSignalSpy finished(&process, &SpawnedProcess::finished);
            QVERIFY2(!process.start(program, {}), qPrintable(program));
            QVERIFY(!process.errorString().isEmpty());
            QVERIFY(!process.isRunning());
            QTest::qWait(20);
            QCOMPARE(finished.count(), 0);
        }
    }

    void largeEnvironmentAndArguments()
    {
        // Near the kernel's bound for one string, many variables, and arguments with
        // every byte a shell would mangle.
        const QByteArray big(120 * 1024, 'k');
        qputenv("HARNWICK_TEST_BIG", big);
        for (int i = 0; i < 200; ++i)
            qputenv(QByteArray("HARNWICK_TEST_V") + QByteArray::number(i), QByteArray(2048, 'v'));
        SpawnedProcess process;
        const QStringList arguments{QStringLiteral("a b"), QStringLiteral("$HOME"), QStringLiteral("\"'*"),
                                    QString(), QStringLiteral("Prüfstand ä")};
        const bool started = process.start(
            dir.script(QStringLiteral("env"),
                       QStringLiteral("echo ${#HARNWICK_TEST_BIG} $(env | grep -c '^HARNWICK_TEST_V')\n"
                                      "for a in \"$@\"; do echo \"[$a]\"; done\n")),
            arguments);
        qunsetenv("HARNWICK_TEST_BIG");
        for (int i = 0; i < 200; ++i)
            qunsetenv(QByteArray("HARNWICK_TEST_V" + QByteArray::number(i)).constData());
        QVERIFY2(started, qPrintable(process.errorString()));
        const Ended ended = collect(process);
        QCOMPARE(QString::fromUtf8(ended.out),
                 QStringLiteral("%1 200\n[a b]\n[$HOME]\n[\"'*]\n[]\n[Prüfstand ä]\n").arg(big.size()));
    }

    void outputBeforeTheEndIsKept()
    {
        // More than a pipe holds, on both channels, ending at once after the last write.
        SpawnedProcess process;
        QVERIFY(process.start(
            QStringLiteral("sh"),
            {QStringLiteral("-c"),
             QStringLiteral(
                 "head -c 300000 /dev/zero | tr '\\0' o; head -c 70000 /dev/zero | tr '\\0' e >&2")}));
        const Ended ended = collect(process);
        QCOMPARE(ended.out.size(), 300000);
        QCOMPARE(ended.err.size(), 70000);
        QCOMPARE(ended.out.count('o'), 300000);
    }
};

HARNWICK_TEST(TestSpawnedProcess)
#include "tst_spawnedprocess.moc"
