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
#include <QTextStream>

namespace {

Canvas::Catalogue catalogue()
{
    Canvas::Catalogue images;
    addArrowIcons(images);
    addToolIcons(images);
    addMarkIcons(images);
    addSmithChart(images);
    addAppIcons(images);
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
    const Canvas::Catalogue images = catalogue();

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
