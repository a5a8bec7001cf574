#include "handmadezip.h"

#include <QFile>

#include <sys/stat.h>

namespace {

quint32 crc32(const QByteArray& data)
{
    static quint32 table[256] = {};
    if (table[1] == 0) {
        for (quint32 i = 0; i < 256; ++i) {
            quint32 c = i;
            for (int k = 0; k < 8; ++k)
                c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
            table[i] = c;
        }
    }
    quint32 crc = 0xFFFFFFFFu;
    for (const char byte : data)
        crc = table[(crc ^ quint8(byte)) & 0xFF] ^ (crc >> 8);
    return crc ^ 0xFFFFFFFFu;
}

void put16(QByteArray& out, quint16 value)
{
    out.append(char(value & 0xFF)).append(char(value >> 8));
}

void put32(QByteArray& out, quint32 value)
{
    put16(out, quint16(value & 0xFFFF));
    put16(out, quint16(value >> 16));
}

} // namespace

void HandmadeZip::addFile(const QString& name, const QByteArray& data, int mode)
{
    m_entries.append({name.toUtf8(), data, crc32(data), quint32(data.size()), 0, 0, quint32(S_IFREG | mode)});
}

void HandmadeZip::addDirectory(const QString& name, int mode)
{
    m_entries.append({name.toUtf8(), {}, 0, 0, 0, 0, quint32(S_IFDIR | mode)});
}

void HandmadeZip::addSymLink(const QString& name, const QString& target)
{
    const QByteArray data = target.toUtf8();
    m_entries.append({name.toUtf8(), data, crc32(data), quint32(data.size()), 0, 0, quint32(S_IFLNK | 0777)});
}

void HandmadeZip::addEncryptedFile(const QString& name)
{
    // Twelve bytes of encryption header followed by "ciphertext".
    const QByteArray data = QByteArray("\x13\x57\x9b\xdf\x24\x68\xac\xe0\x11\x22\x33\x44secret", 18);
    m_entries.append({name.toUtf8(), data, 0x1234ABCDu, 6, 0, 1, quint32(S_IFREG | 0644)});
}

void HandmadeZip::addZeroBomb(const QString& namePrefix, int copies, int size)
{
    const QByteArray zeros(size, '\0');
    // qCompress gives a 4-byte length and a zlib stream; the raw deflate data sits between the
    // stream's 2-byte header and 4-byte checksum.
    const QByteArray zlib = qCompress(zeros, 9);
    const QByteArray deflated = zlib.mid(6, zlib.size() - 10);
    const quint32 crc = crc32(zeros);
    for (int i = 0; i < copies; ++i)
        m_entries.append({(namePrefix + QString::number(i)).toUtf8(), deflated, crc, quint32(size), 8, 0,
                          quint32(S_IFREG | 0644)});
}

bool HandmadeZip::write(const QString& path) const
{
    QByteArray archive;
    QByteArray directory;
    for (const Entry& entry : m_entries) {
        const quint32 offset = quint32(archive.size());
        put32(archive, 0x04034b50);
        for (QByteArray* out : {&archive, &directory}) {
            if (out == &directory) {
                put32(directory, 0x02014b50);
                put16(directory, 0x031E); // made by a Unix host, so the mode bits count
            }
            put16(*out, 20);
            put16(*out, entry.flags);
            put16(*out, entry.method);
            put16(*out, 0);      // time
            put16(*out, 0x5921); // date
            put32(*out, entry.crc);
            put32(*out, quint32(entry.data.size()));
            put32(*out, entry.size);
            put16(*out, quint16(entry.name.size()));
            put16(*out, 0); // extra field
        }
        archive.append(entry.name).append(entry.data);
        put16(directory, 0); // comment
        put16(directory, 0); // disk
        put16(directory, 0); // internal attributes
        put32(directory, (entry.mode << 16) | ((entry.mode & S_IFMT) == S_IFDIR ? 0x10 : 0));
        put32(directory, offset);
        directory.append(entry.name);
    }
    const quint32 directoryOffset = quint32(archive.size());
    archive.append(directory);
    put32(archive, 0x06054b50);
    put16(archive, 0);
    put16(archive, 0);
    put16(archive, quint16(m_entries.size()));
    put16(archive, quint16(m_entries.size()));
    put32(archive, quint32(directory.size()));
    put32(archive, directoryOffset);
    put16(archive, 0);

    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(archive) == archive.size();
}
