#include "batchtestfiles.h"
#include "handmadezip.h"
#include "testenvironment.h"
#include "testregistry.h"
#include "ziputil.h"

#include <QRegularExpression>
#include <QtTest>

#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>

using namespace BatchTestFiles;

class TestZipUtil : public QObject
{
    Q_OBJECT

private slots:
    void runProcessOutcomes_data()
    {
        QTest::addColumn<QString>("script");
        QTest::addColumn<QString>("error");
        QTest::newRow("success in working directory") << "test -f marker || exit 9" << QString();
        QTest::newRow("crash") << QString("kill -KILL $$") << "Process \"fake command\" crashed.";
        QTest::newRow("missing program") << QString() << "Process (\"fake command\") could not start.";
        // Questions must not wait: standard input is empty and there is no terminal to ask on, even when
        // the tests run from one.
        QTest::newRow("question on stdin") << "if read answer; then exit 4; fi" << QString();
        QTest::newRow("question on terminal") << "if (: </dev/tty) 2>/dev/null; then exit 5; fi" << QString();
    }

    void runProcessOutcomes()
    {
        QFETCH(QString, script);
        QFETCH(QString, error);
        QTemporaryDir folder;
        QVERIFY(writeFile(folder.filePath("marker"), "x"));
        const QString program = script.isEmpty()
                                    ? folder.filePath("absent")
                                    : TestEnvironment::writeScript(folder.path(), "tool", script);
        ZipUtil util;
        QSignalSpy errors(&util, &ZipUtil::errorEncountered);
        QCOMPARE(util.runProcess(program, {"-x"}, "fake command", folder.path(), 5000), error.isEmpty());
        QCOMPARE(messages(errors), error.isEmpty() ? QStringList() : QStringList{error});
    }

    void availabilityCheck_data()
    {
        // "real" links the installed program, an empty text leaves it out, anything else is a script.
        QTest::addColumn<QString>("zipTool");
        QTest::addColumn<QString>("unzipTool");
        QTest::addColumn<QString>("error");
        const QString probed = "/usr/bin/touch \"$0.probed\"";
        const QString unsure = "Could not determine the presence of the required system zip/unzip utility: ";
        const QString real = "real";
        QTest::newRow("both present") << real << real << QString();
        QTest::newRow("no zip") << QString() << probed
                                << "The required system utility (\"zip\") is not available on your system.";
        QTest::newRow("no unzip")
            << real << QString()
            << "The required system utility (\"unzip\") is not available on your system.";
        QTest::newRow("zip fails") << "exit 3" << probed << "Process \"zip\" returned exit code 3.";
        QTest::newRow("unzip crashes") << real << "kill -SEGV $$" << unsure + "Process (\"unzip\") crashed.";
        QTest::newRow("zip hangs") << "exec /bin/sleep 20" << probed
                                   << unsure + "Process (\"zip\") timed out.";
    }

    void availabilityCheck()
    {
        QFETCH(QString, zipTool);
        QFETCH(QString, unzipTool);
        QFETCH(QString, error);
        QTemporaryDir bin;
        for (const auto& [name, tool] :
             {std::pair{QString("zip"), zipTool}, std::pair{QString("unzip"), unzipTool}})
            QVERIFY(tool == "real"
                        ? linkPrograms(bin.path(), {name})
                        : tool.isEmpty() || !TestEnvironment::writeScript(bin.path(), name, tool).isEmpty());
        const auto path = scopedEnvironment("PATH", QFile::encodeName(bin.path()));
        ZipUtil util;
        util.setProcessTimeout(500);
        QSignalSpy errors(&util, &ZipUtil::errorEncountered);
        QCOMPARE(util.checkSystemZipUtilitiesAvailable(), error.isEmpty());
        QCOMPARE(messages(errors), error.isEmpty() ? QStringList() : QStringList{error});
        // The check stops at the first program that fails.
        QVERIFY(!QFile::exists(bin.filePath("unzip.probed")));
    }

