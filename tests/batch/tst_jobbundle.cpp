#include "batchtestfiles.h"
#include "batchutil.h"
#include "handmadezip.h"
#include "scopedenvironment.h"
#include "testenvironment.h"
#include "testregistry.h"
#include "ziputil.h"

#include <QDir>
#include <QElapsedTimer>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>
#include <sys/stat.h>

using BatchTestFiles::readFile;
using BatchTestFiles::tree;
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
const QByteArray devicesYaml = "devices:\n  - {serial_number: 801002345, target_device: KM32G101F512, "
                               "connection_type: usb}\n";
const QByteArray jobYaml = "steps:\n  - {task: wait, duration_ms: 5}\n";

// A folder that stands in for the bench: the bundles lie in "bench" (a name with spaces and non-ASCII
// letters), an empty "outside" folder is what an escaping archive would write into, and TMPDIR points at
// "tmp", so every temporary folder the program makes is visible and must be gone afterwards.
struct Sandbox
{
    QTemporaryDir root;
    QString bench = root.filePath(QString::fromUtf8("Prüfplatz 3"));
    std::unique_ptr<ScopedEnvironment> tmpdir;

    Sandbox()
    {
        QDir().mkpath(bench);
        QDir().mkpath(root.filePath("outside"));
        QDir().mkpath(root.filePath("tmp"));
        tmpdir = std::make_unique<ScopedEnvironment>("TMPDIR", QFile::encodeName(root.filePath("tmp")));
    }
    QStringList benchFiles() const { return tree(bench); }
    // Everything outside the bench, which should still be the two empty folders.
    bool untouched() const
    {
        QStringList all = tree(root.path());
        all.erase(std::remove_if(all.begin(), all.end(), [](const QString& e) { return e.startsWith("Pr"); }),
                  all.end());
        return all == QStringList{"outside/", "tmp/"};
    }
};

struct ReadResult
{
    bool ok = false;
    QList<Step> steps;
    QList<Device> devices;
    bool applied = false;
    QString debugInterface;
    int speed = 0;
    QStringList parameters;
    QStringList errors;
};

ReadResult readBundle(BatchUtil& util, const QString& path)
{
    QSignalSpy spy(&util, &BatchUtil::errorEncountered);
    ReadResult r;
    r.ok = util.bundleRead(path, r.steps, r.devices, r.applied, r.debugInterface, r.speed, r.parameters);
    for (const QList<QVariant>& signal : spy)
        r.errors << signal.at(0).toString();
    return r;
}

} // namespace

