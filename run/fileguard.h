#pragma once

#include <QHash>
#include <QString>
#include <QStringList>

// Keeps the SHA-256 of the files a job uses (flash images, adapter firmware)
// from the moment the job named them, so a file that changed on disk since
// then is noticed before it goes onto a device.
class FileGuard
{
public:
    // Takes each existing file's content as it is now as the one the job means.
    void remember(const QStringList& paths);
    // The first of the files whose content differs from what was remembered for it;
    // files not remembered yet are remembered now. Empty when nothing changed.
    QString firstChanged(const QStringList& paths);
    // Path → SHA-256 of every file remembered.
    const QHash<QString, QString>& hashes() const { return known; }

private:
    QHash<QString, QString> known;
};