    void zipping()
    {
        QTemporaryDir root;
        const QString content = root.filePath("content");
        const QString bench = root.filePath(QString::fromUtf8("Prüf platz [1]"));
        QVERIFY(QDir().mkpath(content + "/sub") && QDir().mkpath(bench));
        for (const char* name : {"-x", "a[1]", "a1", "sub/b.txt"})
            QVERIFY(writeFile(content + "/" + name, name));
        const QStringList everything{"-x", "a1", "a[1]", "sub/", "sub/b.txt"};
        ZipUtil util;

        // zip adds to an archive that exists under the name it writes; a file lying there must neither
        // end up in the new archive nor be touched, and the old bundle is replaced as a whole.
        HandmadeZip stale;
        stale.add("stale.txt", "old");
        QVERIFY(stale.write(bench + "/bundle.zip") && stale.write(bench + "/Job.ZIP"));
        QVERIFY(writeFile(bench + "/bundle.hwj", "previous bundle"));
        const QByteArray staleBytes = readFile(bench + "/bundle.zip");
        QSignalSpy infos(&util, &ZipUtil::infoMessage);
        QSignalSpy errors(&util, &ZipUtil::errorEncountered);
        QVERIFY(util.zip(content, bench + "/bundle.hwj"));
        QVERIFY(util.zip(content, bench + "/Job.ZIP"));
        for (const char* name : {"/bundle.hwj", "/Job.ZIP"}) {
            QStringList members = archiveMembers(bench + name);
            members.sort();
            QCOMPARE(members, everything);
        }
        QCOMPARE(readFile(bench + "/bundle.zip"), staleBytes);
        QCOMPARE(tree(bench), (QStringList{"Job.ZIP", "bundle.hwj", "bundle.zip"}));
        QCOMPARE(messages(infos).first(), QString("Zip archive created at \"%1/bundle.hwj\".").arg(bench));

        // Listed items are taken literally and stored relative to the working folder; relative targets are
        // resolved against the current folder and missing folders are made.
        QVERIFY(
            util.zip(root.filePath("list.hwj"), {content + "/-x", content + "/a[1]", "sub/b.txt"}, content));
        QCOMPARE(archiveMembers(root.filePath("list.hwj")), (QStringList{"-x", "a[1]", "sub/b.txt"}));
        const QString previous = QDir::currentPath();
        QVERIFY(QDir::setCurrent(root.path()));
        const bool relative = util.zip(content, "rel/deeper/out.hwj");
        QDir::setCurrent(previous);
        QVERIFY(relative);
        QCOMPARE(archiveMembers(root.filePath("rel/deeper/out.hwj")).size(), everything.size());
        QVERIFY(errors.isEmpty());
    }

    void zipFailures()
    {
        QTemporaryDir root;
        const QString content = root.filePath("content");
        QVERIFY(writeFile(root.filePath("plain"), "x") && QDir().mkpath(root.filePath("taken.hwj/inside")));
        QVERIFY(QDir().mkpath(content) && writeFile(content + "/a.txt", "a"));
        ZipUtil util;
        QSignalSpy errors(&util, &ZipUtil::errorEncountered);
        QVERIFY(!util.zip(content, root.filePath("plain/x.hwj")));
        QVERIFY(!util.zip(content, root.filePath("taken.hwj")));
        QVERIFY(!util.zip(root.filePath("missing"), root.filePath("out.hwj")));
        QVERIFY(!util.zip(content, "/proc/job.hwj"));
        QVERIFY(!util.zip(root.filePath("out.hwj"), QStringList(), root.path()));
        const QStringList texts = messages(errors);
        QCOMPARE(texts.size(), 5);
        QCOMPARE(texts[0],
                 QString("Could not create the target zip file path \"%1\".").arg(root.filePath("plain")));
        QVERIFY(texts[1].startsWith(
            QString("Could not rename temporary zip file \"%1/.harnwick-zip-").arg(root.path())));
        QVERIFY(texts[1].endsWith(
            QString("/taken.zip\" to target file \"%1\".").arg(root.filePath("taken.hwj"))));
        QVERIFY(texts[2].startsWith("Process (\"zip -r ") &&
                texts[2].endsWith("/out.zip .\") could not start."));
        QCOMPARE(texts[3],
                 QString("Could not create a temporary folder in \"/proc\" for writing the zip archive."));
        QCOMPARE(texts[4], QString("No items to zip were provided."));
        QCOMPARE(tree(root.path()),
                 (QStringList{"content/", "content/a.txt", "plain", "taken.hwj/", "taken.hwj/inside/"}));
    }

