#include "storesettings.h"

#include "settingsutil.h"

namespace StoreSettings {

QString url()
{
    return SettingsUtil::getSetting(group, urlKey, QString()).toString().trimmed();
}

void setUrl(const QString& url)
{
    if (url.trimmed().isEmpty())
        SettingsUtil::clearSetting(group, urlKey);
    else
        SettingsUtil::setSetting(group, urlKey, url.trimmed());
}

StoreLocation location(QString* error)
{
    const QString text = url();
    if (text.isEmpty())
        return StoreLocation::defaultLocation();
    return StoreLocation::fromUrl(text, error);
}

} // namespace StoreSettings
