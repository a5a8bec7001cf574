#pragma once

#include <QObject>

#include <functional>
#include <vector>

// Each test file registers its test class here; the shared test main runs
// them all, so one executable per subsystem can hold several test classes.
namespace TestRegistry {

using Factory = std::function<QObject*()>;

inline std::vector<Factory>& factories()
{
    static std::vector<Factory> list;
    return list;
}

template<typename T> struct Registrar
{
    Registrar()
    {
        factories().push_back([] { return new T; });
    }
};

} // namespace TestRegistry

#define HARNWICK_TEST(Class) static TestRegistry::Registrar<Class> registrar##Class;
