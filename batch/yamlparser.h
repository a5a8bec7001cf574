#pragma once

#include <yaml-cpp/yaml.h>

#include <cstddef>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

// Read-only access to a parsed YAML document. All strings are UTF-8.
namespace YamlParser {

// A node of a parsed document. When the node is a mapping, its values are wrapped recursively at
// construction and kept by key, so lookups never go through yaml-cpp's subscript.
//
// Aliases make a document a graph: one anchor may be repeated many times over, or even contain an alias
// of itself. Every node derived from one document therefore draws from a single budget (nesting depth of
// mappings and number of wrapped nodes), and a document that exhausts it raises LimitExceeded instead of
// recursing forever or eating the memory.
class Node
{
public:
    // A job or devices file needs three levels of mappings. A device entry is 13 nodes in the file (keys
    // count there) and 7 once wrapped, so the largest devices file the program writes (10,000 devices)
    // holds about 130,000.
    static constexpr int MaxDepth = 32;
    static constexpr std::size_t MaxNodes = 200000;

    class LimitExceeded : public std::runtime_error
    {
    public:
        enum Kind
        {
            Depth,
            NodeCount
        };
        LimitExceeded(Kind kind, const YAML::Mark& mark);
        Kind kind() const { return m_kind; }
        // One-based position of the node at which the limit was reached (0 when unknown).
        int line() const { return m_line; }
        int column() const { return m_column; }

    private:
        Kind m_kind;
        int m_line;
        int m_column;
    };

    Node();
    explicit Node(const YAML::Node& node);

    bool contains(const std::string& key) const;
    // Throws std::out_of_range when the key is missing: test with contains() first.
    Node operator[](const std::string& key) const;
    Node operator[](unsigned int index) const;
    std::size_t size() const;
    bool IsSequence() const;
    std::string as_str() const;
    // The keys of a mapping in ascending byte order; empty for scalars and sequences.
    std::vector<std::string> keys() const;

private:
    struct Budget
    {
        std::size_t nodes = 0;
    };
    using Children = std::map<std::string, Node>;

    Node(const YAML::Node& node, const std::shared_ptr<Budget>& budget, int depth);
    const Children& children() const;

    YAML::Node m_node;
    std::shared_ptr<const Children> m_children;
    std::shared_ptr<Budget> m_budget;
};

// The first document of the file; raises yaml-cpp's exceptions for a missing or malformed file and
// Node::LimitExceeded for a document that holds more than MaxNodes nodes (checked before it is built), or
// that is too deep or too large once its aliases are followed.
Node loadFile(const std::string& path);

} // namespace YamlParser
