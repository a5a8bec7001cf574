#include "simarguments.h"

bool SimArguments::parse(const QStringList& arguments, const QStringList& flags, const QStringList& valued,
                         const QStringList& repeatable, QString& error)
{
    m_flags.clear();
    m_values.clear();
    for (int i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments.at(i);
        if (flags.contains(argument)) {
            m_flags.insert(argument);
            continue;
        }
        if (!valued.contains(argument) && !repeatable.contains(argument)) {
            error = QStringLiteral("unexpected argument '%1'").arg(argument);
            return false;
        }
        if (i + 1 >= arguments.size()) {
            error = QStringLiteral("option '%1' needs a value").arg(argument);
            return false;
        }
        if (m_values.contains(argument) && !repeatable.contains(argument)) {
            error = QStringLiteral("option '%1' given more than once").arg(argument);
            return false;
        }
        m_values[argument].append(arguments.at(++i));
    }
    return true;
}
