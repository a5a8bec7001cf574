#include "testregistry.h"

#include <QColor>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QImage>
#include <QRegularExpression>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>

#include <cmath>

namespace {

const QStringList sourceFolders = {QStringLiteral("app"),     QStringLiteral("process"),
                                   QStringLiteral("batch"),   QStringLiteral("devices"),
                                   QStringLiteral("actions"), QStringLiteral("widgets")};

// The images that code being written against this bundle relies on.
const QStringList themedNames = {QStringLiteral("up"),
                                 QStringLiteral("down"),
                                 QStringLiteral("top"),
                                 QStringLiteral("bottom"),
                                 QStringLiteral("logs"),
                                 QStringLiteral("corvane"),
                                 QStringLiteral("run"),
                                 QStringLiteral("magnifying-glass"),
                                 QStringLiteral("chip"),
                                 QStringLiteral("checkbox-checked"),
                                 QStringLiteral("checkbox-unchecked"),
                                 QStringLiteral("eraser")};

const QColor green(0, 185, 112);
const QColor yellow(249, 200, 14);
const QColor red(217, 30, 42);

struct PathUse
{
    QString literal;
    QString where;
};

// Every string literal starting with ":/" in the C++ files below root/folder.
QVector<PathUse> scanResourceLiterals(const QString& root, const QStringList& folders)
{
    static const QRegularExpression literal(QStringLiteral("\"(:/[^\"\\\\\\s]*)\""));
    QVector<PathUse> uses;
    for (const QString& folder : folders) {
        QDirIterator it(root + QLatin1Char('/') + folder, {QStringLiteral("*.cpp"), QStringLiteral("*.h")},
                        QDir::Files, QDirIterator::Subdirectories);
        while (it.hasNext()) {
            const QString path = it.next();
            QFile file(path);
            if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
                continue;
            const QStringList lines = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'));
            for (int i = 0; i < lines.size(); ++i) {
                auto match = literal.globalMatch(lines.at(i));
                while (match.hasNext())
                    uses.append({match.next().captured(1), QStringLiteral("%1:%2").arg(path).arg(i + 1)});
            }
        }
    }
    return uses;
}

// Expands the theme placeholder: "name%1.png" takes "-light"/"-dark" and
// "name_%1.png" takes "light"/"dark". Any other placeholder is returned as is.
QStringList expandThemed(const QString& literal)
{
    static const QRegularExpression suffixed(QStringLiteral("[A-Za-z0-9]%1\\.[a-z]+$"));
    if (literal.contains(QLatin1String("_%1")))
        return {QString(literal).replace(QLatin1String("_%1"), QLatin1String("_light")),
                QString(literal).replace(QLatin1String("_%1"), QLatin1String("_dark"))};
    if (suffixed.match(literal).hasMatch())
        return {QString(literal).replace(QLatin1String("%1"), QLatin1String("-light")),
                QString(literal).replace(QLatin1String("%1"), QLatin1String("-dark"))};
    return {literal};
}

QStringList resourceFiles()
{
    QStringList files;
    for (const QString& prefix : {QStringLiteral(":/graphics"), QStringLiteral(":/icons")}) {
        QDirIterator it(prefix, QDir::Files, QDirIterator::Subdirectories);
        while (it.hasNext())
            files << it.next();
    }
    return files;
}

double relativeLuminance(const QColor& color)
{
    const auto channel = [](double value) {
        value /= 255.0;
        return value <= 0.03928 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * channel(color.red()) + 0.7152 * channel(color.green()) + 0.0722 * channel(color.blue());
}

double contrastRatio(const QColor& a, const QColor& b)
{
    const double la = relativeLuminance(a);
    const double lb = relativeLuminance(b);
    return (qMax(la, lb) + 0.05) / (qMin(la, lb) + 0.05);
}

struct InkStats
{
    QColor average;      // alpha-weighted colour of the drawn pixels
    double coverage = 0; // share of the canvas that is drawn
};

InkStats inkStats(const QImage& image)
{
    const QImage argb = image.convertToFormat(QImage::Format_ARGB32);
    double r = 0, g = 0, b = 0, weight = 0;
    for (int y = 0; y < argb.height(); ++y) {
        for (int x = 0; x < argb.width(); ++x) {
            const QColor c = QColor::fromRgba(argb.pixel(x, y));
            const double a = c.alphaF();
            r += c.red() * a;
            g += c.green() * a;
            b += c.blue() * a;
            weight += a;
        }
    }
    InkStats stats;
    if (weight > 0)
        stats.average = QColor(qRound(r / weight), qRound(g / weight), qRound(b / weight));
    stats.coverage = weight / (argb.width() * argb.height());
    return stats;
}

int countExactPixels(const QImage& image, const QColor& color)
{
    const QImage argb = image.convertToFormat(QImage::Format_ARGB32);
    int count = 0;
    for (int y = 0; y < argb.height(); ++y)
        for (int x = 0; x < argb.width(); ++x)
            count += argb.pixel(x, y) == color.rgba() ? 1 : 0;
    return count;
}

} // namespace

class ResourceTest : public QObject
{
    Q_OBJECT

private slots:
    void scannerFindsAndExpandsPaths();
    void pathsUsedBySourcesLoad();
    void paintedListMatchesResources();
    void contractPathsLoad_data();
    void contractPathsLoad();
    void themedVariantsReadOnTheirBackground_data();
    void themedVariantsReadOnTheirBackground();
    void colouredMarksKeepTheirColours();
    void largeImages();
};

void ResourceTest::scannerFindsAndExpandsPaths()
{
    // The source scan below passes trivially if it finds nothing, so check
    // that it does find literals in the forms the program writes them.
    QTemporaryDir root;
    QVERIFY(root.isValid());
    QVERIFY(QDir(root.path()).mkpath(QStringLiteral("devices/sub")));
    QFile source(root.filePath(QStringLiteral("devices/sub/devicemenu.cpp")));
    QVERIFY(source.open(QIODevice::WriteOnly));
    source.write(
        "menu->addAction(QIcon(QStringLiteral(\":/graphics/logs%1.png\").arg(suffix)), tr(\"Open\"));\n"
        "const char* a = \":/graphics/remove.png\"; auto b = QString(\":/graphics/refresh_%1.png\");\n"
        "QString url = \"https://kelmara.example/a:/b\"; QString ratio = \"1:/2\";\n");
    source.close();
    QFile ignored(root.filePath(QStringLiteral("devices/notes.txt")));
    QVERIFY(ignored.open(QIODevice::WriteOnly));
    ignored.write("\":/graphics/ignored.png\"\n");
    ignored.close();

    const QVector<PathUse> uses = scanResourceLiterals(root.path(), sourceFolders);
    QStringList found;
    for (const PathUse& use : uses)
        found << use.literal;
    QCOMPARE(found,
             (QStringList{QStringLiteral(":/graphics/logs%1.png"), QStringLiteral(":/graphics/remove.png"),
                          QStringLiteral(":/graphics/refresh_%1.png")}));
    QVERIFY(uses.first().where.endsWith(QLatin1String("devicemenu.cpp:1")));
    QCOMPARE(uses.last().where.right(2), QStringLiteral(":2"));

    QCOMPARE(expandThemed(found.at(0)), (QStringList{QStringLiteral(":/graphics/logs-light.png"),
                                                     QStringLiteral(":/graphics/logs-dark.png")}));
    QCOMPARE(expandThemed(found.at(1)), QStringList{found.at(1)});
    QCOMPARE(expandThemed(found.at(2)), (QStringList{QStringLiteral(":/graphics/refresh_light.png"),
                                                     QStringLiteral(":/graphics/refresh_dark.png")}));
    QCOMPARE(expandThemed(QStringLiteral(":/graphics/dot-%1.png")),
             QStringList{QStringLiteral(":/graphics/dot-%1.png")});
}

void ResourceTest::pathsUsedBySourcesLoad()
{
    const QString root = QStringLiteral(HARNWICK_SOURCE_DIR);
    QVERIFY2(QDir(root).exists(QStringLiteral("resources")), qPrintable(root));
    const QVector<PathUse> uses = scanResourceLiterals(root, sourceFolders);
    const QStringList available = resourceFiles();
    QStringList failures;
    for (const PathUse& use : uses) {
        for (const QString& path : expandThemed(use.literal)) {
            if (path.endsWith(QLatin1Char('/'))) {
                // A folder prefix that code completes itself.
                if (!QDir(path).exists())
                    failures << QStringLiteral("%1: no resource folder %2").arg(use.where, path);
            } else if (path.contains(QRegularExpression(QStringLiteral("%\\d")))) {
                // Some other placeholder: at least one image must fit it.
                QString pattern = QRegularExpression::escape(path);
                pattern.replace(QRegularExpression(QStringLiteral("%\\d")), QStringLiteral("[^/]+"));
                const QRegularExpression fits(QRegularExpression::anchoredPattern(pattern));
                bool any = false;
                for (const QString& file : available)
                    any = any || fits.match(file).hasMatch();
                if (!any)
                    failures << QStringLiteral("%1: no resource fits %2").arg(use.where, path);
            } else if (QImage(path).isNull()) {
                failures << QStringLiteral("%1: %2 does not load as an image").arg(use.where, path);
            }
        }
    }
    QVERIFY2(failures.isEmpty(), qPrintable(failures.join(QLatin1Char('\n'))));
}

void ResourceTest::paintedListMatchesResources()
{
    const QStringList painted =
        QStringLiteral(HARNWICK_PAINTED_IMAGES).split(QLatin1Char(','), Qt::SkipEmptyParts);
    QVERIFY(!painted.isEmpty());
    QSet<QString> expected;
    for (const QString& file : painted) {
        const QString path = QStringLiteral(":/") + file;
        expected.insert(path);
        const QImage image(path);
        QVERIFY2(!image.isNull(), qPrintable(path));
        QVERIFY2(image.hasAlphaChannel(), qPrintable(path));
    }
    const QStringList present = resourceFiles();
    const QSet<QString> actual(present.cbegin(), present.cend());
    QCOMPARE(actual, expected);
}

void ResourceTest::contractPathsLoad_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QSize>("smallest");
    QTest::addColumn<QSize>("largest");
    const QSize icon(32, 32);
    const QSize iconLarge(64, 64);
    for (const QString& name : themedNames)
        for (const QString& variant : {QStringLiteral("-light"), QStringLiteral("-dark")}) {
            const QString path = QStringLiteral(":/graphics/%1%2.png").arg(name, variant);
            QTest::newRow(qPrintable(path)) << path << icon << iconLarge;
        }
    for (const QString& name : {QStringLiteral("add"), QStringLiteral("remove"),
                                QStringLiteral("refresh_light"), QStringLiteral("refresh_dark")}) {
        const QString path = QStringLiteral(":/graphics/%1.png").arg(name);
        QTest::newRow(qPrintable(path)) << path << icon << iconLarge;
    }
    for (const QString& name : {QStringLiteral("green"), QStringLiteral("yellow"), QStringLiteral("red")}) {
        const QString path = QStringLiteral(":/graphics/dot-%1.png").arg(name);
        QTest::newRow(qPrintable(path)) << path << QSize(16, 16) << QSize(32, 32);
    }
    QTest::newRow("smith_chart") << QStringLiteral(":/graphics/smith_chart.png") << QSize(400, 400)
                                 << QSize(1200, 1200);
    QTest::newRow("Harnwick256") << QStringLiteral(":/icons/Harnwick256.png") << QSize(256, 256)
                                 << QSize(256, 256);
    QTest::newRow("Harnwick256-pumpkin")
        << QStringLiteral(":/icons/Harnwick256-pumpkin.png") << QSize(256, 256) << QSize(256, 256);
}

