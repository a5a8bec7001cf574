#pragma once

#include <memory>
#include <string>

namespace YAML {
class Emitter;
}

// Writing of block-style YAML documents. All strings are UTF-8.
namespace YamlEmitter {

// Writes one document whose top level is a mapping: the mapping is opened at construction and closed
// by emitYaml(). Every value is written as a string; yaml-cpp picks plain or quoted style by itself.
class Emitter
{
public:
    Emitter();

    void addKey(const std::string& key);
    void addKeyValue(const std::string& key, const std::string& value);
    void addValue(const std::string& value);
    void startMap();
    void endMap();
    void startSequence();
    void endSequence();

    // Closes the top-level mapping and returns the document. The writer is replaced by a fresh one
    // without an open mapping, so an Emitter serves exactly one document.
    std::string emitYaml();

private:
    std::shared_ptr<YAML::Emitter> m_emitter;
};

} // namespace YamlEmitter
