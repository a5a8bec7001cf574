#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

// File helpers shared by the batch tests.
namespace BatchTestFiles {

bool writeFile(const QString& path, const QByteArray& data);
QByteArray readFile(const QString& path);

// Every entry below `directory`, relative, sorted; folders end with "/". Links are listed, not followed.
QStringList tree(const QString& directory);

// A folder holding links to the named programs from /usr/bin, for a PATH that lacks the others.
bool linkPrograms(const QString& directory, const QStringList& programs);

// The member names of an archive as the standard unzip lists them.
QStringList archiveMembers(const QString& archivePath);

} // namespace BatchTestFiles
