#include "bulkaction.h"
#include "testregistry.h"

#include <QTest>

// The nine known types are covered through the steps of a page holding every one.
class TestBulkAction : public QObject
{
    Q_OBJECT

private slots:
    void unknownValuesAndTexts()
    {
        QCOMPARE(BulkActions::fromTypeString(QStringLiteral("Install_Adapter_Firmware")),
                 BulkAction::InstallAdapterFirmware);
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
