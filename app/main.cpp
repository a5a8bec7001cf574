#include "commandlinerun.h"
#include "historycommand.h"
#include "interruptwatcher.h"
#include "mainwindow.h"
#include "stationcommandline.h"
#include "poolcommandline.h"

#include <QApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QTextStream>
#include <QTranslator>

#include <cstdio>
#include <unistd.h>

// Outside any namespace: the macro declares the resource bundle's initialiser.
static void loadResourceBundle()
{
    Q_INIT_RESOURCE(resources);
}

namespace {

void setIdentity()
{
    QCoreApplication::setApplicationVersion(QStringLiteral("0v1p1b1957"));
    QCoreApplication::setApplicationName(QStringLiteral("Harnwick"));
    QCoreApplication::setOrganizationName(QStringLiteral("Kelmara"));
    QCoreApplication::setOrganizationDomain(QStringLiteral("kelmara.example"));
}

// Texts follow the system locale: Qt's own from the system's Qt catalogues, the
// program's from the catalogues in the resources. A language without a
// catalogue stays English.
void installTranslators(QTranslator& qtTranslator, QTranslator& translator)
{
    if (qtTranslator.load(QLocale(), QStringLiteral("qtbase"), QStringLiteral("_"),
                          QLibraryInfo::location(QLibraryInfo::TranslationsPath)))
        QCoreApplication::installTranslator(&qtTranslator);
    if (translator.load(QLocale(), QStringLiteral("harnwick"), QStringLiteral("_"),
                        QStringLiteral(":/translations")))
        QCoreApplication::installTranslator(&translator);
}

// "--run", "--history", "--help" and "--version" work without a display: no QApplication is made.
int runFromCommandLine(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    setIdentity();
    loadResourceBundle();
    QTranslator qtTranslator;
    QTranslator translator;
    installTranslators(qtTranslator, translator);

    QTextStream out(stdout);
    QTextStream err(stderr);
    if (HistoryCommand::isHistoryCommand(QCoreApplication::arguments()))
        return HistoryCommand(out, err).exec(QCoreApplication::arguments());
    if (PoolCommandLine::handles(QCoreApplication::arguments()))
        return PoolCommandLine(out, err).exec(QCoreApplication::arguments());
    CommandLineRun run(out, err, ::isatty(STDOUT_FILENO) == 1);
    InterruptWatcher interrupts;
    QObject::connect(&interrupts, &InterruptWatcher::interrupted, &run, &CommandLineRun::interrupt);
    return run.exec(QCoreApplication::arguments());
}

// "--station": the hands-free station without a display.
int runStationFromCommandLine(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    setIdentity();
    loadResourceBundle();
    QTranslator qtTranslator;
    QTranslator translator;
    installTranslators(qtTranslator, translator);
    QTextStream out(stdout);
    QTextStream err(stderr);
    StationCommandLine station(out, err);
    InterruptWatcher interrupts;
    QObject::connect(&interrupts, &InterruptWatcher::interrupted, &station, &StationCommandLine::interrupt);
    return station.exec(QCoreApplication::arguments());
}

} // namespace

int main(int argc, char** argv)
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    if (StationCommandLine::isStation(arguments))
        return runStationFromCommandLine(argc, argv);
    if (CommandLineRun::isCommandLine(arguments) || HistoryCommand::isHistoryCommand(arguments) ||
        PoolCommandLine::handles(arguments))
        return runFromCommandLine(argc, argv);
    // Without a display the window would die in Qt's platform plugin with an abort.
    const QString noDisplay = CommandLineRun::noDisplayMessage(arguments);
    if (!noDisplay.isEmpty()) {
        QTextStream(stderr) << noDisplay << Qt::endl;
        return CommandLineRun::CannotRun;
    }

    QApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    QApplication app(argc, argv);
    setIdentity();
    loadResourceBundle();
    QTranslator qtTranslator;
    QTranslator translator;
    installTranslators(qtTranslator, translator);

    MainWindow window;
    // Ctrl+C in the terminal closes the window as its close button does; a job
    // still running then finishes first, and another Ctrl+C ends it.
    InterruptWatcher interrupts;
    QObject::connect(&interrupts, &InterruptWatcher::interrupted, &window, &MainWindow::requestClose);
    QObject::connect(&window, &MainWindow::backgroundWorkFinished, &app, &QCoreApplication::quit);
    window.show();
    return QApplication::exec();
}
