#include "fileguard.h"

#include "runreport.h"

#include <QFileInfo>

void FileGuard::remember(const QStringList& paths)
{
    for (const QString& path : paths)
        if (QFileInfo(path).isFile())
            hashes.insert(path, RunReport::sha256OfFile(path));
}

QString FileGuard::firstChanged(const QStringList& paths)
{
    for (const QString& path : paths) {
        const QString now = RunReport::sha256OfFile(path);
        const auto known = hashes.constFind(path);
        if (known == hashes.cend())
            hashes.insert(path, now);
        else if (*known != now)
            return path;
    }
    return QString();
}
