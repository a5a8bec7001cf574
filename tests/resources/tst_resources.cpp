#include "testregistry.h"

#include <QDirIterator>
#include <QImage>
#include <QRegularExpression>
#include <QSet>
#include <QTest>

#include <cmath>

namespace {

const QColor green(0, 185, 112);
const QColor yellow(249, 200, 14);
const QColor red(217, 30, 42);

// Every string literal starting with ":/" in a text, with its line number.
QVector<QPair<QString, int>> resourceLiterals(const QString& text)
{
    static const QRegularExpression literal("\"(:/[^\"\\\\\\s]*)\"");
    QVector<QPair<QString, int>> found;
    const QStringList lines = text.split('\n');
    for (int i = 0; i < lines.size(); ++i)
        for (auto match = literal.globalMatch(lines[i]); match.hasNext();)
            found.append({match.next().captured(1), i + 1});
    return found;
}

// Expands the theme placeholder: "name%1.png" takes "-light"/"-dark" and "name_%1.png" takes
// "light"/"dark". Any other placeholder is returned as is.
QStringList expandThemed(const QString& literal)
{
    const QString dash = literal.contains("_%1") ? "" : "-";
    if (!literal.contains("_%1") && !QRegularExpression("[A-Za-z0-9]%1\\.[a-z]+$").match(literal).hasMatch())
        return {literal};
    return {QString(literal).arg(dash + "light"), QString(literal).arg(dash + "dark")};
}

QStringList resourceFiles()
{
    QStringList files;
    for (QDirIterator it(":/", QDir::Files, QDirIterator::Subdirectories); it.hasNext();)
        files << it.next();
    return files.filter(QRegularExpression("^:/(graphics|icons)/"));
}

double contrastRatio(const QColor& a, const QColor& b)
{
    const auto luminance = [](const QColor& color) {
        const auto channel = [](double value) {
            value /= 255.0;
            return value <= 0.03928 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
        };
        return 0.2126 * channel(color.red()) + 0.7152 * channel(color.green()) +
               0.0722 * channel(color.blue());
    };
    const double la = luminance(a), lb = luminance(b);
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
    InkStats stats;
    for (int y = 0; y < argb.height(); ++y) {
        for (int x = 0; x < argb.width(); ++x) {
            const QColor c = QColor::fromRgba(argb.pixel(x, y));
            r += c.red() * c.alphaF();
            g += c.green() * c.alphaF();
            b += c.blue() * c.alphaF();
            weight += c.alphaF();
        }
    }
    if (weight > 0)
        stats.average = QColor(qRound(r / weight), qRound(g / weight), qRound(b / weight));
    stats.coverage = weight / (argb.width() * argb.height());
    return stats;
}

} // namespace

class ResourceTest : public QObject
{
    Q_OBJECT

private slots:
    void scannerFindsAndExpandsPaths()
    {
        // The source scan below passes trivially if it finds nothing, so check that it finds literals in
        // the forms the program writes them, and nothing else.
        const auto found = resourceLiterals(
            "menu->addAction(themedIcon(\":/graphics/logs%1.png\"), tr(\"Open\"));\n"
            "auto a = \":/graphics/remove.png\"; auto b = QString(\":/graphics/refresh_%1.png\");\n"
            "QString url = \"https://kelmara.example/a:/b\"; QString ratio = \"1:/2\";\n");
        QCOMPARE(found, (QVector<QPair<QString, int>>{{":/graphics/logs%1.png", 1},
                                                      {":/graphics/remove.png", 2},
                                                      {":/graphics/refresh_%1.png", 2}}));
        QCOMPARE(expandThemed(found[0].first),
                 (QStringList{":/graphics/logs-light.png", ":/graphics/logs-dark.png"}));
        QCOMPARE(expandThemed(found[1].first), QStringList{found[1].first});
        QCOMPARE(expandThemed(found[2].first),
                 (QStringList{":/graphics/refresh_light.png", ":/graphics/refresh_dark.png"}));
        QCOMPARE(expandThemed(":/graphics/dot-%1.png"), QStringList{":/graphics/dot-%1.png"});
    }

