#include "batchtestfiles.h"
#include "batchutil.h"
#include "handmadezip.h"
#include "testenvironment.h"
#include "testregistry.h"
#include "ziputil.h"

#include <QRegularExpression>
#include <QtTest>

using namespace BatchTestFiles;
using Step = QMap<QString, QVariant>;
using Device = BatchUtil::DeviceEntry;

namespace {

const QList<Step> sampleSteps{{{"task", "flash_target_device"},
                               {"enabled", "true"},
                               {"image_file", "fw.hex"},
                               {"flags", QStringList{"force"}}},
                              {{"task", "wait"}, {"enabled", "false"}, {"duration_ms", "100"}}};
const QList<Device> sampleDevices{{801002345, "KM32G101F512", BatchUtil::Usb, "", "bench-left", true},
                                  {801002346, "KM32G101F512", BatchUtil::Ip, "10.0.0.7", "", false}};
const QByteArray devicesYaml =
    "devices: [{serial_number: 1, target_device: KM32G101F512, connection_type: usb}]\n";
const QByteArray jobYaml = "steps:\n  - {task: wait, duration_ms: 5}\n";

// A stand-in for the bench: the bundles lie in "bench" (a name with spaces and non-ASCII letters), an empty
// "outside" folder is what an escaping archive would write into, and TMPDIR points at "tmp", so every
// temporary folder the program makes is visible and must be gone afterwards.
struct Sandbox
{
    QTemporaryDir root;
    const QString bench = root.filePath(QString::fromUtf8("Prüfplatz 3"));
    const decltype(scopedEnvironment("", "")) tmpdir =
        scopedEnvironment("TMPDIR", QFile::encodeName(root.filePath("tmp")));

    Sandbox()
    {
        for (const QString& folder : {bench, root.filePath("outside"), root.filePath("tmp")})
            QDir().mkpath(folder);
    }
    // Everything but the bench, which must stay the two empty folders.
    QStringList outside() const { return tree(root.path()).filter(QRegularExpression("^(?!Pr)")); }
};
const QStringList untouched{"outside/", "tmp/"};

} // namespace

class TestJobBundle : public QObject
{
    Q_OBJECT

private slots:
    void roundTrip_data()
    {
        QTest::addColumn<QString>("name");
        for (const char* name : {"job.hwj", "job[1].hwj", "-d.hwj", "line.4.hwj", "Job.ZIP"})
            QTest::newRow(name) << name;
    }

    void roundTrip()
    {
        QFETCH(QString, name);
        Sandbox sandbox;
        const QString path = sandbox.bench + "/" + name;
        BatchUtil util;
        QSignalSpy errors(&util, &BatchUtil::errorEncountered);
        QVERIFY(util.bundleWrite(path, sampleSteps, sampleDevices, true, "SWD", 4000, {"port", "nickname"}));
        QCOMPARE(archiveMembers(path), (QStringList{"devices.yaml", "job-common.yaml"}));
        const Bundle b = readBundle(util, path);
        QVERIFY(b.ok && errors.isEmpty());
        QCOMPARE(b.steps, sampleSteps);
        QCOMPARE(b.devices, sampleDevices);
        QCOMPARE((QVariantList{b.applied, b.tif, b.speed, b.parameters}),
                 (QVariantList{true, "SWD", 4000, QStringList{"port", "nickname"}}));
        QCOMPARE(tree(sandbox.bench), QStringList{name});
        QCOMPARE(sandbox.outside(), untouched);
    }

