#pragma once

#include <QByteArray>
#include <QFile>
#include <QList>
#include <QString>

#include <sys/stat.h>

// Writes zip archives byte by byte, so the tests can build archives that no zip program would make:
// entries named "../x" or "/x", symbolic links (S_IFLNK, the target as data), encrypted entries, bombs.
class HandmadeZip
{
public:
    void add(const QString& name, const QByteArray& data, quint32 mode = S_IFREG | 0644)
    {
        m_entries.append({name.toUtf8(), data, crcOf(data), quint32(data.size()), mode, 0, 0});
    }

    // An entry flagged as encrypted: twelve bytes of encryption header, then "ciphertext". No password opens
    // it.
    void addEncrypted(const QString& name)
    {
        const QByteArray data("\x13\x57\x9b\xdf\x24\x68\xac\xe0\x11\x22\x33\x44secret", 18);
        m_entries.append({name.toUtf8(), data, 0x1234ABCDu, 6, S_IFREG | 0644, 0, 1});
    }

    // `copies` entries of `size` zero bytes each, deflated: a few kilobytes that unpack to a lot.
    void addZeroBomb(int copies, int size)
    {
        // qCompress gives a 4-byte length and a zlib stream; the raw deflate data sits between the
        // stream's 2-byte header and 4-byte checksum.
        const QByteArray zeros(size, '\0');
        const QByteArray zlib = qCompress(zeros, 9);
        const quint32 crc = crcOf(zeros);
        for (int i = 0; i < copies; ++i)
            m_entries.append({"zeros" + QByteArray::number(i), zlib.mid(6, zlib.size() - 10), crc,
                              quint32(size), S_IFREG | 0644, 8, 0});
    }

    bool write(const QString& path) const
    {
        QByteArray archive, directory;
        for (const Entry& entry : m_entries) {
            const quint32 offset = quint32(archive.size());
            put(archive, 0x04034b50, 4);
            put(directory, 0x02014b50, 4);
            put(directory, 0x031E, 2); // made by a Unix host, so the mode bits count
            for (QByteArray* out : {&archive, &directory}) {
                // version, flags, method, time, date; crc, sizes; name length, no extra field
                for (const quint32 value : {20u, quint32(entry.flags), quint32(entry.method), 0u, 0x5921u})
                    put(*out, value, 2);
                for (const quint32 value : {entry.crc, quint32(entry.data.size()), entry.size})
                    put(*out, value, 4);
                put(*out, quint32(entry.name.size()), 2);
                put(*out, 0, 2);
            }
            archive.append(entry.name).append(entry.data);
            put(directory, 0, 6); // comment length, disk, internal attributes
            put(directory, (entry.mode << 16) | ((entry.mode & S_IFMT) == S_IFDIR ? 0x10 : 0), 4);
            put(directory, offset, 4);
            directory.append(entry.name);
        }
        const quint32 directoryOffset = quint32(archive.size());
        archive.append(directory);
        put(archive, 0x06054b50, 4);
        put(archive, 0, 4);                                    // disk numbers
        put(archive, quint32(m_entries.size()) * 0x10001u, 4); // entries on this disk and in all
        put(archive, quint32(directory.size()), 4);
        put(archive, directoryOffset, 4);
        put(archive, 0, 2);
        QFile file(path);
        return file.open(QIODevice::WriteOnly) && file.write(archive) == archive.size();
    }

private:
    struct Entry
    {
        QByteArray name, data;
        quint32 crc, size, mode;
        quint16 method, flags;
    };

    static quint32 crcOf(const QByteArray& data)
    {
        quint32 crc = 0xFFFFFFFFu;
        for (const char byte : data) {
            crc ^= quint8(byte);
            for (int k = 0; k < 8; ++k)
                crc = (crc & 1) ? 0xEDB88320u ^ (crc >> 1) : crc >> 1;
        }
        return ~crc;
    }

    // Little-endian; up to eight bytes, so zero runs longer than four come out right.
    static void put(QByteArray& out, quint64 value, int bytes)
    {
        for (int i = 0; i < bytes; ++i)
            out.append(char((value >> (8 * i)) & 0xFF));
    }

    QList<Entry> m_entries;
};
