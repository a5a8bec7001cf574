#include "csvlistimport.h"
#include "macaddress.h"
#include "poolpattern.h"
#include "poolrange.h"
#include "testregistry.h"

#include <QTest>

class TestPoolParts : public QObject
{
    Q_OBJECT

private slots:
    void pattern_data()
    {
        QTest::addColumn<QString>("pattern");
        QTest::addColumn<qulonglong>("value");
        QTest::addColumn<QString>("expected"); // empty: refused
        QTest::addColumn<QString>("errorPart");

        QTest::newRow("plain") << "%d" << 42ULL << "42"
                               << "";
        QTest::newRow("prefix, zero padded") << "HW-%06d" << 42ULL << "HW-000042"
                                             << "";
        QTest::newRow("wider than width") << "%03d" << 123456ULL << "123456"
                                          << "";
        QTest::newRow("zero") << "SN%d/A" << 0ULL << "SN0/A"
                              << "";
        QTest::newRow("upper hex") << "%X" << 0xBEEFULL << "BEEF"
                                   << "";
        QTest::newRow("lower hex padded, suffix") << "id-%08x.bin" << 0xBEEFULL << "id-0000beef.bin"
                                                  << "";
        QTest::newRow("percent signs") << "%%%04X%%" << 10ULL << "%000A%"
                                       << "";
        QTest::newRow("largest value") << "%d" << 18446744073709551615ULL << "18446744073709551615"
                                       << "";
        QTest::newRow("non-ASCII literal")
            << QString::fromUtf8("\xc3\x84-%d") << 7ULL << QString::fromUtf8("\xc3\x84-7") << "";

        QTest::newRow("%s refused") << "HW-%s" << 0ULL << ""
                                    << "%s";
        QTest::newRow("%n refused") << "%n%d" << 0ULL << ""
                                    << "%n";
        QTest::newRow("width without zero") << "%6d" << 0ULL << ""
                                            << "%6";
        QTest::newRow("left adjust") << "%-6d" << 0ULL << ""
                                     << "%-";
        QTest::newRow("long modifier") << "%ld" << 0ULL << ""
                                       << "%l";
        QTest::newRow("octal") << "%o" << 0ULL << ""
                               << "%o";
        QTest::newRow("two conversions") << "%d-%x" << 0ULL << ""
                                         << "more than one";
        QTest::newRow("none") << "HW-" << 0ULL << ""
                              << "no number";
        QTest::newRow("empty") << "" << 0ULL << ""
                               << "no number";
        QTest::newRow("lone percent at end") << "%d%" << 0ULL << ""
                                             << "lone";
        QTest::newRow("zero width") << "%00d" << 0ULL << ""
                                    << "without a width";
        QTest::newRow("zero flag only") << "%0d" << 0ULL << ""
                                        << "without a width";
        QTest::newRow("huge width") << "%0999999999999d" << 0ULL << ""
                                    << "width";
        QTest::newRow("escaped percent is no conversion") << "%%d" << 0ULL << ""
                                                          << "no number";
    }

    void pattern()
    {
        QFETCH(QString, pattern);
        QFETCH(qulonglong, value);
        QFETCH(QString, expected);
        QFETCH(QString, errorPart);
        PoolPattern parsed;
        QString error;
        const bool ok = PoolPattern::parse(pattern, &parsed, &error);
        QCOMPARE(ok, !expected.isEmpty());
        if (ok)
            QCOMPARE(parsed.format(value), expected);
        else
            QVERIFY2(error.contains(errorPart), qPrintable(error));
    }

    void macAddress_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("valid");
        QTest::addColumn<qulonglong>("value");

