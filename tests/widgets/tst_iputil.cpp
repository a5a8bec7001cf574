#include "iputil.h"
#include "testregistry.h"

#include <QTest>

class TestIpUtil : public QObject
{
    Q_OBJECT

private slots:
    void prefixToNetMask_data();
    void prefixToNetMask();
    void netMaskToPrefix_data();
    void netMaskToPrefix();
    void ipToString_data();
    void ipToString();
    void ipFromString_data();
    void ipFromString();
    void netToHost();
    void convertToValidIP_data();
    void convertToValidIP();
};

void TestIpUtil::prefixToNetMask_data()
{
    QTest::addColumn<int>("prefix");
    QTest::addColumn<uint>("mask");
    QTest::newRow("0") << 0 << 0x00000000u;
    QTest::newRow("1") << 1 << 0x80000000u;
    QTest::newRow("8") << 8 << 0xFF000000u;
    QTest::newRow("24") << 24 << 0xFFFFFF00u;
    QTest::newRow("32") << 32 << 0xFFFFFFFFu;
    QTest::newRow("33") << 33 << 0xFFFFFFFFu;
}

void TestIpUtil::prefixToNetMask()
{
    QFETCH(int, prefix);
    QFETCH(uint, mask);
    QCOMPARE(IpUtil::prefixToNetMask(uchar(prefix)), mask);
}

void TestIpUtil::netMaskToPrefix_data()
{
    QTest::addColumn<uint>("mask");
    QTest::addColumn<int>("prefix");
    QTest::newRow("0") << 0x00000000u << 0;
    QTest::newRow("/1") << 0x80000000u << 1;
    QTest::newRow("/24") << 0xFFFFFF00u << 24;
    QTest::newRow("/32") << 0xFFFFFFFFu << 32;
    // Not checked for holes: the lowest set bit decides.
    QTest::newRow("holes") << 0xFF00FF00u << 24;
}

void TestIpUtil::netMaskToPrefix()
{
    QFETCH(uint, mask);
    QFETCH(int, prefix);
    QCOMPARE(int(IpUtil::netMaskToPrefix(mask)), prefix);
}

void TestIpUtil::ipToString_data()
{
    QTest::addColumn<uint>("address");
    QTest::addColumn<QString>("text");
    QTest::newRow("10.0.0.1") << 0x0A000001u << "10.0.0.1";
    QTest::newRow("broadcast") << 0xFFFFFFFFu << "255.255.255.255";
    QTest::newRow("order") << 0xC0A8010Au << "192.168.1.10";
}

void TestIpUtil::ipToString()
{
    QFETCH(uint, address);
    QFETCH(QString, text);
    QCOMPARE(IpUtil::ipToString(address), text);
}

void TestIpUtil::ipFromString_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<uint>("address");
    QTest::newRow("plain") << "10.0.0.1" << 0x0A000001u;
    QTest::newRow("order") << "192.168.1.10" << 0xC0A8010Au;
    QTest::newRow("highest") << "255.255.255.255" << 0xFFFFFFFFu;
    QTest::newRow("doubled dot") << "1..2.3.4" << 0x01020304u;
    QTest::newRow("leading dot") << ".1.2.3.4" << 0x01020304u;
    QTest::newRow("octet 256") << "192.168.1.256" << 0u;
    QTest::newRow("first octet 300") << "300.1.1.1" << 0u;
    QTest::newRow("three parts") << "10.0.0" << 0u;
    QTest::newRow("five parts") << "10.0.0.1.5" << 0u;
    QTest::newRow("empty") << "" << 0u;
    QTest::newRow("letters count as 0") << "10.x.0.1" << 0x0A000001u;
}

void TestIpUtil::ipFromString()
{
    QFETCH(QString, text);
    QFETCH(uint, address);
    QCOMPARE(IpUtil::ipFromString(text), address);
    if (address != 0 && !text.contains(QLatin1Char('x')))
        QCOMPARE(IpUtil::ipFromString(IpUtil::ipToString(address)), address);
}

void TestIpUtil::netToHost()
{
    QCOMPARE(IpUtil::netToHost(0x0A000001u), 0x0100000Au);
    QCOMPARE(IpUtil::netToHost(0x12345678u), 0x78563412u);
    QCOMPARE(IpUtil::netToHost(IpUtil::netToHost(0xC0A8010Au)), 0xC0A8010Au);
}

void TestIpUtil::convertToValidIP_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");
    QTest::newRow("canonical v4") << "10.0.0.1"
                                  << "10.0.0.1";
    QTest::newRow("v6 shortened") << "FE80:0000:0000:0000:0000:0000:0000:0001"
                                  << "fe80::1";
    QTest::newRow("loopback name") << "localhost"
                                   << "127.0.0.1";
    QTest::newRow("unresolvable name") << "bench-left.invalid"
                                       << "bench-left.invalid";
}

void TestIpUtil::convertToValidIP()
{
    QFETCH(QString, text);
    QFETCH(QString, expected);
    QCOMPARE(IpUtil::convertToValidIP(text), expected);
}

HARNWICK_TEST(TestIpUtil)
#include "tst_iputil.moc"