void ResourceTest::contractPathsLoad()
{
    QFETCH(QString, path);
    QFETCH(QSize, smallest);
    QFETCH(QSize, largest);
    const QImage image(path);
    QVERIFY(!image.isNull());
    QVERIFY(image.hasAlphaChannel());
    QCOMPARE(image.width(), image.height());
    QVERIFY2(image.width() >= smallest.width() && image.width() <= largest.width(),
             qPrintable(QString::number(image.width())));
    // Every image leaves its corners clear: nothing is a filled square.
    QCOMPARE(qAlpha(image.pixel(0, 0)), 0);
    QCOMPARE(qAlpha(image.pixel(image.width() - 1, image.height() - 1)), 0);
}

void ResourceTest::themedVariantsReadOnTheirBackground_data()
{
    QTest::addColumn<QString>("light");
    QTest::addColumn<QString>("dark");
    for (const QString& name : themedNames)
        QTest::newRow(qPrintable(name)) << QStringLiteral(":/graphics/%1-light.png").arg(name)
                                        << QStringLiteral(":/graphics/%1-dark.png").arg(name);
    QTest::newRow("refresh") << QStringLiteral(":/graphics/refresh_light.png")
                             << QStringLiteral(":/graphics/refresh_dark.png");
}

void ResourceTest::themedVariantsReadOnTheirBackground()
{
    QFETCH(QString, light);
    QFETCH(QString, dark);
    const QImage forLight(light);
    const QImage forDark(dark);
    QVERIFY(!forLight.isNull() && !forDark.isNull());
    QCOMPARE(forLight.size(), forDark.size());

    const InkStats onLight = inkStats(forLight);
    const InkStats onDark = inkStats(forDark);
    // Typical window colours of light and dark desktop themes.
    const QColor lightWindow(0xef, 0xef, 0xef);
    const QColor darkWindow(0x35, 0x35, 0x35);
    QVERIFY2(onLight.average.lightness() < 80, qPrintable(onLight.average.name()));
    QVERIFY2(onDark.average.lightness() > 175, qPrintable(onDark.average.name()));
    QVERIFY2(contrastRatio(onLight.average, lightWindow) >= 4.5, qPrintable(onLight.average.name()));
    QVERIFY2(contrastRatio(onDark.average, darkWindow) >= 4.5, qPrintable(onDark.average.name()));
    // A drawing, neither empty nor a filled block.
    QVERIFY2(onLight.coverage > 0.05 && onLight.coverage < 0.6,
             qPrintable(QString::number(onLight.coverage)));

    // The variants are one drawing in two inks: their shapes agree.
    const QImage a = forLight.convertToFormat(QImage::Format_ARGB32);
    const QImage b = forDark.convertToFormat(QImage::Format_ARGB32);
    int differing = 0;
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width(); ++x)
            differing += qAbs(qAlpha(a.pixel(x, y)) - qAlpha(b.pixel(x, y))) > 8 ? 1 : 0;
    QCOMPARE(differing, 0);
}

