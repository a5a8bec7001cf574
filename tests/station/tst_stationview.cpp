#include "lotstore.h"
#include "productionstore.h"
#include "settingsutil.h"
#include "simulatorsession.h"
#include "stationengine.h"
#include "stationmode.h"
#include "stationsession.h"
#include "stationtile.h"
#include "stationview.h"
#include "storelocation.h"
#include "storesettings.h"
#include "testenvironment.h"
#include "testregistry.h"

#include <QAbstractScrollArea>
#include <QApplication>
#include <QDateTime>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenuBar>
#include <QPushButton>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>

// Station mode in a window against the simulator: a board plugged in passes and its tile and the
// counters say so, a unit a crash cut short waits as INTERRUPTED, and the password guards the way out.
class TestStationView : public QObject
{
    Q_OBJECT

    SimulatorSession session{QByteArray()};
    QTemporaryDir storeDir;
    QString storePath;

    // The first wrong password, then more, in the view's own unlock dialog; returns what it said last.
    static QString typeInUnlockDialog(StationView* view, const QStringList& passwords)
    {
        QString said;
        QTimer::singleShot(0, [&] {
            auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
            if (!dialog)
                return;
            auto* field = dialog->findChild<QLineEdit*>(QStringLiteral("stationPassword"));
            auto* message = dialog->findChild<QLabel*>(QStringLiteral("stationPasswordMessage"));
            auto* buttons = dialog->findChild<QDialogButtonBox*>();
            for (const QString& password : passwords) {
                field->setText(password);
                buttons->button(QDialogButtonBox::Ok)->click();
                if (!dialog->isVisible())
                    break;
                said = message->text();
            }
            if (dialog->isVisible())
                dialog->reject();
        });
        view->findChild<QPushButton*>(QStringLiteral("stationLock"))->click();
        return said;
    }

private slots:
    void initTestCase()
    {
        SettingsUtil::setSetting(Settings::corvaneGroup, Settings::executableKey,
                                 TestEnvironment::simulatorPath());
        SettingsUtil::clearSetting(StationMode::settingsGroup(), StationMode::passwordRecordKey());
        SimulatorSession::setSpeed("1");
        QVERIFY(storeDir.isValid());
        storePath = storeDir.filePath(QStringLiteral("station.sqlite"));
        StoreSettings::setUrl(StoreLocation::sqliteFile(storePath).url());
    }

    void cleanupTestCase()
    {
        qunsetenv("CORVANE_SIM_EPOCH_MS");
        StoreSettings::setUrl(QString());
        SettingsUtil::clearSetting(StationMode::settingsGroup(), StationMode::passwordRecordKey());
    }