    void reading_data()
    {
        // Entries are "kind|name|more": "file|name|mode" (octal, devices or job text by name),
        // "dir|name|mode", "link|name|target", "enc|name"; "good" adds both members; "{root}" is the sandbox
        // folder. The bundle itself may be "garbage", a "fifo" or a "folder".
        QTest::addColumn<QStringList>("entries");
        QTest::addColumn<QStringList>("errors"); // patterns; "{bundle}" is the bundle's path
        const QString extractFailed = "^Could not extract job bundle file '{bundle}'\\.$";
        const QString stripped = "^Process \"unzip -o -P \"\" .+\" returned exit code 1\\.$";
        const QString links =
            "^The zip archive \"{bundle}\" contains symbolic links, which are not extracted\\.$";
        const QString exitCode = "^Process \"unzip -o -P \"\" .+\" returned exit code %1\\.$";
        QTest::newRow("member names in capitals")
            << QStringList{"file|DEVICES.YAML", "file|Job-Common.Yaml"} << QStringList();
        // unzip restores modes; a folder without write access must not outlive the read.
        QTest::newRow("locked folder and unreadable member")
            << QStringList{"file|devices.yaml", "file|job-common.yaml|0", "dir|locked/|500",
                           "file|locked/x|0"}
            << QStringList();
        QTest::newRow("job file in a subfolder")
            << QStringList{"file|devices.yaml", "file|jobs/job-common.yaml"}
            << QStringList{"^Could not find job-common.yaml file in job bundle\\.$"};
        QTest::newRow("devices file missing")
            << QStringList{"file|job-common.yaml"}
            << QStringList{"^Could not find devices.yaml file in job bundle\\.$"};
        QTest::newRow("parent folder entries")
            << QStringList{"good", "file|../../outside/escape.txt", "file|../../../escape.txt"}
            << QStringList{stripped, extractFailed};
        QTest::newRow("absolute entry")
            << QStringList{"good", "file|{root}/outside/escape.txt"} << QStringList{stripped, extractFailed};
        QTest::newRow("devices.yaml links to /etc/passwd")
            << QStringList{"link|devices.yaml|/etc/passwd", "file|job-common.yaml"}
            << QStringList{links, extractFailed};
        QTest::newRow("link to a folder outside, then a file through it")
            << QStringList{"good", "link|way|{root}/outside", "file|way/escape.txt"}
            << QStringList{exitCode.arg("\\d+"), extractFailed};
        QTest::newRow("link up, then a file through it")
            << QStringList{"good", "link|up|..", "file|up/escape.txt"}
            << QStringList{exitCode.arg("\\d+"), extractFailed};
        QTest::newRow("encrypted members") << QStringList{"enc|devices.yaml", "enc|job-common.yaml"}
                                           << QStringList{exitCode.arg(82), extractFailed};
        QTest::newRow("zip bomb") << QStringList{"file|devices.yaml", "bomb"}
                                  << QStringList{"^Process \\(\"unzip .+\"\\) timed out\\.$", extractFailed};
        QTest::newRow("not a zip archive")
            << QStringList{"garbage"} << QStringList{exitCode.arg(9), extractFailed};
        const QString notRegular = "^The zip archive \"{bundle}\" is not a regular file\\.$";
        QTest::newRow("pipe as bundle") << QStringList{"fifo"} << QStringList{notRegular, extractFailed};
        QTest::newRow("folder as bundle") << QStringList{"folder"} << QStringList{notRegular, extractFailed};
    }

    void reading()
    {
        QFETCH(QStringList, entries);
        QFETCH(QStringList, errors);
        Sandbox sandbox;
        const QString path = sandbox.bench + "/bundle.hwj";
        BatchUtil util;
        HandmadeZip archive;
        for (const QString& entry : entries) {
            const QStringList part = QString(entry).replace("{root}", sandbox.root.path()).split('|');
            const QString name = part.value(1);
            const quint32 mode = part.value(2, "644").toUInt(nullptr, 8);
            if (part[0] == "good") {
                archive.add("devices.yaml", devicesYaml);
                archive.add("job-common.yaml", jobYaml);
            } else if (part[0] == "file") {
                archive.add(name, name.toLower().endsWith("devices.yaml") ? devicesYaml : jobYaml,
                            S_IFREG | mode);
            } else if (part[0] == "dir") {
                archive.add(name, {}, S_IFDIR | mode);
            } else if (part[0] == "link") {
                archive.add(name, part[2].toUtf8(), S_IFLNK | 0777);
            } else if (part[0] == "enc") {
                archive.addEncrypted(name);
            } else if (part[0] == "bomb") {
                archive.addZeroBomb(64, 16 * 1024 * 1024); // 1 GiB of zeros
                util.zipUtil()->setProcessTimeout(300);
            } else if (part[0] == "garbage") {
                QVERIFY(writeFile(path, "PK\x03\x04 not really"));
            } else if (part[0] == "fifo") {
                QCOMPARE(::mkfifo(QFile::encodeName(path).constData(), 0600), 0);
            } else if (part[0] == "folder") {
                QVERIFY(QDir().mkpath(path));
            }
        }
        if (!QFileInfo::exists(path))
            QVERIFY(archive.write(path) && QFileInfo(path).size() < 4 * 1024 * 1024);
        const QStringList benchBefore = tree(sandbox.bench);

        const Bundle b = readBundle(util, path);
        QCOMPARE(b.ok, errors.isEmpty());
        QCOMPARE(b.errors.size(), errors.size());
        for (int i = 0; i < errors.size(); ++i) {
            const QRegularExpression expected(
                errors[i].replace("{bundle}", QRegularExpression::escape(path)));
            QVERIFY2(expected.match(b.errors[i]).hasMatch(), qPrintable(b.errors[i]));
        }
        if (b.ok)
            QCOMPARE(b.devices.size() + b.steps.size(), 2);
        QCOMPARE(tree(sandbox.bench), benchBefore);
        QCOMPARE(sandbox.outside(), untouched);
    }