    void staleStagingFolders()
    {
        // A save killed half-way leaves its staging folder; the next save into the folder removes it once
        // it is an hour old. Nothing else goes: not a fresh one (a save under way), not a file or a link
        // of that name, not what a link points to.
        QTemporaryDir root;
        const QString bench = root.filePath("bench"), content = root.filePath("content");
        QVERIFY(QDir().mkpath(content) && writeFile(content + "/a.txt", "a"));
        for (const char* folder :
             {"/bench/.harnwick-zip-old", "/bench/.harnwick-zip-new", "/bench/kept-old", "/elsewhere-old"})
            QVERIFY(QDir().mkpath(root.path() + folder) && writeFile(root.path() + folder + "/job.zip", "x"));
        QVERIFY(writeFile(bench + "/.harnwick-zip-file-old", "x"));
        QVERIFY(QFile::link(root.filePath("elsewhere-old"), bench + "/.harnwick-zip-link-old"));
        const timespec twoHoursAgo{std::time(nullptr) - 2 * 60 * 60, 0},
            times[2] = {twoHoursAgo, twoHoursAgo};
        for (const QString& old : tree(root.path()).filter(QRegularExpression("-old/?$")))
            QCOMPARE(::utimensat(AT_FDCWD, QFile::encodeName(root.filePath(old)), times, AT_SYMLINK_NOFOLLOW),
                     0);

        ZipUtil util;
        QVERIFY(util.zip(content, bench + "/job.hwj"));
        QCOMPARE(tree(root.path()),
                 (QStringList{"bench/", "bench/.harnwick-zip-file-old", "bench/.harnwick-zip-link-old",
                              "bench/.harnwick-zip-new/", "bench/.harnwick-zip-new/job.zip", "bench/job.hwj",
                              "bench/kept-old/", "bench/kept-old/job.zip", "content/", "content/a.txt",
                              "elsewhere-old/", "elsewhere-old/job.zip"}));
    }

    void unzipping()
    {
        QTemporaryDir root;
        const QString bench = root.filePath(QString::fromUtf8("Prüf platz"));
        QVERIFY(QDir().mkpath(bench));
        HandmadeZip archive;
        archive.add("top.txt", "top");
        archive.add("sub/inner.txt", "inner");
        QVERIFY(archive.write(bench + "/bundle.hwj"));
        ZipUtil util;
        QSignalSpy errors(&util, &ZipUtil::errorEncountered);
        QStringList files{"stale"};
        QVERIFY(util.unzip(bench + "/bundle.hwj", "out", files));
        QCOMPARE(files, QStringList{bench + "/out/top.txt"});
        QCOMPARE(tree(bench),
                 (QStringList{"bundle.hwj", "out/", "out/sub/", "out/sub/inner.txt", "out/top.txt"}));

        // Archive names are not patterns: "job[1].zip" must not open "job1.zip".
        HandmadeZip decoy;
        decoy.add("which.txt", "decoy");
        QVERIFY(decoy.write(bench + "/job1.zip") && decoy.write(bench + "/axbx.zip") &&
                decoy.write(bench + "/backslash.zip"));
        for (const QString name : {"job[1].zip", "-d.zip", "a*b?.zip", "back\\sl[a]sh.zip"}) {
            HandmadeZip wanted;
            wanted.add("which.txt", name.toUtf8());
            QVERIFY(wanted.write(bench + "/" + name));
            QTemporaryDir target;
            QVERIFY2(util.unzip(bench + "/" + name, target.path(), files), qPrintable(name));
            QCOMPARE(readFile(target.filePath("which.txt")), name.toUtf8());
        }

        QVERIFY(!util.unzip(bench + "/bundle.hwj", QString(), files));
        QVERIFY(!util.unzip(bench + "/gone.hwj", root.path(), files));
        QVERIFY(!util.unzip(bench + "/bundle.hwj", bench + "/bundle.hwj/x", files));
        QCOMPARE(
            messages(errors),
            (QStringList{"No target directory was provided for extracting the zip archive to.",
                         QString("Could not create a temporary copy of the zip archive \"%1/gone.hwj\" for "
                                 "extraction.")
                             .arg(bench),
                         QString("Could not create the directory \"%1/bundle.hwj/x\" for extracting the zip "
                                 "archive to.")
                             .arg(bench)}));
    }
};

HARNWICK_TEST(TestZipUtil)
#include "tst_ziputil.moc"