    void stationMode()
    {
        QFile fleet(session.filePath(QStringLiteral("fleet.yaml")));
        QVERIFY(fleet.open(QIODevice::WriteOnly | QIODevice::Truncate));
        fleet.write("adapters:\n"
                    "  - {serial: 801050001, part: KM32G101F512, attached: [[300, null]]}\n"
                    "  - {serial: 801050002, part: KM32G101F512, attached: [[0, null]]}\n");
        fleet.close();
        session.clearRecord();
        qputenv("CORVANE_SIM_EPOCH_MS", QByteArray::number(QDateTime::currentMSecsSinceEpoch()));

        // An earlier station process died while a unit ran on 801050002.
        {
            ProductionStore store;
            QString error;
            QVERIFY2(store.open(StoreLocation::sqliteFile(storePath), &error), qPrintable(error));
            LotStore lots(store.database(), store.isPostgres(), store.stationId());
            const qint64 lot = lots.openLot(QStringLiteral("KL-0200"), 2, QString(), QString(), &error);
            QVERIFY2(lot != 0, qPrintable(error));
            QVERIFY(lots.unitStarted(lot, QStringLiteral("801050002"), QStringLiteral("801050002"),
                                     2147483000, &error) != 0);
        }

        QMainWindow window;
        auto* page = new QWidget;
        window.setCentralWidget(page);
        QAction* settingsAction =
            window.menuBar()->addMenu(QStringLiteral("&Settings"))->addAction("Path...");
        StationMode mode(&window);

        // No default password: nothing unlocks until one is set.
        QVERIFY(!mode.tryPassword(QString()).isEmpty());
        QVERIFY(!mode.tryPassword(QStringLiteral("admin")).isEmpty());
        QVERIFY(mode.setPassword(QStringLiteral("Bench-7-Lock")));
        QVERIFY(!mode.setPassword(QStringLiteral("Other-Pass")));
        QCOMPARE(mode.tryPassword(QStringLiteral("bench-7-lock")), QStringLiteral("Wrong password."));
        QCOMPARE(mode.tryPassword(QStringLiteral("Bench-7-Lock")), QString());

        JobRunRequest job;
        job.steps = {{{QStringLiteral("task"), QStringLiteral("wait")},
                      {QStringLiteral("enabled"), true},
                      {QStringLiteral("duration_ms"), 300}}};
        BatchUtil::DeviceEntry device;
        device.serialNumber = 801050001;
        device.connectionType = BatchUtil::Usb;
        device.selected = true;
        job.bundleDevices = {device, device};
        job.bundleDevices[1].serialNumber = 801050002;
        StationOptions options;
        options.settleMs = 400;
        options.pollMs = 100;
        QString error;
        QVERIFY2(mode.begin(job, QStringLiteral("line3.hwj"), QStringLiteral("KL-0200"), 2, &error, options),
                 qPrintable(error));
        StationView* view = mode.view();
        QCOMPARE(window.centralWidget(), view);
        QVERIFY(!page->isVisible());
        QVERIFY(!settingsAction->isEnabled());
        QVERIFY(view->findChild<QLabel*>("stationJob")->text().contains(StationSession::shortImageHash(job)));

        view->findChild<QPushButton*>(QStringLiteral("stationStart"))->click();
        QTRY_VERIFY_WITH_TIMEOUT(view->tile("801050001") && view->tile("801050001")->text().word == "PASS",
                                 10000);
        // The counters are the store's: the unit cut short is a failed try of its board.
        QTRY_COMPARE(mode.session()->counts().passed, 1);
        {
            ProductionStore store;
            QVERIFY(store.open(StoreLocation::sqliteFile(storePath), &error));
            LotStore lots(store.database(), store.isPostgres(), store.stationId());
            const qint64 lot = lots.openLot(QStringLiteral("KL-0200"), 2, QString(), QString(), &error);
            LotCounts counts;
            QVERIFY(lots.counts(lot, &counts, &error));
            QCOMPARE(counts.passed, 1);
            QCOMPARE(counts.failed, 1);
            QVERIFY2(view->findChild<QLabel*>("stationCounters")
                         ->text()
                         .startsWith(
                             QStringLiteral("Passed %1    Failed %2").arg(counts.passed).arg(counts.failed)),
                     qPrintable(view->findChild<QLabel*>("stationCounters")->text()));
        }
        QVERIFY(view->findChild<QLabel*>("stationLot")->text().contains("1 of 2"));
        // The unit a crash cut short waits for the operator and is not run again.
        QVERIFY(view->tile("801050002"));
        QCOMPARE(view->tile("801050002")->text().word, QStringLiteral("INTERRUPTED"));
        QTest::qWait(800);
        QCOMPARE(mode.session()->engine()->slot("801050002")->state, StationSlot::State::Interrupted);
        QFile record(session.recordPath());
        QVERIFY(record.open(QIODevice::ReadOnly));
        QStringList batchSerials;
        for (const QByteArray& line : record.readAll().split('\n')) {
            const QJsonObject call = QJsonDocument::fromJson(line).object();
            const QStringList arguments = call.value("arguments").toVariant().toStringList();
            if (call.value("command").toString() == "batch")
                batchSerials << arguments.value(arguments.indexOf("--serialno") + 1);
        }
        QCOMPARE(batchSerials, QStringList{"801050001"});

        if (qEnvironmentVariableIsSet("HARNWICK_SCREENSHOT_DIR")) {
            window.resize(1600, 900);
            window.show();
            QTest::qWait(300);
            window.grab().save(qEnvironmentVariable("HARNWICK_SCREENSHOT_DIR") + "/stationview.png");
        }

        // Locked, the way out needs the password; five wrong tries make it wait, right or wrong.
        mode.lockNow();
        QVERIFY(!view->findChild<QPushButton*>(QStringLiteral("stationLeave"))->isEnabled());
        // Locked, what can still be pressed only starts, stops, re-arms or asks for the password.
        const QStringList operatorButtons{"stationStart", "stationStop", "stationLock", "stationTileRearm"};
        for (QWidget* child : window.findChildren<QWidget*>()) {
            if (!child->isEnabled() || !child->isVisibleTo(&window) || child->focusPolicy() == Qt::NoFocus)
                continue;
            if (qobject_cast<QAbstractScrollArea*>(child) || qobject_cast<QLabel*>(child))
                continue;
            QVERIFY2(operatorButtons.contains(child->objectName()), qPrintable(child->objectName()));
        }
        for (QAction* action : window.menuBar()->actions())
            for (QAction* entry : action->menu()->actions())
                QVERIFY(!entry->isEnabled());
        const QString said =
            typeInUnlockDialog(view, {"one", "two", "three", "four", "five", "Bench-7-Lock"});
        QVERIFY2(said.contains("Wait") && said.contains("seconds"), qPrintable(said));
        QVERIFY(!mode.lock().isUnlocked());
        QVERIFY(!view->findChild<QPushButton*>(QStringLiteral("stationLeave"))->isEnabled());

        // Only the salted record is kept; the audit has the locks and the failed tries.
        const QString passwordRecord = SettingsUtil::getSetting(StationMode::settingsGroup(),
                                                                StationMode::passwordRecordKey(), QString())
                                           .toString();
        QVERIFY(passwordRecord.startsWith("pbkdf2-sha256$"));
        QVERIFY(!passwordRecord.contains("Bench-7-Lock"));
        {
            ProductionStore store;
            QVERIFY(store.open(StoreLocation::sqliteFile(storePath), &error));
            QSqlQuery audit(store.database());
            QVERIFY(audit.exec("SELECT what, new_value FROM audit"));
            QStringList whats;
            while (audit.next()) {
                whats << audit.value(0).toString();
                QVERIFY(!audit.value(1).toString().contains("Bench-7-Lock"));
            }
            QVERIFY(whats.contains("station lock"));
            QVERIFY(whats.contains("station unlock"));
            QVERIFY(whats.count("station unlock failed") >= 5);
            QVERIFY(whats.contains("station lot"));
        }

        mode.end();
        QCOMPARE(window.centralWidget(), page);
        QVERIFY(settingsAction->isEnabled());
    }
};

HARNWICK_TEST(TestStationView)
#include "tst_stationview.moc"