void ResourceTest::colouredMarksKeepTheirColours()
{
    const QVector<QPair<QString, QColor>> dots = {{QStringLiteral(":/graphics/dot-green.png"), green},
                                                  {QStringLiteral(":/graphics/dot-yellow.png"), yellow},
                                                  {QStringLiteral(":/graphics/dot-red.png"), red}};
    for (const auto& dot : dots) {
        const QImage image = QImage(dot.first).convertToFormat(QImage::Format_ARGB32);
        QVERIFY2(!image.isNull(), qPrintable(dot.first));
        const QPoint centre(image.width() / 2, image.height() / 2);
        QCOMPARE(QColor::fromRgba(image.pixel(centre)), dot.second);
        // Filled: the whole middle carries the colour, not just a ring.
        const int inner = image.width() / 4;
        QCOMPARE(QColor::fromRgba(image.pixel(centre + QPoint(inner, 0))), dot.second);
        QCOMPARE(QColor::fromRgba(image.pixel(centre - QPoint(0, inner))), dot.second);
    }
    // The plus and the cross are drawn in the status colours.
    QCOMPARE(inkStats(QImage(QStringLiteral(":/graphics/add.png"))).average, green);
    QCOMPARE(inkStats(QImage(QStringLiteral(":/graphics/remove.png"))).average, red);
}

