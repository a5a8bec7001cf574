#include "jobvariables.h"

#include <QRegularExpression>

namespace {

void collectFrom(const QString& text, QStringList& names)
{
    const QRegularExpressionMatch match = JobVariables::jobParameterRegex().match(text);
    if (!match.hasMatch())
        return;
    const QString name = match.captured(1);
    if (!names.contains(name))
        names.append(name);
}

} // namespace

namespace JobVariables {

const QRegularExpression& jobParameterRegex()
{
    static const QRegularExpression regex(QStringLiteral("{{(.+?)}}"));
    return regex;
}

void collectVariableNames(const QMap<QString, QVariant>& step, QStringList& names)
{
    for (auto it = step.cbegin(); it != step.cend(); ++it) {
        const QVariant& value = it.value();
        if (value.userType() == QMetaType::QString) {
            collectFrom(value.toString(), names);
        } else if (value.userType() == QMetaType::QStringList) {
            const QStringList items = value.toStringList();
            for (const QString& item : items)
                collectFrom(item, names);
        }
    }
}

} // namespace JobVariables
