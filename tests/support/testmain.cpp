#include "testregistry.h"
#include "usersandbox.h"

#include <QApplication>
#include <QDir>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <cstdlib>
#include <memory>

static void initResources()
{
    Q_INIT_RESOURCE(resources);
}

int main(int argc, char** argv)
{
    // Everything a test writes lands in this folder, which is removed at exit.
    QTemporaryDir sandbox(QDir::tempPath() + QStringLiteral("/harnwick-test-XXXXXX"));
    if (!sandbox.isValid())
        return 2;
    isolateUserFolders(sandbox.path());

    QApplication app(argc, argv);
    QApplication::setApplicationVersion(QStringLiteral("0v1p1b1957"));
    QApplication::setApplicationName(QStringLiteral("Harnwick"));
    QApplication::setOrganizationName(QStringLiteral("Kelmara"));
    QApplication::setOrganizationDomain(QStringLiteral("kelmara.example"));
    initResources();

    int failures = 0;
    for (const auto& factory : TestRegistry::factories()) {
        std::unique_ptr<QObject> test(factory());
        failures += QTest::qExec(test.get(), argc, argv);
    }
    return failures == 0 ? 0 : 1;
}
