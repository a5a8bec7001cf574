#include "adapterlock.h"
#include "testregistry.h"

#include <QFile>
#include <QTest>

#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

class TestAdapterLock : public QObject
{
    Q_OBJECT

private slots:
    // Two locks on one device in this process behave as two processes would: flock()
    // holds per open file, so the second is refused and names this process.
    void heldUntilReleasedOrClosed()
    {
        auto first = std::make_unique<AdapterLock>();
        AdapterLock second;
        QVERIFY(first->tryLock(QStringLiteral("801002345")));
        QVERIFY(!second.tryLock(QStringLiteral("801002345")));
        QVERIFY(second.isBusy());
        QCOMPARE(second.holderPid(), qint64(::getpid()));
        // Another device is not affected.
        AdapterLock other;
        QVERIFY(other.tryLock(QStringLiteral("801002346")));

        first->release();
        QVERIFY(second.tryLock(QStringLiteral("801002345")));
        QVERIFY(!first->tryLock(QStringLiteral("801002345")));
        first.reset();
        second.release();
        // Closed with its object: the next one gets it.
        {
            AdapterLock scoped;
            QVERIFY(scoped.tryLock(QStringLiteral("801002345")));
        }
        QVERIFY(second.tryLock(QStringLiteral("801002345")));

        // An IP address or an odd id names a file inside the lock folder.
        const QString path = AdapterLock::lockFilePath(QStringLiteral("../x/192.0.2.20"));
        QCOMPARE(path.section(QLatin1Char('/'), 0, -2), AdapterLock::lockFolder());
        QVERIFY(!path.section(QLatin1Char('/'), -1).contains(QLatin1Char('/')));
    }

    // A process holding locks is seen from outside and lets go of them when it dies.
    void releasedOnProcessDeath()
    {
        int ready[2];
        QVERIFY(::pipe(ready) == 0);
        const pid_t child = ::fork();
        QVERIFY(child >= 0);
        if (child == 0) {
            AdapterLock one, two;
            const char ok =
                one.tryLock(QStringLiteral("801017733")) && two.tryLock(QStringLiteral("801017734")) ? '1'
                                                                                                     : '0';
            const ssize_t written = ::write(ready[1], &ok, 1);
            Q_UNUSED(written)
            ::pause();
            ::_exit(0);
        }
        ::close(ready[1]);
        char ok = 0;
        QCOMPARE(::read(ready[0], &ok, 1), ssize_t(1));
        ::close(ready[0]);
        QCOMPARE(ok, '1');

        AdapterLock lock;
        QVERIFY(!lock.tryLock(QStringLiteral("801017733")));
        QCOMPARE(lock.holderPid(), qint64(child));
        const auto held = AdapterLock::heldElsewhere();
        QCOMPARE(held, (QList<QPair<QString, qint64>>{{"801017733", child}, {"801017734", child}}));
        const QString text = AdapterLock::heldElsewhereText(held);
        QVERIFY2(text.contains(QStringLiteral("process %1 is running 2 adapters").arg(child)),
                 qPrintable(text));
        QVERIFY(AdapterLock::heldElsewhereText({{"801017733", child}})
                    .contains(QStringLiteral("process %1 is running 1 adapter.").arg(child)));

        ::kill(child, SIGKILL);
        int status = 0;
        QCOMPARE(::waitpid(child, &status, 0), child);
        QVERIFY(lock.tryLock(QStringLiteral("801017733")));
        lock.release();
        QCOMPARE(AdapterLock::heldElsewhere().size(), 0);
        QCOMPARE(AdapterLock::heldElsewhereText({}), QString());
    }
};

HARNWICK_TEST(TestAdapterLock)
#include "tst_adapterlock.moc"
