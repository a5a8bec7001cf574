#include "batchtestfiles.h"
#include "testregistry.h"
#include "yamlemitter.h"
#include "yamlparser.h"

#include <QTemporaryDir>
#include <QtTest>

using YamlParser::Node;

class TestYamlDocument : public QObject
{
    Q_OBJECT

    QTemporaryDir m_folder;

    Node load(const QByteArray& text)
    {
        const QString path = m_folder.filePath(QStringLiteral("document.yaml"));
        BatchTestFiles::writeFile(path, text);
        return YamlParser::loadFile(QFile::encodeName(path).toStdString());
    }

private slots:
    void nodeAccess()
    {
        const Node doc = load("name: bench-left\nempty:\nlist: [a, b, c]\nB: upper\nb: lower\n"
                              "nested: {inner: 1}\n");
        QVERIFY(doc.contains("name"));
        QVERIFY(!doc.contains("Name"));
        QCOMPARE(doc["B"].as_str(), std::string("upper"));
        QCOMPARE(doc["b"].as_str(), std::string("lower"));
        QCOMPARE(doc["nested"]["inner"].as_str(), std::string("1"));
        QCOMPARE(doc["empty"].as_str(), std::string("null"));
        QCOMPARE(int(doc["empty"].size()), 0);
        QCOMPARE(int(doc.size()), 6);
        QCOMPARE(doc.keys(), (std::vector<std::string>{"B", "b", "empty", "list", "name", "nested"}));

        const Node list = doc["list"];
        QVERIFY(list.IsSequence());
        QCOMPARE(int(list.size()), 3);
        QCOMPARE(list[2].as_str(), std::string("c"));
        QVERIFY(!list.contains("a"));
        QVERIFY(list.keys().empty());

        const Node scalar = doc["name"];
        QVERIFY(!scalar.contains("name"));
        QVERIFY(!scalar.IsSequence());
        QCOMPARE(int(scalar.size()), 0);

        QVERIFY_EXCEPTION_THROWN((void)doc["missing"], std::out_of_range);
        QVERIFY_EXCEPTION_THROWN((void)list.as_str(), YAML::BadConversion);
        const Node zombie = list[7];
        QVERIFY_EXCEPTION_THROWN((void)zombie.size(), YAML::InvalidNode);
        QVERIFY_EXCEPTION_THROWN((void)zombie.IsSequence(), YAML::InvalidNode);
        QVERIFY_EXCEPTION_THROWN((void)zombie.as_str(), YAML::InvalidNode);
        QVERIFY_EXCEPTION_THROWN(load("a: [1, 2\n"), YAML::ParserException);
    }

    void aliasWalkIsBounded_data()
    {
        QTest::addColumn<QByteArray>("document");
        QTest::addColumn<int>("kind");

        QTest::newRow("alias to its own anchor")
            << QByteArray("root: &loop\n  again: *loop\n") << int(Node::LimitExceeded::Depth);

        QByteArray deep = "x";
        for (int i = 0; i < Node::MaxDepth + 5; ++i)
            deep = "{a: " + deep + "}";
        QTest::newRow("plain nesting")
            << QByteArray("top: " + deep + "\n") << int(Node::LimitExceeded::Depth);

        // Each level holds two aliases of the level below: 2^20 values from twenty lines.
        QByteArray laughs = "l0: &l0 {a: x, b: x}\n";
        for (int i = 1; i <= 20; ++i)
            laughs += QStringLiteral("l%1: &l%1 {a: *l%2, b: *l%2}\n").arg(i).arg(i - 1).toUtf8();
        QTest::newRow("repeated anchors") << laughs << int(Node::LimitExceeded::NodeCount);
    }

    void aliasWalkIsBounded()
    {
        QFETCH(QByteArray, document);
        QFETCH(int, kind);
        try {
            load(document);
            QFAIL("the document was accepted");
        } catch (const Node::LimitExceeded& limit) {
            QCOMPARE(int(limit.kind()), kind);
            QVERIFY(limit.line() > 0);
        }
    }

    void budgetCoversIndexedAccess()
    {
        // One anchored mapping of 2000 values, repeated by a long sequence of aliases: every element
        // is cheap to load, but wrapping them all draws on the same budget.
        QByteArray text = "big: &big {";
        for (int i = 0; i < 2000; ++i)
            text += "k" + QByteArray::number(i) + ": v, ";
        text += "end: v}\nitems: [";
        for (int i = 0; i < 200; ++i)
            text += "*big, ";
        text += "*big]\n";
        const Node items = load(text)["items"];
        try {
            for (unsigned int i = 0; i < items.size(); ++i)
                items[i];
            QFAIL("all elements were wrapped");
        } catch (const Node::LimitExceeded& limit) {
            QCOMPARE(int(limit.kind()), int(Node::LimitExceeded::NodeCount));
        }
    }

    void emitterWritesBlockDocument()
    {
        YamlEmitter::Emitter emitter;
        emitter.addKey("steps");
        emitter.startSequence();
        emitter.startMap();
        emitter.addKeyValue("task", "wait");
        emitter.addKey("arguments");
        emitter.startSequence();
        for (const char* value : {"my file", "", "null", "a: b", "Prüfplatz"})
            emitter.addValue(value);
        emitter.endSequence();
        emitter.addKey("flags");
        emitter.startSequence();
        emitter.endSequence();
        emitter.endMap();
        emitter.endSequence();
        emitter.addKeyValue("note", "~");
        const QByteArray text = QByteArray::fromStdString(emitter.emitYaml());
        QCOMPARE(text, QByteArray("steps:\n  - task: wait\n    arguments:\n      - my file\n      - \"\"\n"
                                  "      - \"null\"\n      - \"a: b\"\n      - Prüfplatz\n    flags:\n"
                                  "      []\nnote: \"~\""));

        const Node doc = load(text);
        const Node arguments = doc["steps"][0u]["arguments"];
        QCOMPARE(int(arguments.size()), 5);
        QCOMPARE(arguments[1].as_str(), std::string());
        QCOMPARE(arguments[2].as_str(), std::string("null"));
        QCOMPARE(arguments[3].as_str(), std::string("a: b"));
        QCOMPARE(doc["note"].as_str(), std::string("~"));
        QVERIFY(doc["steps"][0u]["flags"].IsSequence());
    }
};

HARNWICK_TEST(TestYamlDocument)
#include "tst_yamldocument.moc"