class TestJobBundle : public QObject
{
    Q_OBJECT

private slots:
    void roundTrip_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("plain") << "job.hwj";
        QTest::newRow("brackets") << "job[1].hwj";
        QTest::newRow("leading dash") << "-d.hwj";
        QTest::newRow("several dots") << "line.4.hwj";
        QTest::newRow("zip extension") << "Job.ZIP";
    }

    void roundTrip()
    {
        QFETCH(QString, name);
        Sandbox sandbox;
        const QString path = sandbox.bench + "/" + name;
        BatchUtil util;
        QSignalSpy errors(&util, &BatchUtil::errorEncountered);
        QVERIFY(util.bundleWrite(path, sampleSteps, sampleDevices, true, "SWD", 4000, {"port", "nickname"}));
        QCOMPARE(BatchTestFiles::archiveMembers(path), (QStringList{"devices.yaml", "job-common.yaml"}));
        QCOMPARE(sandbox.benchFiles(), QStringList{name});

        const ReadResult r = readBundle(util, path);
        QVERIFY(r.ok);
        QCOMPARE(r.steps, sampleSteps);
        QCOMPARE(r.devices, sampleDevices);
        QVERIFY(r.applied);
        QCOMPARE(r.debugInterface, QStringLiteral("SWD"));
        QCOMPARE(r.speed, 4000);
        QCOMPARE(r.parameters, (QStringList{"port", "nickname"}));
        QVERIFY(errors.isEmpty());
        QCOMPARE(sandbox.benchFiles(), QStringList{name});
        QVERIFY(sandbox.untouched());
    }

    void memberLookup()
    {
        Sandbox sandbox;
        const QString path = sandbox.bench + "/made.hwj";
        BatchUtil util;

        HandmadeZip capitals;
        capitals.addFile("DEVICES.YAML", devicesYaml);
        capitals.addFile("Job-Common.Yaml", jobYaml);
        QVERIFY(capitals.write(path));
        ReadResult r = readBundle(util, path);
        QVERIFY(r.ok);
        QCOMPARE(r.devices.size(), 1);
        QCOMPARE(r.steps.size(), 1);

        // Only the top level counts; the devices are read before the job file is looked for.
        HandmadeZip nested;
        nested.addFile("devices.yaml", devicesYaml);
        nested.addFile("jobs/job-common.yaml", jobYaml);
        QVERIFY(nested.write(path));
        r = readBundle(util, path);
        QVERIFY(!r.ok);
        QCOMPARE(r.devices.size(), 1);
        QCOMPARE(r.errors, QStringList{"Could not find job-common.yaml file in job bundle."});

        HandmadeZip jobOnly;
        jobOnly.addFile("job-common.yaml", jobYaml);
        QVERIFY(jobOnly.write(path));
        r = readBundle(util, path);
        QVERIFY(!r.ok);
        QCOMPARE(r.errors, QStringList{"Could not find devices.yaml file in job bundle."});
        QVERIFY(sandbox.untouched());
    }

    void missingPrograms()
    {
        QTemporaryDir onlyUnzip;
        QVERIFY(BatchTestFiles::linkPrograms(onlyUnzip.path(), {"unzip"}));
        QTemporaryDir onlyZip;
        QVERIFY(BatchTestFiles::linkPrograms(onlyZip.path(), {"zip"}));
        Sandbox sandbox;
        const QString path = sandbox.bench + "/job.hwj";
        BatchUtil util;
        QVERIFY(util.bundleWrite(path, sampleSteps, sampleDevices, false, {}, 0, {}));
        const QByteArray before = readFile(path);
        {
            ScopedEnvironment environment("PATH", QFile::encodeName(onlyUnzip.path()));
            QSignalSpy errors(&util, &BatchUtil::errorEncountered);
            QVERIFY(!util.bundleWrite(path, {}, {}, false, {}, 0, {}));
            QCOMPARE(errors.size(), 1);
            QCOMPARE(errors.at(0).at(0).toString(),
                     QString("The required system utility (\"zip\") is not available on your system."));
        }
        {
            ScopedEnvironment environment("PATH", QFile::encodeName(onlyZip.path()));
            const ReadResult r = readBundle(util, path);
            QVERIFY(!r.ok);
            QCOMPARE(r.errors,
                     QStringList{"The required system utility (\"unzip\") is not available on your system."});
        }
        QCOMPARE(readFile(path), before);
        QCOMPARE(sandbox.benchFiles(), QStringList{"job.hwj"});
        QVERIFY(sandbox.untouched());
    }

    void hostileBundles_data()
    {
        QTest::addColumn<QStringList>("entries");
        QTest::addColumn<QString>("message");

        // Entries are "kind|name[|target or mode]"; "{root}" is the sandbox folder.
        const QString stripped = "^Process \"unzip -o -P \"\" .+\" returned exit code 1\\.$";
        QTest::newRow("parent folder entries")
            << QStringList{"good", "file|../../outside/escape.txt", "file|../../../escape.txt"} << stripped;
        QTest::newRow("absolute entry") << QStringList{"good", "file|{root}/outside/escape.txt"} << stripped;
        const QString links =
            "^The zip archive \"{bundle}\" contains symbolic links, which are not extracted\\.$";
        QTest::newRow("devices.yaml links to /etc/passwd")
            << QStringList{"link|devices.yaml|/etc/passwd", "file|job-common.yaml"} << links;
        QTest::newRow("link to a folder outside, then a file through it")
            << QStringList{"good", "link|way|{root}/outside", "file|way/escape.txt"}
            << "^Process \"unzip -o -P \"\" .+\" returned exit code \\d+\\.$";
        QTest::newRow("link up, then a file through it")
            << QStringList{"good", "link|up|..", "file|up/escape.txt"}
            << "^Process \"unzip .+\" returned exit code \\d+\\.$";
        QTest::newRow("encrypted member") << QStringList{"enc|devices.yaml", "enc|job-common.yaml"}
                                          << "^Process \"unzip .+\" returned exit code 82\\.$";
        QTest::newRow("not a zip archive")
            << QStringList{"garbage"} << "^Process \"unzip .+\" returned exit code 9\\.$";
        QTest::newRow("pipe as bundle")
            << QStringList{"fifo"} << "^The zip archive \"{bundle}\" is not a regular file\\.$";
        QTest::newRow("folder as bundle")
            << QStringList{"folder"} << "^The zip archive \"{bundle}\" is not a regular file\\.$";
    }

    void hostileBundles()
    {
        QFETCH(QStringList, entries);
        QFETCH(QString, message);
        Sandbox sandbox;
        const QString path = sandbox.bench + "/hostile.hwj";
        HandmadeZip archive;
        for (const QString& entry : entries) {
            const QStringList part = QString(entry).replace("{root}", sandbox.root.path()).split('|');
            if (part[0] == "good") {
                archive.addFile("devices.yaml", devicesYaml);
                archive.addFile("job-common.yaml", jobYaml);
            } else if (part[0] == "file") {
                archive.addFile(part[1], jobYaml);
            } else if (part[0] == "link") {
                archive.addSymLink(part[1], part[2]);
            } else if (part[0] == "enc") {
                archive.addEncryptedFile(part[1]);
            } else if (part[0] == "garbage") {
                QVERIFY(BatchTestFiles::writeFile(path, "PK\x03\x04 not really"));
            } else if (part[0] == "fifo") {
                QCOMPARE(::mkfifo(QFile::encodeName(path).constData(), 0600), 0);
            } else if (part[0] == "folder") {
                QVERIFY(QDir().mkpath(path));
            }
        }
        if (!QFileInfo::exists(path))
            QVERIFY(archive.write(path));

        const QStringList benchBefore = sandbox.benchFiles();
        BatchUtil util;
        const ReadResult r = readBundle(util, path);
        QVERIFY(!r.ok);
        QCOMPARE(r.errors.size(), 2);
        const QRegularExpression expected(
            QString(message).replace("{bundle}", QRegularExpression::escape(path)));
        QVERIFY2(expected.match(r.errors.at(0)).hasMatch(), qPrintable(r.errors.at(0)));
        QCOMPARE(r.errors.at(1), QString("Could not extract job bundle file '%1'.").arg(path));
        QCOMPARE(sandbox.benchFiles(), benchBefore);
        QVERIFY2(sandbox.untouched(), qPrintable(tree(sandbox.root.path()).join(' ')));
    }

    void lockedFoldersAreRemoved()
    {
        // unzip restores folder modes; a folder without write access must not outlive the read.
        Sandbox sandbox;
        const QString path = sandbox.bench + "/locked.hwj";
        HandmadeZip archive;
        archive.addFile("devices.yaml", devicesYaml);
        archive.addFile("job-common.yaml", jobYaml, 0);
        archive.addDirectory("locked/", 0500);
        archive.addFile("locked/inner.txt", "x", 0);
        QVERIFY(archive.write(path));
        BatchUtil util;
        QVERIFY(readBundle(util, path).ok);
        QVERIFY(sandbox.untouched());
    }

    void zipBomb()
    {
        Sandbox sandbox;
        const QString path = sandbox.bench + "/bomb.hwj";
        HandmadeZip bomb;
        bomb.addFile("devices.yaml", devicesYaml);
        bomb.addZeroBomb("zeros", 64, 16 * 1024 * 1024);
        QVERIFY(bomb.write(path));
        QVERIFY(QFileInfo(path).size() < 4 * 1024 * 1024);

        BatchUtil util;
        util.zipUtil()->setProcessTimeout(300);
        QElapsedTimer timer;
        timer.start();
        const ReadResult r = readBundle(util, path);
        qInfo("a 1 GiB bomb was stopped after %lld ms", timer.elapsed());
        QVERIFY(!r.ok);
        QCOMPARE(r.errors.size(), 2);
        QVERIFY2(
            QRegularExpression("^Process \\(\"unzip .+\"\\) timed out\\.$").match(r.errors.at(0)).hasMatch(),
            qPrintable(r.errors.at(0)));
        QVERIFY(sandbox.untouched());
    }

    void failedSaveKeepsPreviousBundle()
    {
        Sandbox sandbox;
        const QString path = sandbox.bench + "/job.hwj";
        BatchUtil util;
        QVERIFY(util.bundleWrite(path, sampleSteps, sampleDevices, false, {}, 0, {}));
        const QByteArray before = readFile(path);

        // A zip that leaves half an archive behind and fails.
        QTemporaryDir bin;
        QVERIFY(BatchTestFiles::linkPrograms(bin.path(), {"unzip"}));
        TestEnvironment::writeScript(bin.path(), "zip",
                                     "[ \"$1\" = --help ] && exit 0\necho partial > \"$2\"\nexit 15\n");
        {
            ScopedEnvironment environment("PATH", QFile::encodeName(bin.path()));
            QSignalSpy errors(&util, &BatchUtil::errorEncountered);
            QVERIFY(!util.bundleWrite(path, {}, {}, false, {}, 0, {}));
            QCOMPARE(errors.size(), 2);
            QVERIFY(errors.at(0).at(0).toString().endsWith("/job.zip .\" returned exit code 15."));
            QCOMPARE(errors.at(1).at(0).toString(),
                     QString("Could not create job bundle file '%1'.").arg(path));
        }
        QCOMPARE(readFile(path), before);
        QCOMPARE(sandbox.benchFiles(), QStringList{"job.hwj"});
        QVERIFY(readBundle(util, path).ok);
    }

    void noTemporaryFolder()
    {
        // A temporary folder cannot be made inside a plain file.
        QTemporaryDir root;
        const QString path = root.filePath("job.hwj");
        QVERIFY(BatchTestFiles::writeFile(root.filePath("file"), "x"));
        ScopedEnvironment environment("TMPDIR", QFile::encodeName(root.filePath("file")));
        BatchUtil util;
        QSignalSpy errors(&util, &BatchUtil::errorEncountered);
        QVERIFY(!util.bundleWrite(path, {}, {}, false, {}, 0, {}));
        QVERIFY(!readBundle(util, path).ok);
        QVERIFY(!QFile::exists(path));
        QCOMPARE(errors.size(), 2);
        for (const QList<QVariant>& error : errors)
            QCOMPARE(error.at(0).toString(),
                     QString("Could not create temporary directory for extracting job bundle contents."));
    }
};

HARNWICK_TEST(TestJobBundle)
#include "tst_jobbundle.moc"
