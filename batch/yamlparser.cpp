#include "yamlparser.h"

#include <yaml-cpp/eventhandler.h>

#include <fstream>

namespace YamlParser {

namespace {

YAML::Mark markOf(const YAML::Node& node)
{
    return node.IsDefined() ? node.Mark() : YAML::Mark::null_mark();
}

const char* limitText(Node::LimitExceeded::Kind kind)
{
    return kind == Node::LimitExceeded::Depth ? "YAML mappings nested too deeply"
                                              : "YAML document expands to too many nodes";
}

// Counts the nodes of a document as the parser reports them, without building anything, and gives up once
// they exceed the budget.
class NodeCounter : public YAML::EventHandler
{
public:
    void OnDocumentStart(const YAML::Mark&) override {}
    void OnDocumentEnd() override {}
    void OnNull(const YAML::Mark& mark, YAML::anchor_t) override { count(mark); }
    void OnAlias(const YAML::Mark& mark, YAML::anchor_t) override { count(mark); }
    void OnScalar(const YAML::Mark& mark, const std::string&, YAML::anchor_t, const std::string&) override
    {
        count(mark);
    }
    void OnSequenceStart(const YAML::Mark& mark, const std::string&, YAML::anchor_t,
                         YAML::EmitterStyle::value) override
    {
        count(mark);
    }
    void OnSequenceEnd() override {}
    void OnMapStart(const YAML::Mark& mark, const std::string&, YAML::anchor_t,
                    YAML::EmitterStyle::value) override
    {
        count(mark);
    }
    void OnMapEnd() override {}

private:
    void count(const YAML::Mark& mark)
    {
        if (++m_nodes > Node::MaxNodes)
            throw Node::LimitExceeded(Node::LimitExceeded::NodeCount, mark);
    }

    std::size_t m_nodes = 0;
};

} // namespace

Node::LimitExceeded::LimitExceeded(Kind kind, const YAML::Mark& mark)
    : std::runtime_error(limitText(kind)), m_kind(kind), m_line(mark.line + 1), m_column(mark.column + 1)
{}

Node::Node() : m_budget(std::make_shared<Budget>()) {}

Node::Node(const YAML::Node& node) : Node(node, std::make_shared<Budget>(), 0) {}

Node::Node(const YAML::Node& node, const std::shared_ptr<Budget>& budget, int depth)
    : m_node(node), m_budget(budget)
{
    if (++m_budget->nodes > MaxNodes)
        throw LimitExceeded(LimitExceeded::NodeCount, markOf(node));
    if (!node.IsDefined() || !node.IsMap())
        return;
    // Checked before descending: an alias that refers back to its own anchor ends here.
    if (depth >= MaxDepth)
        throw LimitExceeded(LimitExceeded::Depth, markOf(node));
    auto children = std::make_shared<Children>();
    for (YAML::const_iterator it = node.begin(); it != node.end(); ++it)
        children->emplace(it->first.as<std::string>(), Node(it->second, budget, depth + 1));
    m_children = std::move(children);
}

const Node::Children& Node::children() const
{
    static const Children none;
    return m_children ? *m_children : none;
}

bool Node::contains(const std::string& key) const
{
    return children().count(key) != 0;
}

Node Node::operator[](const std::string& key) const
{
    return children().at(key);
}

Node Node::operator[](unsigned int index) const
{
    const YAML::Node& node = m_node;
    return Node(node[index], m_budget, 0);
}

std::size_t Node::size() const
{
    return m_node.size();
}

bool Node::IsSequence() const
{
    return m_node.IsSequence();
}

std::string Node::as_str() const
{
    return m_node.as<std::string>();
}

std::vector<std::string> Node::keys() const
{
    std::vector<std::string> result;
    result.reserve(children().size());
    for (const auto& entry : children())
        result.push_back(entry.first);
    return result;
}

Node loadFile(const std::string& path)
{
    // yaml-cpp builds the whole document before anything can be counted, at some 500 bytes a node: a file
    // of a few megabytes of nothing but short values would take gigabytes. So the file is first read as
    // events, which takes no memory, and refused there when it holds more nodes than the budget allows.
    std::ifstream stream(path, std::ios::binary);
    if (stream) {
        YAML::Parser parser(stream);
        NodeCounter counter;
        parser.HandleNextDocument(counter);
    }
    return Node(YAML::LoadFile(path));
}

} // namespace YamlParser