void ResourceTest::largeImages()
{
    // The placeholder chart: a line drawing clipped to its disc.
    const QImage chart =
        QImage(QStringLiteral(":/graphics/smith_chart.png")).convertToFormat(QImage::Format_ARGB32);
    QVERIFY(!chart.isNull());
    const InkStats lines = inkStats(chart);
    QVERIFY2(lines.coverage > 0.02 && lines.coverage < 0.3, qPrintable(QString::number(lines.coverage)));
    const int size = chart.width();
    for (const QPoint& outside :
         {QPoint(size / 12, size / 12), QPoint(size - size / 12, size / 12),
          QPoint(size / 12, size - size / 12), QPoint(size - size / 12, size - size / 12)})
        QCOMPARE(qAlpha(chart.pixel(outside)), 0);
    // The real axis spans the disc.
    int drawnOnAxis = 0;
    for (int x = 0; x < size; ++x)
        drawnOnAxis += qAlpha(chart.pixel(x, size / 2)) > 0 ? 1 : 0;
    QVERIFY(drawnOnAxis > size * 0.9);

    // Both application icons carry the three status colours, and the seasonal
    // one is a different picture, mostly orange.
    const QImage icon(QStringLiteral(":/icons/Harnwick256.png"));
    const QImage pumpkin(QStringLiteral(":/icons/Harnwick256-pumpkin.png"));
    QVERIFY(!icon.isNull() && !pumpkin.isNull());
    QVERIFY(icon.convertToFormat(QImage::Format_ARGB32) != pumpkin.convertToFormat(QImage::Format_ARGB32));
    for (const QColor& colour : {green, yellow, red}) {
        QVERIFY2(countExactPixels(icon, colour) > 100, qPrintable(colour.name()));
        QVERIFY2(countExactPixels(pumpkin, colour) > 50, qPrintable(colour.name()));
    }
    const QColor body = inkStats(pumpkin).average;
    QVERIFY2(body.hsvHue() >= 15 && body.hsvHue() <= 45 && body.hsvSaturation() > 120,
             qPrintable(body.name()));
    QVERIFY(inkStats(icon).coverage > 0.6);
}

HARNWICK_TEST(ResourceTest)
#include "tst_resources.moc"
