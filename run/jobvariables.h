#pragma once

#include <QMap>
#include <QString>
#include <QStringList>
#include <QVariant>

class QRegularExpression;

// Names of the built-in job variables, written as {{name}} in step values.
inline const QString VARIABLE_NAME_DEBUG_INTERFACE = QStringLiteral("debug_interface");
inline const QString VARIABLE_NAME_DEBUG_SPEED = QStringLiteral("debug_speed");
inline const QString VARIABLE_NAME_IP_ADDRESS = QStringLiteral("ip_address");
inline const QString VARIABLE_NAME_NICKNAME = QStringLiteral("nickname");
inline const QString VARIABLE_NAME_SERIAL_NUMBER = QStringLiteral("serial_number");
inline const QString VARIABLE_NAME_TARGET_PART = QStringLiteral("target_part");

namespace JobVariables {

// The placeholder pattern "{{(.+?)}}", built once for the whole process.
const QRegularExpression& jobParameterRegex();

// Appends to names the variables a step uses that are not listed yet. Only text
// and text-list values are looked at, and each text contributes at most its first
// placeholder: Corvane's batch command resolves the rest itself.
void collectVariableNames(const QMap<QString, QVariant>& step, QStringList& names);

} // namespace JobVariables
