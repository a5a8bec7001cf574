#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

// Writes zip archives byte by byte, so the tests can build archives that no zip program would make:
// entries named "../x" or "/x", symbolic links, encrypted entries, bombs.
class HandmadeZip
{
public:
    void addFile(const QString& name, const QByteArray& data, int mode = 0644);
    void addDirectory(const QString& name, int mode = 0755);
    void addSymLink(const QString& name, const QString& target);
    // An entry flagged as encrypted; no password opens it.
    void addEncryptedFile(const QString& name);
    // `copies` entries of `size` zero bytes each, deflated: a few kilobytes that unpack to a lot.
    void addZeroBomb(const QString& namePrefix, int copies, int size);

    bool write(const QString& path) const;

private:
    struct Entry
    {
        QByteArray name;
        QByteArray data;
        quint32 crc = 0;
        quint32 size = 0;
        quint16 method = 0;
        quint16 flags = 0;
        quint32 mode = 0;
    };
    QList<Entry> m_entries;
};
