#include "fileguard.h"

#include "runreport.h"

#include <QFileInfo>

void FileGuard::remember(const QStringList& paths)
{
    for (const QString& path : paths)
        if (QFileInfo(path).isFile())
            known.insert(path, RunReport::sha256OfFile(path));
}

QString FileGuard::firstChanged(const QStringList& paths)
{
    for (const QString& path : paths) {
        const QString now = RunReport::sha256OfFile(path);
        const auto remembered = known.constFind(path);
        if (remembered == known.cend())
            known.insert(path, now);
        else if (*remembered != now)
            return path;
    }
    return QString();
}
