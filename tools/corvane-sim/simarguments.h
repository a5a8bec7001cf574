#pragma once

#include <QMap>
#include <QSet>
#include <QString>
#include <QStringList>

// The options of one command: flags stand alone, valued options take the next argument. Options
// may come in any order; anything the command does not know is an error.
class SimArguments
{
public:
    bool parse(const QStringList& arguments, const QStringList& flags, const QStringList& valued,
               const QStringList& repeatable, QString& error);

    bool hasFlag(const QString& flag) const { return m_flags.contains(flag); }
    bool has(const QString& option) const { return m_values.contains(option); }
    QString value(const QString& option) const { return m_values.value(option).value(0); }
    QStringList values(const QString& option) const { return m_values.value(option); }

private:
    QSet<QString> m_flags;
    QMap<QString, QStringList> m_values;
};
