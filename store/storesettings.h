#pragma once

#include "storelocation.h"

#include <QString>

// Where the production store is, as the settings say. Only the URL is kept
// (a password never is); none set means the default SQLite file.
namespace StoreSettings {

inline const QString group = QStringLiteral("ProductionDatabase");
inline const QString urlKey = QStringLiteral("url");

// The URL as set; empty for the default.
QString url();
void setUrl(const QString& url);

// The location the settings name, the default one when none is set; invalid with the reason
// in *error when the setting cannot be read as a location.
StoreLocation location(QString* error = nullptr);

} // namespace StoreSettings
