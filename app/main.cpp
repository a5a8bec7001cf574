#include "mainwindow.h"

#include <QApplication>

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

    MainWindow window;
    window.show();
    return QApplication::exec();
}
