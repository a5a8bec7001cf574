#include "mainwindow.h"

#include <QApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QTranslator>

int main(int argc, char** argv)
{
    QApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    QApplication app(argc, argv);
    QApplication::setApplicationVersion(QStringLiteral("0v1p1b1957"));
    QApplication::setApplicationName(QStringLiteral("Harnwick"));
    QApplication::setOrganizationName(QStringLiteral("Kelmara"));
    QApplication::setOrganizationDomain(QStringLiteral("kelmara.example"));
    Q_INIT_RESOURCE(resources);

    // Texts follow the system locale: Qt's own dialogs from the system's Qt
    // catalogues, the program's from the catalogues in the resources. A
    // language without a catalogue stays English.
    QTranslator qtTranslator;
    if (qtTranslator.load(QLocale(), QStringLiteral("qtbase"), QStringLiteral("_"),
                          QLibraryInfo::location(QLibraryInfo::TranslationsPath)))
        QApplication::installTranslator(&qtTranslator);
    QTranslator translator;
    if (translator.load(QLocale(), QStringLiteral("harnwick"), QStringLiteral("_"),
                        QStringLiteral(":/translations")))
        QApplication::installTranslator(&translator);

    MainWindow window;
    window.show();
    return QApplication::exec();
}
