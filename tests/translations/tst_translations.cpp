#include "testregistry.h"

#include <QCoreApplication>
#include <QFile>
#include <QLocale>
#include <QRegularExpression>
#include <QTest>
#include <QTranslator>
#include <QXmlStreamReader>

namespace {

struct CatalogueEntry
{
    QString context;
    QString source;
    QStringList translations; // one per plural form, else one
    QString type;             // "unfinished", "vanished", "obsolete" or empty
};

QString cataloguePath(const QString& language)
{
    return QStringLiteral(HARNWICK_TRANSLATIONS_DIR "/harnwick_%1.ts").arg(language);
}

QStringList languages()
{
    return QStringLiteral(HARNWICK_LANGUAGES).split(QLatin1Char(';'), Qt::SkipEmptyParts);
}

bool readCatalogue(const QString& path, QString& language, QList<CatalogueEntry>& entries, QString& error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        error = file.errorString();
        return false;
    }
    QXmlStreamReader xml(&file);
    QString context;
    CatalogueEntry entry;
    while (!xml.atEnd()) {
        xml.readNext();
        if (xml.isStartElement()) {
            const auto name = xml.name();
            if (name == QLatin1String("TS")) {
                language = xml.attributes().value(QLatin1String("language")).toString();
            } else if (name == QLatin1String("name")) {
                context = xml.readElementText();
            } else if (name == QLatin1String("message")) {
                entry = CatalogueEntry();
                entry.context = context;
            } else if (name == QLatin1String("source")) {
                entry.source = xml.readElementText();
            } else if (name == QLatin1String("translation")) {
                entry.type = xml.attributes().value(QLatin1String("type")).toString();
                // A plural message holds its forms in child elements.
                QString text;
                while (!xml.atEnd()) {
                    xml.readNext();
                    if (xml.isCharacters())
                        text += xml.text();
                    else if (xml.isStartElement() && xml.name() == QLatin1String("numerusform"))
                        entry.translations << xml.readElementText();
                    else if (xml.isEndElement() && xml.name() == QLatin1String("translation"))
                        break;
                }
                if (entry.translations.isEmpty())
                    entry.translations << text;
            }
        } else if (xml.isEndElement() && xml.name() == QLatin1String("message")) {
            entries << entry;
        }
    }
    if (xml.hasError()) {
        error = QStringLiteral("%1 at line %2").arg(xml.errorString()).arg(xml.lineNumber());
        return false;
    }
    return true;
}

QStringList sorted(QStringList list)
{
    list.sort();
    return list;
}

QStringList matches(const QRegularExpression& pattern, const QString& text)
{
    QStringList found;
    auto it = pattern.globalMatch(text);
    while (it.hasNext())
        found << it.next().captured(0);
    return found;
}

} // namespace

class TestTranslations : public QObject
{
    Q_OBJECT

private slots:
    void cataloguesAreComplete_data()
    {
        QTest::addColumn<QString>("language");
        for (const QString& language : languages())
            QTest::newRow(qPrintable(language)) << language;
    }

    // Every source text has a finished translation that keeps the
    // placeholders and the rich-text markup of the original.
    void cataloguesAreComplete()
    {
        QFETCH(QString, language);
        QString declared;
        QList<CatalogueEntry> entries;
        QString error;
        QVERIFY2(readCatalogue(cataloguePath(language), declared, entries, error), qPrintable(error));
        QVERIFY2(declared.startsWith(language), qPrintable(declared));
        QVERIFY(entries.size() > 100);

        static const QRegularExpression placeholder(QStringLiteral("%\\d+"));
        static const QRegularExpression markup(QStringLiteral("<[^>]*>|&[a-z]+;"));
        for (const CatalogueEntry& entry : entries) {
            const QString where = entry.context + QStringLiteral(": ") + entry.source;
            QVERIFY2(entry.type.isEmpty(),
                     qPrintable(entry.type + QStringLiteral(" translation in ") + where));
            for (const QString& translation : entry.translations) {
                QVERIFY2(!translation.trimmed().isEmpty(),
                         qPrintable(QStringLiteral("empty translation in ") + where));
                QVERIFY2(sorted(matches(placeholder, translation)) ==
                             sorted(matches(placeholder, entry.source)),
                         qPrintable(QStringLiteral("placeholders differ in ") + where));
                QVERIFY2(sorted(matches(markup, translation)) == sorted(matches(markup, entry.source)),
                         qPrintable(QStringLiteral("markup differs in ") + where));
            }
        }
    }

    // The compiled catalogue in the resources is the one in the source tree:
    // it answers every message with the text the catalogue holds.
    void compiledCataloguesLoadFromResources()
    {
        for (const QString& language : languages()) {
            QTranslator translator;
            QVERIFY2(translator.load(QLocale(language), QStringLiteral("harnwick"), QStringLiteral("_"),
                                     QStringLiteral(":/translations")),
                     qPrintable(language));
            QString declared;
            QList<CatalogueEntry> entries;
            QString error;
            QVERIFY2(readCatalogue(cataloguePath(language), declared, entries, error), qPrintable(error));
            for (const CatalogueEntry& entry : entries) {
                if (entry.translations.size() != 1)
                    continue;
                QCOMPARE(translator.translate(qPrintable(entry.context), entry.source.toUtf8().constData()),
                         entry.translations.first());
            }
        }
        // A language without a catalogue leaves the program in English.
        QTranslator english;
        QVERIFY(!english.load(QLocale(QLocale::English, QLocale::UnitedStates), QStringLiteral("harnwick"),
                              QStringLiteral("_"), QStringLiteral(":/translations")));
    }
};

HARNWICK_TEST(TestTranslations)
#include "tst_translations.moc"