    void pathsUsedBySourcesLoad()
    {
        QStringList failures;
        int uses = 0;
        const QStringList folders = QStringLiteral(HARNWICK_SUBSYSTEMS).split(QLatin1Char(','));
        QVERIFY(folders.contains(QStringLiteral("devices")));
        for (const QString& folder : folders) {
            QDirIterator it(QString(HARNWICK_SOURCE_DIR "/") + folder, {"*.cpp", "*.h"}, QDir::Files,
                            QDirIterator::Subdirectories);
            while (it.hasNext()) {
                const QString file = it.next();
                QFile source(file);
                QVERIFY(source.open(QIODevice::ReadOnly));
                for (const auto& [literal, line] : resourceLiterals(QString::fromUtf8(source.readAll()))) {
                    ++uses;
                    const QString where = QString("%1:%2: ").arg(file).arg(line);
                    for (const QString& path : expandThemed(literal)) {
                        // A path must load as an image or be a folder the code lists itself; one with another
                        // placeholder must fit at least one image.
                        const QRegularExpression placeholder("%\\d");
                        const QString fits = QRegularExpression::escape(path).replace(placeholder, "[^/]+");
                        if (!path.contains(placeholder)
                                ? QImage(path).isNull() && !QDir(path).exists()
                                : resourceFiles().filter(QRegularExpression("^" + fits + "$")).isEmpty())
                            failures << where + path + " is no image, image pattern or resource folder";
                    }
                }
            }
        }
        QVERIFY2(uses > 20, qPrintable(QString::number(uses)));
        QVERIFY2(failures.isEmpty(), qPrintable(failures.join('\n')));
    }

    void paintedListMatchesResources()
    {
        QSet<QString> expected;
        for (const QString& file : QString(HARNWICK_PAINTED_IMAGES).split(',', Qt::SkipEmptyParts)) {
            expected.insert(":/" + file);
            // Square, with clear corners: nothing is a filled block.
            const QImage image(":/" + file);
            QVERIFY2(!image.isNull() && image.hasAlphaChannel() && image.width() == image.height(),
                     qPrintable(file));
            QCOMPARE(qAlpha(image.pixel(0, 0)), 0);
            QCOMPARE(qAlpha(image.pixel(image.width() - 1, image.height() - 1)), 0);
        }
        const QStringList present = resourceFiles();
        QVERIFY(expected.size() > 30);
        QCOMPARE(QSet<QString>(present.cbegin(), present.cend()), expected);
    }

    void themedVariantsReadOnTheirBackground_data()
    {
        QTest::addColumn<QString>("light");
        for (const QString& path : resourceFiles().filter(QRegularExpression("[-_]light\\.png$")))
            QTest::newRow(qPrintable(path)) << path;
    }

    void themedVariantsReadOnTheirBackground()
    {
        QFETCH(QString, light);
        const QImage forLight = QImage(light).convertToFormat(QImage::Format_ARGB32);
        const QImage forDark =
            QImage(QString(light).replace("light.png", "dark.png")).convertToFormat(QImage::Format_ARGB32);
        QVERIFY(!forDark.isNull());
        QCOMPARE(forLight.size(), forDark.size());
        // Typical window colours of light and dark desktop themes.
        const InkStats onLight = inkStats(forLight);
        const InkStats onDark = inkStats(forDark);
        QVERIFY2(onLight.average.lightness() < 80, qPrintable(onLight.average.name()));
        QVERIFY2(onDark.average.lightness() > 175, qPrintable(onDark.average.name()));
        QVERIFY2(contrastRatio(onLight.average, QColor(0xef, 0xef, 0xef)) >= 4.5,
                 qPrintable(onLight.average.name()));
        QVERIFY2(contrastRatio(onDark.average, QColor(0x35, 0x35, 0x35)) >= 4.5,
                 qPrintable(onDark.average.name()));
        // A drawing, neither empty nor a filled block.
        QVERIFY2(onLight.coverage > 0.05 && onLight.coverage < 0.6,
                 qPrintable(QString::number(onLight.coverage)));
        // The variants are one drawing in two inks: their shapes agree.
        int differing = 0;
        for (int y = 0; y < forLight.height(); ++y)
            for (int x = 0; x < forLight.width(); ++x)
                differing += qAbs(qAlpha(forLight.pixel(x, y)) - qAlpha(forDark.pixel(x, y))) > 8 ? 1 : 0;
        QCOMPARE(differing, 0);
    }

    void colouredImagesKeepTheirColours()
    {
        // The dots are filled: the whole middle carries the exact status colour, not just a ring.
        for (const auto& [name, colour] :
             {qMakePair(QString("green"), green), qMakePair(QString("yellow"), yellow),
              qMakePair(QString("red"), red)}) {
            const QImage image =
                QImage(":/graphics/dot-" + name + ".png").convertToFormat(QImage::Format_ARGB32);
            QVERIFY2(!image.isNull(), qPrintable(name));
            const QPoint centre(image.width() / 2, image.height() / 2);
            for (const QPoint& offset :
                 {QPoint(0, 0), QPoint(image.width() / 4, 0), QPoint(0, -image.width() / 4)})
                QCOMPARE(QColor::fromRgba(image.pixel(centre + offset)), colour);
        }
        // The plus and the cross are drawn in the status colours.
        QCOMPARE(inkStats(QImage(":/graphics/add.png")).average, green);
        QCOMPARE(inkStats(QImage(":/graphics/remove.png")).average, red);
    }
};

HARNWICK_TEST(ResourceTest)
#include "tst_resources.moc"
