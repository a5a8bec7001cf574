#pragma once

#include <QByteArray>

// Sets an environment variable for the lifetime of the object and restores the previous state.
class ScopedEnvironment
{
public:
    ScopedEnvironment(const char* name, const QByteArray& value)
        : m_name(name), m_wasSet(qEnvironmentVariableIsSet(name)), m_previous(qgetenv(name))
    {
        qputenv(name, value);
    }
    ~ScopedEnvironment()
    {
        if (m_wasSet)
            qputenv(m_name, m_previous);
        else
            qunsetenv(m_name);
    }
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

private:
    const char* m_name;
    bool m_wasSet;
    QByteArray m_previous;
};
