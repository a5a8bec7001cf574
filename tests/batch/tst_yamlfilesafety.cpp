#include "batchtestfiles.h"
#include "batchutil.h"
#include "testregistry.h"

#include <QDir>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
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

        const QString parseError =
            QStringLiteral("^{kind} '{path}' could not be read: yaml-cpp: error at line "
                           "\\d+, column \\d+: [^\\n]+\\.$");
        QTest::newRow("malformed") << "file" << QByteArray("devices: [a, b\nsteps: {\n") << parseError
                                   << parseError;
        QTest::newRow("tab indentation")
            << "file" << QByteArray("steps:\n\t- task: wait\ndevices:\n\t- x\n") << parseError << parseError;
        QTest::newRow("mapping where text belongs")
            << "file" << QByteArray("devices:\n  - serial_number: {a: 1}\nsteps:\n  - task: [wait]\n")
            << "^{kind} '{path}' could not be read: yaml-cpp: error at line 4, column 11: bad conversion\\.$"
            << "^{kind} '{path}' could not be read: yaml-cpp: error at line 2, column 20: bad conversion\\.$";

        const QString depth =
            QStringLiteral("^{kind} '{path}' is refused: its mappings are nested more than 32 "
                           "levels deep at line \\d+, column \\d+ \\(an alias may refer back "
                           "to its own anchor\\)\\.$");
        QTest::newRow("nested past the reader's limit")
            << "file"
            << QByteArray("devices: " + QByteArray(3000, '[') + QByteArray(3000, ']') + "\nsteps: []\n")
            << "^{kind} '{path}' is refused: it is nested too deeply at line 1, column \\d+\\.$"
            << "^{kind} '{path}' is refused: it is nested too deeply at line 1, column \\d+\\.$";
        QTest::newRow("alias cycle") << "file" << QByteArray("devices: []\nsteps: []\nloop: &a {again: *a}\n")
                                     << depth << depth;

        const QString count =
            QStringLiteral("^{kind} '{path}' is refused: it expands to more than 200000 values "
                           "at line \\d+, column \\d+ \\(aliases may repeat parts of the "
                           "document\\)\\.$");
        QByteArray laughs = "devices: []\nsteps: []\nl0: &l0 [x, x]\n";
        for (int i = 1; i <= 24; ++i)
            laughs += QStringLiteral("l%1: &l%1 {a: *l%2, b: *l%2}\n").arg(i).arg(i - 1).toUtf8();
        QTest::newRow("billion laughs") << "file" << laughs << count << count;

        // The devices reader ignores unknown keys, so only the budget stops a list of aliases to a big entry.
        QByteArray repeated =
            "entry: &e {task: wait, serial_number: 1, target_device: A, connection_type: usb, junk: {";
        for (int i = 0; i < 3000; ++i)
            repeated += "k" + QByteArray::number(i) + ": v, ";
        repeated += "end: v}}\ndevices: [";
        for (int i = 0; i < 100; ++i)
            repeated += "*e, ";
        repeated += "*e]\nsteps: [*e]\n";
        QTest::newRow("repeated big entry") << "file" << repeated
                                            << "^{kind} '{path}' could not be read: yaml-cpp: error at line "
                                               "1, column \\d+: bad conversion\\.$"
                                            << count;

        QByteArray oversized = "devices: []\nsteps: []\n";
        while (oversized.size() <= BatchUtil::MaxYamlFileSize)
            oversized += "# filler filler filler filler filler filler filler filler filler filler\n";
        const QString tooLarge =
            QStringLiteral("^{kind} '{path}' is larger than 524288 bytes and is not read\\.$");
        QTest::newRow("oversized") << "file" << oversized << tooLarge << tooLarge;

        const QString notRegular = QStringLiteral("^{kind} '{path}' is not a regular file\\.$");
        QTest::newRow("link to a valid file")
            << "link" << QByteArray("devices: []\nsteps: []\n") << notRegular << notRegular;
        QTest::newRow("pipe") << "fifo" << QByteArray() << notRegular << notRegular;
        QTest::newRow("folder") << "folder" << QByteArray() << notRegular << notRegular;
        const QString missing = QStringLiteral("^{kind} '{path}' does not exist\\.$");
        QTest::newRow("missing") << "none" << QByteArray() << missing << missing;
        QTest::newRow("dangling link") << "dangling" << QByteArray() << missing << missing;
    }

    void refusedDocuments()
    {
        QFETCH(QString, setup);
        QFETCH(QByteArray, document);
        QFETCH(QString, jobPattern);
        QFETCH(QString, devicesPattern);

        QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("file.yaml"));
        const QString real = folder.filePath(QStringLiteral("real.yaml"));
        if (setup == "file")
            QVERIFY(BatchTestFiles::writeFile(path, document));
        else if (setup == "link")
            QVERIFY(BatchTestFiles::writeFile(real, document) && QFile::link(real, path));
        else if (setup == "dangling")
            QVERIFY(QFile::link(real, path));
        else if (setup == "fifo")
            QCOMPARE(::mkfifo(QFile::encodeName(path).constData(), 0600), 0);
        else if (setup == "folder")
            QVERIFY(QDir().mkpath(path));

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

        QCOMPARE(errors.size(), 2);
        const QString escapedPath = QRegularExpression::escape(path);
        const auto expect = [&](const QString& pattern, const QString& kind) {
            return QRegularExpression(
                QString(pattern).replace("{kind}", kind).replace("{path}", escapedPath));
        };
        const QString jobMessage = errors.at(0).at(0).toString();
        const QString devicesMessage = errors.at(1).at(0).toString();
        QVERIFY2(expect(jobPattern, "Job file").match(jobMessage).hasMatch(), qPrintable(jobMessage));
        QVERIFY2(expect(devicesPattern, "Devices file").match(devicesMessage).hasMatch(),
                 qPrintable(devicesMessage));
    }
};

HARNWICK_TEST(TestYamlFileSafety)
#include "tst_yamlfilesafety.moc"
