#include "bulkaction.h"
#include "testregistry.h"

#include <QSet>
#include <QTest>

class TestBulkAction : public QObject
{
    Q_OBJECT

private slots:
    void conversions()
    {
        // Every type has its own task string, read back whatever its case.
        QSet<QString> seen;
        for (int value = 1; value <= 9; ++value) {
            const BulkAction action = BulkActions::fromInt(value);
            const QString text = BulkActions::typeString(action);
            QCOMPARE(static_cast<int>(action), value);
            QVERIFY2(!text.isEmpty() && !seen.contains(text), qPrintable(text));
            seen.insert(text);
            QCOMPARE(BulkActions::fromTypeString(text.toUpper()), action);
        }
        QCOMPARE(BulkActions::fromTypeString(QStringLiteral("Install_Adapter_Firmware")),
                 BulkAction::InstallAdapterFirmware);

        // Out of range and unknown: no task string, None.
        for (int value : {0, 10, -1}) {
            QCOMPARE(BulkActions::typeString(static_cast<BulkAction>(value)), QString());
            QCOMPARE(BulkActions::fromInt(value), BulkAction::None);
        }
        for (const char* text : {"erase", " wait", "wait_", ""})
            QCOMPARE(BulkActions::fromTypeString(QString::fromLatin1(text)), BulkAction::None);
    }
};

HARNWICK_TEST(TestBulkAction)
#include "tst_bulkaction.moc"