    void largeBundles()
    {
        Sandbox sandbox;
        const QString path = sandbox.bench + "/bench line.hwj";
        QList<Device> many;
        for (quint32 i = 0; i < 5000; ++i)
            many.append({801002345 + i, "KM32G101F512", i % 2 ? BatchUtil::Ip : BatchUtil::Usb,
                         i % 2 ? "10.0.19.7" : "", QString::fromUtf8("Prüfplatz Süd, Halterung %1").arg(i),
                         i % 3 == 0});
        BatchUtil util;
        QVERIFY(util.bundleWrite(path, sampleSteps, many, false, "SWD", 4000, {}));
        const Bundle b = readBundle(util, path);
        QVERIFY2(b.ok, qPrintable(b.errors.join('\n')));
        QCOMPARE(b.devices, many);

        // An oversized member is refused under the name of the bundle, not of its extracted copy.
        {
            QTemporaryDir content;
            QVERIFY(writeFile(content.filePath("devices.yaml"),
                              "devices: []\n" + QByteArray(BatchUtil::MaxYamlFileSize, '#')));
            QVERIFY(writeFile(content.filePath("job-common.yaml"), jobYaml));
            QVERIFY(util.zipUtil()->zip(content.path(), path));
        }
        QCOMPARE(readBundle(util, path).errors,
                 QStringList{QString("Devices file '%1' is larger than %2 bytes and is not read.")
                                 .arg(path)
                                 .arg(BatchUtil::MaxYamlFileSize)});
        QCOMPARE(tree(sandbox.bench), QStringList{"bench line.hwj"});
        QCOMPARE(sandbox.outside(), untouched);
    }

    void failedSaves()
    {
        QTemporaryDir bin;
        QVERIFY(linkPrograms(bin.path(), {"unzip"}));
        Sandbox sandbox;
        const QString path = sandbox.bench + "/job.hwj";
        BatchUtil util;
        QSignalSpy errors(&util, &BatchUtil::errorEncountered);
        QVERIFY(util.bundleWrite(path, sampleSteps, sampleDevices, false, {}, 0, {}));
        const QByteArray before = readFile(path);

        // Without zip, and with a zip that leaves half an archive behind and fails: the old bundle stays.
        {
            const auto environment = scopedEnvironment("PATH", QFile::encodeName(bin.path()));
            QVERIFY(!util.bundleWrite(path, {}, {}, false, {}, 0, {}));
            TestEnvironment::writeScript(bin.path(), "zip",
                                         "[ \"$1\" = --help ] && exit 0\necho partial > \"$2\"\nexit 15\n");
            QVERIFY(!util.bundleWrite(path, {}, {}, false, {}, 0, {}));
        }
        QCOMPARE(errors.size(), 3);
        QCOMPARE(errors[0][0].toString(),
                 QString("The required system utility (\"zip\") is not available on your system."));
        QVERIFY(errors[1][0].toString().endsWith("/job.zip .\" returned exit code 15."));
        QCOMPARE(errors[2][0].toString(), QString("Could not create job bundle file '%1'.").arg(path));
        QCOMPARE(readFile(path), before);
        QCOMPARE(tree(sandbox.bench), QStringList{"job.hwj"});
        QVERIFY(readBundle(util, path).ok);
        QCOMPARE(sandbox.outside(), untouched);

        // No temporary folder can be made inside a plain file.
        errors.clear();
        QVERIFY(writeFile(sandbox.root.filePath("tmp/file"), "x"));
        const auto tmpdir = scopedEnvironment("TMPDIR", QFile::encodeName(sandbox.root.filePath("tmp/file")));
        QVERIFY(!util.bundleWrite(path, {}, {}, false, {}, 0, {}));
        QVERIFY(!readBundle(util, path).ok);
        QCOMPARE(readFile(path), before);
        const QString noFolder = "Could not create temporary directory for extracting job bundle contents.";
        QCOMPARE(messages(errors), (QStringList{noFolder, noFolder}));
    }
};

HARNWICK_TEST(TestJobBundle)
#include "tst_jobbundle.moc"