        QTest::newRow("upper") << "02:1A:00:00:01:0F" << true << 0x021A0000010FULL;
        QTest::newRow("lower, spaces") << " 02:1a:00:00:01:0f " << true << 0x021A0000010FULL;
        QTest::newRow("highest") << "FF:FF:FF:FF:FF:FF" << true << qulonglong(MacAddress::Largest);
        QTest::newRow("five groups") << "02:1A:00:00:01" << false << 0ULL;
        QTest::newRow("seven groups") << "02:1A:00:00:01:0F:00" << false << 0ULL;
        QTest::newRow("single digit") << "2:1A:00:00:01:0F" << false << 0ULL;
        QTest::newRow("three digits") << "002:1A:00:00:01:0F" << false << 0ULL;
        QTest::newRow("not hex") << "02:1G:00:00:01:0F" << false << 0ULL;
        QTest::newRow("dashes") << "02-1A-00-00-01-0F" << false << 0ULL;
        QTest::newRow("sign") << "+2:1A:00:00:01:0F" << false << 0ULL;
    }

    void macAddress()
    {
        QFETCH(QString, text);
        QFETCH(bool, valid);
        QFETCH(qulonglong, value);
        quint64 parsed = 0;
        QString error;
        QCOMPARE(MacAddress::parse(text, &parsed, &error), valid);
        if (!valid) {
            QVERIFY(error.contains(text.trimmed()));
            return;
        }
        QCOMPARE(parsed, quint64(value));
        QCOMPARE(MacAddress::format(parsed), text.trimmed().toUpper());
    }

    void macArithmetic()
    {
        quint64 next = 0;
        QVERIFY(MacAddress::add(0x021A000000FFULL, 1, &next));
        QCOMPARE(MacAddress::format(next), QStringLiteral("02:1A:00:00:01:00"));
        QVERIFY(MacAddress::add(MacAddress::Largest - 2, 2, &next));
        QCOMPARE(next, MacAddress::Largest);
        QVERIFY(!MacAddress::add(MacAddress::Largest, 1, &next));
        QVERIFY(!MacAddress::add(1, MacAddress::Largest, &next));
        QVERIFY(!MacAddress::add(0, ~0ULL, &next));
    }

    void ranges_data()
    {
        QTest::addColumn<bool>("mac");
        QTest::addColumn<QString>("text");
        QTest::addColumn<qulonglong>("step");
        QTest::addColumn<qulonglong>("count"); // 0: refused
        QTest::addColumn<qulonglong>("lastValue");

        QTest::newRow("counter") << false << "1..5000" << 1ULL << 5000ULL << 5000ULL;
        QTest::newRow("single value") << false << "7..7" << 1ULL << 1ULL << 7ULL;
        QTest::newRow("step not reaching last") << false << "0..10" << 3ULL << 4ULL << 9ULL;
        QTest::newRow("step larger than range") << false << "5..6" << 10ULL << 1ULL << 5ULL;
        QTest::newRow("whole signed range")
            << false << "0..9223372036854775807" << 1ULL << 9223372036854775808ULL << 9223372036854775807ULL;
        QTest::newRow("empty range") << false << "10..9" << 1ULL << 0ULL << 0ULL;
        QTest::newRow("step 0") << false << "1..9" << 0ULL << 0ULL << 0ULL;
        QTest::newRow("negative") << false << "-5..9" << 1ULL << 0ULL << 0ULL;
        QTest::newRow("too large") << false << "1..9223372036854775808" << 1ULL << 0ULL << 0ULL;
        QTest::newRow("no dots") << false << "1-9" << 1ULL << 0ULL << 0ULL;
        QTest::newRow("two ranges") << false << "1..5..9" << 1ULL << 0ULL << 0ULL;
        QTest::newRow("mac block") << true << "02:1A:00:00:00:00..02:1A:00:00:00:FF" << 2ULL << 128ULL
                                   << 0x021A000000FEULL;
        QTest::newRow("mac to the top") << true << "FF:FF:FF:FF:FF:00..FF:FF:FF:FF:FF:FF" << 1ULL << 256ULL
                                        << qulonglong(MacAddress::Largest);
        QTest::newRow("mac reversed")
            << true << "02:1A:00:00:00:01..02:1A:00:00:00:00" << 1ULL << 0ULL << 0ULL;
        QTest::newRow("mac step too large")
            << true << "00:00:00:00:00:00..00:00:00:00:00:01" << 0x1000000000000ULL << 0ULL << 0ULL;
    }

    void ranges()
    {
        QFETCH(bool, mac);
        QFETCH(QString, text);
        QFETCH(qulonglong, step);
        QFETCH(qulonglong, count);
        QFETCH(qulonglong, lastValue);
        PoolRange range;
        QString error;
        const bool ok = mac ? PoolRange::parseMac(text, step, &range, &error)
                            : PoolRange::parseCounter(text, step, &range, &error);
        QVERIFY2(ok == (count != 0), qPrintable(error));
        if (!ok) {
            QVERIFY(!error.isEmpty());
            return;
        }
        QCOMPARE(range.count(), quint64(count));
        QCOMPARE(range.valueAt(range.count() - 1), quint64(lastValue));
    }

    void overlaps_data()
    {
        QTest::addColumn<qulonglong>("first1");
        QTest::addColumn<qulonglong>("last1");
        QTest::addColumn<qulonglong>("step1");
        QTest::addColumn<qulonglong>("first2");
        QTest::addColumn<qulonglong>("last2");
        QTest::addColumn<qulonglong>("step2");
        QTest::addColumn<bool>("overlap");

        QTest::newRow("apart") << 1ULL << 10ULL << 1ULL << 11ULL << 20ULL << 1ULL << false;
        QTest::newRow("touching") << 1ULL << 10ULL << 1ULL << 10ULL << 20ULL << 1ULL << true;
        QTest::newRow("interleaved odd and even") << 1ULL << 99ULL << 2ULL << 2ULL << 100ULL << 2ULL << false;
        QTest::newRow("threes and fives meet at 15")
            << 0ULL << 30ULL << 3ULL << 5ULL << 30ULL << 5ULL << true;
        QTest::newRow("threes and fives, window misses")
            << 0ULL << 14ULL << 3ULL << 5ULL << 14ULL << 5ULL << false;
        QTest::newRow("inside, between steps") << 0ULL << 100ULL << 10ULL << 41ULL << 49ULL << 1ULL << false;
    }

    void overlaps()
    {
        QFETCH(qulonglong, first1);
        QFETCH(qulonglong, last1);
        QFETCH(qulonglong, step1);
        QFETCH(qulonglong, first2);
        QFETCH(qulonglong, last2);
        QFETCH(qulonglong, step2);
        QFETCH(bool, overlap);
        PoolRange a;
        a.first = first1;
        a.last = last1;
        a.step = step1;
        PoolRange b;
        b.first = first2;
        b.last = last2;
        b.step = step2;
        QCOMPARE(a.overlaps(b), overlap);
        QCOMPARE(b.overlaps(a), overlap);
    }

    void csv_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("column");
        QTest::addColumn<QStringList>("values");
        QTest::addColumn<QString>("errorPart"); // set when refused

        QTest::newRow("one column, blank lines, CRLF")
            << "K-001\r\n\r\nK-002\r\nK-003" << QString() << QStringList{"K-001", "K-002", "K-003"} << "";
        QTest::newRow("named column") << "serial,key\nA1,k1\nA2,k2\n"
                                      << "key" << QStringList{"k1", "k2"} << "";
        QTest::newRow("quoted comma, doubled quote, newline")
            << "id,key\n1,\"a,b\"\n2,\"say \"\"x\"\"\"\n3,\"two\nlines\"\n"
            << "key" << QStringList{"a,b", "say \"x\"", "two\nlines"} << "";
        QTest::newRow("trimmed unquoted, kept quoted") << "  k1  \n\" k2 \"\n"
                                                       << QString() << QStringList{"k1", " k2 "} << "";
        QTest::newRow("duplicate named with lines")
            << "key\nk1\nk2\nk1\nk2\n"
            << "key" << QStringList() << "\"k1\" on line 4 is a duplicate of line 2";
        QTest::newRow("duplicate after multi-line field")
            << "\"a\nb\"\nc\nc\n"
            << QString() << QStringList() << "line 4 is a duplicate of line 3";
        QTest::newRow("several columns, none named") << "a,b\n"
                                                     << QString() << QStringList() << "Line 1 has 2 columns";
        QTest::newRow("unknown column") << "serial,key\n1,2\n"
                                        << "mac" << QStringList() << "serial, key";
        QTest::newRow("missing value") << "serial,key\n1,2\n3\n"
                                       << "key" << QStringList() << "Line 3";
        QTest::newRow("open quote") << "a\n\"b\nc\n"
                                    << QString() << QStringList() << "line 2 is never closed";
        QTest::newRow("stray quote") << "ab\"c\n" << QString() << QStringList() << "Line 1";
        QTest::newRow("text after quote") << "\"ab\"c\n" << QString() << QStringList() << "after a closing";
        QTest::newRow("placeholder-like duplicate")
            << "x%2\nx%2\n"
            << QString() << QStringList() << "\"x%2\" on line 2 is a duplicate of line 1";
        QTest::newRow("nothing") << "\n\n" << QString() << QStringList() << "no values";
    }

    void csv()
    {
        QFETCH(QString, text);
        QFETCH(QString, column);
        QFETCH(QStringList, values);
        QFETCH(QString, errorPart);
        QStringList read;
        QString error;
        const bool ok = CsvListImport::read(text, column, &read, &error);
        QVERIFY2(ok == errorPart.isEmpty(), qPrintable(error));
        if (ok)
            QCOMPARE(read, values);
        else
            QVERIFY2(error.contains(errorPart), qPrintable(error));
    }

    void csvExportReadsBack()
    {
        const QStringList values{"plain", "a,b", "q\"uote", " padded ", "line\nbreak"};
        QString text;
        for (const QString& value : values)
            text += CsvListImport::quoted(value) + QLatin1Char('\n');
        QStringList read;
        QString error;
        QVERIFY2(CsvListImport::read(text, QString(), &read, &error), qPrintable(error));
        QCOMPARE(read, values);
    }
};

HARNWICK_TEST(TestPoolParts)
#include "tst_poolparts.moc"
