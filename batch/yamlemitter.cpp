#include "yamlemitter.h"

#include <yaml-cpp/yaml.h>

namespace YamlEmitter {

Emitter::Emitter() : m_emitter(std::make_shared<YAML::Emitter>())
{
    *m_emitter << YAML::BeginMap;
}

void Emitter::addKey(const std::string& key)
{
    *m_emitter << YAML::Key << key;
}

void Emitter::addKeyValue(const std::string& key, const std::string& value)
{
    *m_emitter << YAML::Key << key << YAML::Value << value;
}

void Emitter::addValue(const std::string& value)
{
    *m_emitter << value;
}

void Emitter::startMap()
{
    *m_emitter << YAML::BeginMap;
}

void Emitter::endMap()
{
    *m_emitter << YAML::EndMap;
}

void Emitter::startSequence()
{
    *m_emitter << YAML::BeginSeq;
}

void Emitter::endSequence()
{
    *m_emitter << YAML::EndSeq;
}

std::string Emitter::emitYaml()
{
    *m_emitter << YAML::EndMap;
    std::string document = m_emitter->c_str();
    m_emitter = std::make_shared<YAML::Emitter>();
    return document;
}

} // namespace YamlEmitter
