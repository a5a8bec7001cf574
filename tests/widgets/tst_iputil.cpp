#include "iputil.h"
#include "testregistry.h"

#include <QTest>

class TestIpUtil : public QObject
{
    Q_OBJECT

private slots:
    void netMasks_data()
    {
        QTest::addColumn<int>("prefix"); // -1: the mask is only read back
        QTest::addColumn<uint>("mask");
        QTest::addColumn<int>("readBack");
        QTest::newRow("0") << 0 << 0x00000000u << 0;
        QTest::newRow("1") << 1 << 0x80000000u << 1;
        QTest::newRow("24") << 24 << 0xFFFFFF00u << 24;
        QTest::newRow("32") << 32 << 0xFFFFFFFFu << 32;
        QTest::newRow("33 is capped") << 33 << 0xFFFFFFFFu << 32;
        // Not checked for holes: the lowest set bit decides.
        QTest::newRow("holes") << -1 << 0xFF00FF00u << 24;
    }

    void netMasks()
    {
        QFETCH(int, prefix);
        QFETCH(uint, mask);
        if (prefix >= 0)
            QCOMPARE(IpUtil::prefixToNetMask(uchar(prefix)), mask);
        QTEST(int(IpUtil::netMaskToPrefix(mask)), "readBack");
    }

    void addresses_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<uint>("address");
        QTest::addColumn<bool>("canonical"); // whether the address is written back as the same text
        QTest::newRow("plain") << "10.0.0.1" << 0x0A000001u << true;
        QTest::newRow("octet order") << "192.168.1.10" << 0xC0A8010Au << true;
        QTest::newRow("highest") << "255.255.255.255" << 0xFFFFFFFFu << true;
        QTest::newRow("doubled dot") << "1..2.3.4" << 0x01020304u << false;
        QTest::newRow("leading dot") << ".1.2.3.4" << 0x01020304u << false;
        QTest::newRow("letters count as 0") << "10.x.0.1" << 0x0A000001u << false;
        QTest::newRow("octet 256") << "192.168.1.256" << 0u << false;
        QTest::newRow("first octet 300") << "300.1.1.1" << 0u << false;
        QTest::newRow("three parts") << "10.0.0" << 0u << false;
        QTest::newRow("five parts") << "10.0.0.1.5" << 0u << false;
        QTest::newRow("empty") << "" << 0u << false;
    }

    void addresses()
    {
        QFETCH(QString, text);
        QFETCH(uint, address);
        QFETCH(bool, canonical);
        QCOMPARE(IpUtil::ipFromString(text), address);
        if (canonical)
            QCOMPARE(IpUtil::ipToString(address), text);
    }

    void byteOrder()
    {
        QCOMPARE(IpUtil::netToHost(0x0A000001u), 0x0100000Au);
        QCOMPARE(IpUtil::netToHost(0x12345678u), 0x78563412u);
    }

    void convertToValidIP_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        QTest::newRow("canonical v4") << "10.0.0.1" << QString("10.0.0.1");
        QTest::newRow("v6 shortened") << "FE80:0000:0000:0000:0000:0000:0000:0001" << QString("fe80::1");
        QTest::newRow("loopback name") << "localhost" << QString("127.0.0.1");
        QTest::newRow("unresolvable name") << "bench-left.invalid" << QString("bench-left.invalid");
    }

    void convertToValidIP()
    {
        QFETCH(QString, text);
        QTEST(IpUtil::convertToValidIP(text), "expected");
    }
};

HARNWICK_TEST(TestIpUtil)
#include "tst_iputil.moc"
