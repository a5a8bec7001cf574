// Paints every image of the program into the folder given as argument and
// writes the resource collection file that lists them.
#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QTextStream>

int main(int argc, char** argv)
{
    QGuiApplication app(argc, argv);
    if (argc != 2)
        return 2;
    const QString out = QString::fromLocal8Bit(argv[1]);
    QDir().mkpath(out + QStringLiteral("/graphics"));
    QDir().mkpath(out + QStringLiteral("/icons"));
    QStringList files;
    const QStringList themed = {"up", "down", "top", "bottom", "logs", "corvane", "run", "magnifying-glass",
                                "chip", "checkbox-checked", "checkbox-unchecked", "eraser"};
    for (const QString& name : themed)
        for (const QString& variant : {QStringLiteral("-light"), QStringLiteral("-dark")})
            files << QStringLiteral("graphics/%1%2.png").arg(name, variant);
    for (const QString& name : {"add", "remove", "dot-green", "dot-yellow", "dot-red", "refresh_light",
                                "refresh_dark", "smith_chart"})
        files << QStringLiteral("graphics/%1.png").arg(name);
    files << QStringLiteral("icons/Harnwick256.png") << QStringLiteral("icons/Harnwick256-pumpkin.png");
    for (const QString& file : files) {
        QImage image(32, 32, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::gray);
        image.save(out + QLatin1Char('/') + file);
    }
    QFile qrc(out + QStringLiteral("/resources.qrc"));
    if (!qrc.open(QIODevice::WriteOnly))
        return 1;
    QTextStream stream(&qrc);
    stream << "<RCC>\n  <qresource prefix=\"/\">\n";
    for (const QString& file : files)
        stream << "    <file>" << file << "</file>\n";
    stream << "  </qresource>\n</RCC>\n";
    return 0;
}
