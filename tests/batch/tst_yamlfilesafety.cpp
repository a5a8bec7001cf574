#include "batchtestfiles.h"
#include "batchutil.h"
#include "testregistry.h"
#include "yamlparser.h"

#include <QRegularExpression>
#include <QtTest>

#include <sys/stat.h>

// Damaged or hostile documents, fed to both file readers: each read ends with false and one message that
// names the file, and none of them crashes or hangs.
class TestYamlFileSafety : public QObject
{
    Q_OBJECT

private slots:
    void refusedDocuments_data()
    {
        QTest::addColumn<QString>("setup");
        QTest::addColumn<QByteArray>("document");
        // "{kind}" stands for "Job file" or "Devices file", "{path}" for the file's path.
        QTest::addColumn<QString>("jobPattern");
        QTest::addColumn<QString>("devicesPattern");

        const QString at = "at line [1-9]\\d*, column [1-9]\\d*";
        const QString parseError =
            "^{kind} '{path}' could not be read: yaml-cpp: error " + at + ": [^\\n]+\\.$";
        const QString bad =
            "^{kind} '{path}' could not be read: yaml-cpp: error at line %1, column %2: bad conversion\\.$";
        QTest::newRow("malformed") << "file" << QByteArray("devices: [a, b\nsteps: {\n") << parseError
                                   << parseError;
        QTest::newRow("mapping where text belongs")
            << "file" << QByteArray("devices:\n  - serial_number: {a: 1}\nsteps:\n  - task: [wait]\n")
            << bad.arg(4).arg(11) << bad.arg(2).arg(20);
        QTest::newRow("keys in capitals") << "file" << QByteArray("Devices: []\nSteps: []\n")
                                          << "^Job file is missing required 'steps' array\\.$"
                                          << "^Devices file is missing required 'devices' array\\.$";

        const QString tooDeep =
            "^{kind} '{path}' is refused: it is nested too deeply at line 1, column \\d+\\.$";
        QTest::newRow("nested past the reader's limit")
            << "file"
            << QByteArray("devices: " + QByteArray(3000, '[') + QByteArray(3000, ']') + "\nsteps: []\n")
            << tooDeep << tooDeep;
        const QString depth =
            "^{kind} '{path}' is refused: its mappings are nested more than 32 levels deep " + at +
            " \\(an alias may refer back to its own anchor\\)\\.$";
        QByteArray deep = "x";
        for (int i = 0; i < YamlParser::Node::MaxDepth; ++i)
            deep = "{a: " + deep + "}";
        QTest::newRow("mappings nested 33 deep") << "file"
                                                 << "devices: []\nsteps: []\ndeep: " + deep + "\n"
                                                 << depth << depth;
        QTest::newRow("alias cycle") << "file" << QByteArray("devices: []\nsteps: []\nloop: &a {again: *a}\n")
                                     << depth << depth;

        const QString count = "^{kind} '{path}' is refused: it expands to more than 200000 values " + at +
                              " \\(aliases may repeat parts of the document\\)\\.$";
        QByteArray laughs = "devices: []\nsteps: []\nl0: &l0 [x, x]\n";
        for (int i = 1; i <= 24; ++i)
            laughs += QStringLiteral("l%1: &l%1 {a: *l%2, b: *l%2}\n").arg(i).arg(i - 1).toUtf8();
        QTest::newRow("billion laughs") << "file" << laughs << count << count;
        // The devices reader ignores unknown keys, so only the budget stops a list of aliases to a big entry:
        // each element is cheap to load, but wrapping them all draws on the same budget.
        QByteArray repeated =
            "entry: &e {task: wait, serial_number: 1, target_device: A, connection_type: usb, junk: {";
        for (int i = 0; i < 3000; ++i)
            repeated += "k" + QByteArray::number(i) + ": v, ";
        repeated += "end: v}}\ndevices: [" + QByteArray("*e, ").repeated(100) + "*e]\nsteps: [*e]\n";
        QTest::newRow("repeated big entry") << "file" << repeated << bad.arg(1).arg("\\d+") << count;
        // Without aliases too: yaml-cpp would take about 100 MB to build this before anything could count.
        const QByteArray dense =
            "devices: []\nsteps: []\njunk: [" + QByteArray("1,").repeated(200000) + "1]\n";
        QTest::newRow("dense values") << "file" << dense << count << count;

        QByteArray oversized = "devices: []\nsteps: []\n";
        oversized += QByteArray("# filler\n").repeated(BatchUtil::MaxYamlFileSize / 9);
        const QString tooLarge = "^{kind} '{path}' is larger than " +
                                 QString::number(BatchUtil::MaxYamlFileSize) + " bytes and is not read\\.$";
        QTest::newRow("oversized") << "file" << oversized << tooLarge << tooLarge;

        const QString notRegular = "^{kind} '{path}' is not a regular file\\.$";
        QTest::newRow("link to a valid file")
            << "link" << QByteArray("devices: []\nsteps: []\n") << notRegular << notRegular;
        QTest::newRow("pipe") << "fifo" << QByteArray() << notRegular << notRegular;
        const QString missing = "^{kind} '{path}' does not exist\\.$";
        QTest::newRow("missing") << "none" << QByteArray() << missing << missing;
    }

    void refusedDocuments()
    {
        QFETCH(QString, setup);
        QFETCH(QByteArray, document);
        QTemporaryDir folder;
        const QString path = folder.filePath("file.yaml");
        const QString real = folder.filePath("real.yaml");
        if (setup == "file")
            QVERIFY(BatchTestFiles::writeFile(path, document));
        else if (setup == "link")
            QVERIFY(BatchTestFiles::writeFile(real, document) && QFile::link(real, path));
        else if (setup == "fifo")
            QCOMPARE(::mkfifo(QFile::encodeName(path).constData(), 0600), 0);

        BatchUtil util;
        QSignalSpy errors(&util, &BatchUtil::errorEncountered);
        QList<QMap<QString, QVariant>> steps;
        QStringList parameters;
        QVERIFY(!util.parseJobFile(path, steps, parameters));
        QList<BatchUtil::DeviceEntry> devices;
        bool applied;
        QString debugInterface;
        int speed;
        QVERIFY(!util.parseDevicesFile(path, devices, applied, debugInterface, speed));

        const QStringList messages = BatchTestFiles::messages(errors);
        QCOMPARE(messages.size(), 2);
        QFETCH(QString, jobPattern);
        QFETCH(QString, devicesPattern);
        jobPattern.replace("{kind}", "Job file");
        devicesPattern.replace("{kind}", "Devices file");
        for (int i = 0; i < 2; ++i) {
            const QString pattern =
                (i == 0 ? jobPattern : devicesPattern).replace("{path}", QRegularExpression::escape(path));
            QVERIFY2(QRegularExpression(pattern).match(messages[i]).hasMatch(), qPrintable(messages[i]));
        }
    }
};

HARNWICK_TEST(TestYamlFileSafety)
#include "tst_yamlfilesafety.moc"
