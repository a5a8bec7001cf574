#include "batchtestfiles.h"
#include "handmadezip.h"
#include "scopedenvironment.h"
#include "testenvironment.h"
#include "testregistry.h"
#include "ziputil.h"

#include <QDir>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

using BatchTestFiles::archiveMembers;
using BatchTestFiles::readFile;
using BatchTestFiles::tree;
using BatchTestFiles::writeFile;

class TestZipUtil : public QObject
{
    Q_OBJECT

    static QString lastError(const QSignalSpy& spy)
    {
        return spy.isEmpty() ? QString() : spy.last().at(0).toString();
    }

private slots:
    void renaming_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("zipPath");
        QTest::addColumn<QString>("oldSuffix");
        QTest::addColumn<QString>("restored");

        QTest::newRow("bundle") << "/bench/bundle.hwj"
                                << "/bench/bundle.zip"
                                << "hwj"
                                << "/bench/bundle.hwj";
        QTest::newRow("several dots") << "/bench/my.job.hwj"
                                      << "/bench/my.zip"
                                      << "hwj"
                                      << "/bench/my.hwj";
        QTest::newRow("capitals") << "/bench/Job.ZIP"
                                  << "/bench/Job.zip"
                                  << "ZIP"
                                  << "/bench/Job.ZIP";
        QTest::newRow("no extension") << "/bench/job"
                                      << "/bench/job.zip"
                                      << ""
                                      << "/bench/job.";
        QTest::newRow("relative") << "rel/x.hwj" << QDir::current().absoluteFilePath("rel/x.zip") << "hwj"
                                  << QDir::current().absoluteFilePath("rel/x.hwj");
    }

    void renaming()
    {
        QFETCH(QString, path);
        QFETCH(QString, zipPath);
        QFETCH(QString, oldSuffix);
        QFETCH(QString, restored);
        ZipUtil util;
        QString suffix = "stale";
        QCOMPARE(util.renameToZip(path, suffix), zipPath);
        QCOMPARE(suffix, oldSuffix);
        QCOMPARE(util.restoreOriginalExtension(zipPath, suffix), restored);
    }

    void runProcessOutcomes_data()
    {
        QTest::addColumn<QString>("script");
        QTest::addColumn<int>("timeout");
        QTest::addColumn<QString>("error");

        QTest::newRow("success in working directory") << "test -f marker || exit 9" << 5000 << QString();
        QTest::newRow("exit code") << "exit 3" << 5000 << "Process \"fake command\" returned exit code 3.";
        QTest::newRow("crash") << "kill -KILL $$" << 5000 << "Process \"fake command\" crashed.";
        QTest::newRow("time-out") << "exec /bin/sleep 20" << 300 << "Process (\"fake command\") timed out.";
        QTest::newRow("missing program")
            << QString() << 5000 << "Process (\"fake command\") could not start.";
        // Questions must not wait: standard input is empty and there is no terminal to ask on.
        QTest::newRow("question on stdin") << "if read answer; then exit 4; fi" << 5000 << QString();
        QTest::newRow("question on terminal")
            << "if (: </dev/tty) 2>/dev/null; then exit 5; fi" << 5000 << QString();
    }

    void runProcessOutcomes()
    {
        QFETCH(QString, script);
        QFETCH(int, timeout);
        QFETCH(QString, error);
        QTemporaryDir folder;
        QVERIFY(writeFile(folder.filePath("marker"), "x"));
        const QString program = script.isEmpty()
                                    ? folder.filePath("absent")
                                    : TestEnvironment::writeScript(folder.path(), "tool", script);
        ZipUtil util;
        QSignalSpy errors(&util, &ZipUtil::errorEncountered);
        QCOMPARE(util.runProcess(program, {"-x"}, "fake command", folder.path(), timeout), error.isEmpty());
        QCOMPARE(errors.size(), error.isEmpty() ? 0 : 1);
        QCOMPARE(lastError(errors), error);
    }

    void availabilityCheck_data()
    {
        QTest::addColumn<QString>("zipTool");
        QTest::addColumn<QString>("unzipTool");
        QTest::addColumn<QString>("error");

        // "real" links the installed program, an empty text leaves it out, anything else is a script.
        const QString probed = "/usr/bin/touch \"$0.probed\"";
        QTest::newRow("both present") << "real"
                                      << "real" << QString();
        QTest::newRow("no zip") << "" << probed
                                << "The required system utility (\"zip\") is not available on your system.";
        QTest::newRow("no unzip")
            << "real"
            << ""
            << "The required system utility (\"unzip\") is not available on your system.";
        QTest::newRow("zip fails") << "exit 3" << probed << "Process \"zip\" returned exit code 3.";
        QTest::newRow("unzip crashes") << "real"
                                       << "kill -SEGV $$"
                                       << "Could not determine the presence of the required system zip/unzip "
                                          "utility: Process (\"unzip\") crashed.";
        QTest::newRow("zip hangs") << "exec /bin/sleep 20" << probed
                                   << "Could not determine the presence of the required system zip/unzip "
                                      "utility: Process (\"zip\") timed out.";
    }

    void availabilityCheck()
    {
        QFETCH(QString, zipTool);
        QFETCH(QString, unzipTool);
        QFETCH(QString, error);
        QTemporaryDir bin;
        for (const auto& tool :
             {qMakePair(QStringLiteral("zip"), zipTool), qMakePair(QStringLiteral("unzip"), unzipTool)}) {
            if (tool.second == "real")
                QVERIFY(BatchTestFiles::linkPrograms(bin.path(), {tool.first}));
            else if (!tool.second.isEmpty())
                QVERIFY(!TestEnvironment::writeScript(bin.path(), tool.first, tool.second).isEmpty());
        }
        ScopedEnvironment path("PATH", QFile::encodeName(bin.path()));
        ZipUtil util;
        util.setProcessTimeout(500);
        QSignalSpy errors(&util, &ZipUtil::errorEncountered);
        QCOMPARE(util.checkSystemZipUtilitiesAvailable(), error.isEmpty());
        QCOMPARE(errors.size(), error.isEmpty() ? 0 : 1);
        QCOMPARE(lastError(errors), error);
        // The check stops at the first program that fails.
        QVERIFY(!QFile::exists(bin.filePath("unzip.probed")));
    }

    void zipDirectory()
    {
        QTemporaryDir root;
        const QString content = root.filePath("content");
        QVERIFY(QDir().mkpath(content + "/sub"));
        QVERIFY(writeFile(content + "/a.txt", "a") && writeFile(content + "/sub/b.txt", "b"));
        const QString bench = root.filePath(QString::fromUtf8("Prüf platz [1]"));
        QVERIFY(QDir().mkpath(bench));

        // zip adds to an archive that exists under the name it writes; a file lying there must neither
        // end up in the new archive nor be touched.
        HandmadeZip stale;
        stale.addFile("stale.txt", "old");
        QVERIFY(stale.write(bench + "/bundle.zip"));
        const QByteArray staleBytes = readFile(bench + "/bundle.zip");
        QVERIFY(writeFile(bench + "/bundle.hwj", "previous bundle"));

        ZipUtil util;
        QSignalSpy infos(&util, &ZipUtil::infoMessage);
        QSignalSpy errors(&util, &ZipUtil::errorEncountered);
        QVERIFY(util.zip(content, bench + "/bundle.hwj"));
        QStringList members = archiveMembers(bench + "/bundle.hwj");
        members.sort();
        QCOMPARE(members, (QStringList{"a.txt", "sub/", "sub/b.txt"}));
        QCOMPARE(readFile(bench + "/bundle.zip"), staleBytes);
        QCOMPARE(tree(bench), (QStringList{"bundle.hwj", "bundle.zip"}));
        QCOMPARE(infos.last().at(0).toString(),
                 QString("Zip archive created at \"%1/bundle.hwj\".").arg(bench));

        // A zip-named target keeps its name and letter case, and an old archive there is replaced.
        QVERIFY(stale.write(bench + "/Job.ZIP"));
        QVERIFY(util.zip(content, bench + "/Job.ZIP"));
        members = archiveMembers(bench + "/Job.ZIP");
        members.sort();
        QCOMPARE(members, (QStringList{"a.txt", "sub/", "sub/b.txt"}));
        QCOMPARE(tree(bench), (QStringList{"Job.ZIP", "bundle.hwj", "bundle.zip"}));

        // Relative targets are resolved against the current folder; missing folders are created.
        const QString previous = QDir::currentPath();
        QVERIFY(QDir::setCurrent(root.path()));
        const bool relative = util.zip(content, "rel/deeper/out.hwj");
        QDir::setCurrent(previous);
        QVERIFY(relative);
        QCOMPARE(archiveMembers(root.filePath("rel/deeper/out.hwj")).size(), 3);
        QVERIFY(errors.isEmpty());
    }

    void zipFailures()
    {
        QTemporaryDir root;
        QVERIFY(writeFile(root.filePath("plain"), "x"));
        QVERIFY(QDir().mkpath(root.filePath("taken.hwj/inside")));
        QVERIFY(QDir().mkpath(root.filePath("content")));
        QVERIFY(writeFile(root.filePath("content/a.txt"), "a"));
        ZipUtil util;
        QSignalSpy errors(&util, &ZipUtil::errorEncountered);

        QVERIFY(!util.zip(root.filePath("content"), root.filePath("plain/x.hwj")));
        QCOMPARE(lastError(errors),
                 QString("Could not create the target zip file path \"%1\".").arg(root.filePath("plain")));

        QVERIFY(!util.zip(root.filePath("content"), root.filePath("taken.hwj")));
        QVERIFY(lastError(errors).startsWith(
            QString("Could not rename temporary zip file \"%1/.harnwick-zip-").arg(root.path())));
        QVERIFY(lastError(errors).endsWith(
            QString("/taken.zip\" to target file \"%1\".").arg(root.filePath("taken.hwj"))));

        QVERIFY(!util.zip(root.filePath("missing"), root.filePath("out.hwj")));
        QVERIFY(lastError(errors).startsWith("Process (\"zip -r "));
        QVERIFY(lastError(errors).endsWith("/out.zip .\") could not start."));

        QVERIFY(!util.zip(root.filePath("content"), "/proc/job.hwj"));
        QCOMPARE(lastError(errors),
                 QString("Could not create a temporary folder in \"/proc\" for writing the zip archive."));

        QVERIFY(!util.zip(root.filePath("out.hwj"), QStringList(), root.path()));
        QCOMPARE(lastError(errors), QString("No items to zip were provided."));
        QCOMPARE(errors.size(), 5);
        QCOMPARE(tree(root.path()),
                 (QStringList{"content/", "content/a.txt", "plain", "taken.hwj/", "taken.hwj/inside/"}));
    }

    void zipList()
    {
        QTemporaryDir root;
        for (const char* name : {"-x", "a[1]", "a1", "plain.txt"})
            QVERIFY(writeFile(root.filePath(name), name));
        ZipUtil util;
        QVERIFY(util.zip(root.filePath("list.hwj"), {root.filePath("-x"), root.filePath("a[1]"), "plain.txt"},
                         root.path()));
        QCOMPARE(archiveMembers(root.filePath("list.hwj")), (QStringList{"-x", "a[1]", "plain.txt"}));
    }

    void unzipping()
    {
        QTemporaryDir root;
        const QString bench = root.filePath(QString::fromUtf8("Prüf platz"));
        QVERIFY(QDir().mkpath(bench));
        HandmadeZip archive;
        archive.addFile("top.txt", "top");
        archive.addFile("sub/inner.txt", "inner");
        QVERIFY(archive.write(bench + "/bundle.hwj"));

        ZipUtil util;
        QSignalSpy errors(&util, &ZipUtil::errorEncountered);
        QStringList files{"stale"};
        QVERIFY(util.unzip(bench + "/bundle.hwj", "out", files));
        QCOMPARE(files, QStringList{bench + "/out/top.txt"});
        QCOMPARE(readFile(bench + "/out/sub/inner.txt"), QByteArray("inner"));
        QCOMPARE(tree(bench),
                 (QStringList{"bundle.hwj", "out/", "out/sub/", "out/sub/inner.txt", "out/top.txt"}));

        // Archive names are not patterns: "job[1].zip" must not open "job1.zip".
        for (const QString& name :
             {QString("job[1].zip"), QString("-d.zip"), QString("a*b?.zip"), QString("back\\sl[a]sh.zip")}) {
            HandmadeZip decoy;
            decoy.addFile("which.txt", "decoy");
            QVERIFY(decoy.write(bench + "/job1.zip") && decoy.write(bench + "/axbx.zip") &&
                    decoy.write(bench + "/backslash.zip"));
            HandmadeZip wanted;
            wanted.addFile("which.txt", name.toUtf8());
            QVERIFY(wanted.write(bench + "/" + name));
            QTemporaryDir target;
            QVERIFY2(util.unzip(bench + "/" + name, target.path(), files), qPrintable(name));
            QCOMPARE(readFile(target.filePath("which.txt")), name.toUtf8());
        }

        QVERIFY(!util.unzip(bench + "/bundle.hwj", QString(), files));
        QCOMPARE(lastError(errors),
                 QString("No target directory was provided for extracting the zip archive to."));
        QVERIFY(!util.unzip(bench + "/gone.hwj", root.path(), files));
        QCOMPARE(
            lastError(errors),
            QString("Could not create a temporary copy of the zip archive \"%1/gone.hwj\" for extraction.")
                .arg(bench));
        QVERIFY(!util.unzip(bench + "/gone.zip", root.path(), files));
        QVERIFY(lastError(errors).startsWith("Process \"unzip -o -P \"\" "));
        QVERIFY(lastError(errors).endsWith("\" returned exit code 9."));
        QVERIFY(!util.unzip(bench + "/bundle.hwj", bench + "/bundle.hwj/x", files));
        QCOMPARE(
            lastError(errors),
            QString("Could not create the directory \"%1/bundle.hwj/x\" for extracting the zip archive to.")
                .arg(bench));
        QVERIFY(!util.unzip(bench + "/out", root.path(), files));
        QCOMPARE(lastError(errors), QString("The zip archive \"%1/out\" is not a regular file.").arg(bench));
        QCOMPARE(errors.size(), 5);
    }
};

HARNWICK_TEST(TestZipUtil)
#include "tst_ziputil.moc"
