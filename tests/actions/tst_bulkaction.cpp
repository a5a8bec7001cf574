#include "bulkaction.h"
#include "testregistry.h"

#include <QTest>

class TestBulkAction : public QObject
{
    Q_OBJECT

private slots:
    void typeStrings_data()
    {
        QTest::addColumn<int>("value");
        QTest::addColumn<QString>("typeString");
        QTest::addColumn<QString>("displayText");
        QTest::newRow("none") << 0 << QString() << QStringLiteral("Select Action...");
        QTest::newRow("custom") << 1 << QStringLiteral("run_custom_command")
                                << QStringLiteral("Run Custom Command");
        QTest::newRow("firmware") << 2 << QStringLiteral("install_adapter_firmware")
                                  << QStringLiteral("Install Adapter Firmware");
        QTest::newRow("debug mode") << 3 << QStringLiteral("set_adapter_debug_mode")
                                    << QStringLiteral("Set Adapter Debug Mode");
        QTest::newRow("info") << 4 << QStringLiteral("log_device_info")
                              << QStringLiteral("Log Device Information");
        QTest::newRow("flash") << 5 << QStringLiteral("flash_target_device")
                               << QStringLiteral("Flash Target Device");
        QTest::newRow("erase") << 6 << QStringLiteral("mass_erase_target_device")
                               << QStringLiteral("Mass Erase Target Device");
        QTest::newRow("lock") << 7 << QStringLiteral("lock_unlock_target_device")
                              << QStringLiteral("Lock/Unlock Target Debug Access");
        QTest::newRow("recover") << 8 << QStringLiteral("recover_target_device")
                                 << QStringLiteral("Recover Target Device");
        QTest::newRow("wait") << 9 << QStringLiteral("wait") << QStringLiteral("Wait");
    }

    void typeStrings()
    {
        QFETCH(int, value);
        QFETCH(QString, typeString);
        QFETCH(QString, displayText);
        const auto action = static_cast<BulkAction>(value);
        QCOMPARE(BulkActions::typeString(action), typeString);
        QCOMPARE(BulkActions::displayText(action), displayText);
        QCOMPARE(BulkActions::fromInt(value), action);
        QCOMPARE(BulkActions::fromTypeString(typeString), action);
        QCOMPARE(BulkActions::fromTypeString(typeString.toUpper()), action);
    }

    void unknownValuesAndTexts()
    {
        // Values outside the enumeration have no type string and map back to None.
        QCOMPARE(BulkActions::typeString(static_cast<BulkAction>(10)), QString());
        QCOMPARE(BulkActions::typeString(static_cast<BulkAction>(-1)), QString());
        QCOMPARE(BulkActions::fromInt(10), BulkAction::None);
        QCOMPARE(BulkActions::fromInt(-3), BulkAction::None);

        QCOMPARE(BulkActions::fromTypeString(QStringLiteral("Install_Adapter_Firmware")),
                 BulkAction::InstallAdapterFirmware);
        QCOMPARE(BulkActions::fromTypeString(QStringLiteral("erase")), BulkAction::None);
        QCOMPARE(BulkActions::fromTypeString(QStringLiteral(" wait")), BulkAction::None);
        QCOMPARE(BulkActions::fromTypeString(QStringLiteral("wait_")), BulkAction::None);
        QCOMPARE(BulkActions::fromTypeString(QString()), BulkAction::None);
    }
};

HARNWICK_TEST(TestBulkAction)
#include "tst_bulkaction.moc"
