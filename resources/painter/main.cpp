// Paints the program's images. Usage: harnwick_iconpainter OUTDIR FILE...
// where each FILE is a path relative to OUTDIR ("graphics/up-light.png"). The
// build names the files it expects; painting fails when that list and the
// painter's own catalogue disagree, so neither can drift from the other.
// Writes OUTDIR/resources.qrc listing the painted files.
#include "painters.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMap>
#include <QTextStream>

#include <functional>

namespace {

using Painter = std::function<QImage()>;

QMap<QString, Painter> catalogue()
{
    QMap<QString, Painter> images;
    const auto themed = [&images](const QString& name, QImage (*paint)(Canvas::Theme)) {
        images.insert(QStringLiteral("graphics/%1-light.png").arg(name),
                      [paint] { return paint(Canvas::Theme::Light); });
        images.insert(QStringLiteral("graphics/%1-dark.png").arg(name),
                      [paint] { return paint(Canvas::Theme::Dark); });
    };
    themed(QStringLiteral("up"), paintUp);
    themed(QStringLiteral("down"), paintDown);
    themed(QStringLiteral("top"), paintTop);
    themed(QStringLiteral("bottom"), paintBottom);
    themed(QStringLiteral("logs"), paintLogs);
    themed(QStringLiteral("corvane"), paintCorvane);
    themed(QStringLiteral("run"), paintRun);
    themed(QStringLiteral("magnifying-glass"), paintMagnifyingGlass);
    themed(QStringLiteral("chip"), paintChip);
    themed(QStringLiteral("checkbox-checked"), paintCheckboxChecked);
    themed(QStringLiteral("checkbox-unchecked"), paintCheckboxUnchecked);
    themed(QStringLiteral("eraser"), paintEraser);

    images.insert(QStringLiteral("graphics/add.png"), paintAdd);
    images.insert(QStringLiteral("graphics/remove.png"), paintRemove);
    images.insert(QStringLiteral("graphics/dot-green.png"), [] { return paintDot(Canvas::green()); });
    images.insert(QStringLiteral("graphics/dot-yellow.png"), [] { return paintDot(Canvas::yellow()); });
    images.insert(QStringLiteral("graphics/dot-red.png"), [] { return paintDot(Canvas::red()); });
    // The refresh button picks "refresh_dark" for dark backgrounds, so that one
    // is drawn light, like the themed "-dark" icons.
    images.insert(QStringLiteral("graphics/refresh_light.png"),
                  [] { return paintRefresh(Canvas::Theme::Light); });
    images.insert(QStringLiteral("graphics/refresh_dark.png"),
                  [] { return paintRefresh(Canvas::Theme::Dark); });
    images.insert(QStringLiteral("graphics/smith_chart.png"), paintSmithChart);

    images.insert(QStringLiteral("icons/Harnwick256.png"), paintAppIcon);
    images.insert(QStringLiteral("icons/Harnwick256-pumpkin.png"), paintAppIconPumpkin);
    return images;
}

bool writeCollection(const QString& path, const QStringList& files)
{
    QFile qrc(path);
    if (!qrc.open(QIODevice::WriteOnly))
        return false;
    QTextStream stream(&qrc);
    stream << "<RCC>\n  <qresource prefix=\"/\">\n";
    for (const QString& file : files)
        stream << "    <file>" << file << "</file>\n";
    stream << "  </qresource>\n</RCC>\n";
    return stream.status() == QTextStream::Ok;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QTextStream err(stderr);
    const QStringList args = QCoreApplication::arguments().mid(1);
    if (args.size() < 2) {
        err << "usage: harnwick_iconpainter OUTDIR FILE...\n";
        return 2;
    }
    const QDir out(args.first());
    const QStringList files = args.mid(1);
    const QMap<QString, Painter> images = catalogue();

    bool agreed = true;
    for (const QString& file : files) {
        if (!images.contains(file)) {
            err << "no painting for requested image " << file << "\n";
            agreed = false;
        }
    }
    for (auto it = images.cbegin(); it != images.cend(); ++it) {
        if (!files.contains(it.key())) {
            err << "painted image " << it.key() << " is missing from the build's list\n";
            agreed = false;
        }
    }
    if (!agreed)
        return 1;

    for (const QString& file : files) {
        const QString path = out.filePath(file);
        QDir().mkpath(QFileInfo(path).path());
        if (!images.value(file)().save(path, "PNG")) {
            err << "cannot write " << path << "\n";
            return 1;
        }
    }
    if (!writeCollection(out.filePath(QStringLiteral("resources.qrc")), files)) {
        err << "cannot write the resource collection\n";
        return 1;
    }
    return 0;
}
