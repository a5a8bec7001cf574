#include "simoutput.h"

#include <cstdio>

bool SimOutput::openLog(const QString& path, QString& error)
{
    m_log.setFileName(path);
    if (!m_log.open(QIODevice::WriteOnly | QIODevice::Append)) {
        error = QStringLiteral("Could not open log file '%1': %2").arg(path, m_log.errorString());
        return false;
    }
    return true;
}

void SimOutput::line(const QString& text)
{
    const QByteArray bytes = text.toUtf8() + m_suffix + '\n';
    write(bytes);
    if (m_log.isOpen()) {
        m_log.write(bytes);
        m_log.flush();
    }
}

void SimOutput::write(const QByteArray& bytes)
{
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
    std::fflush(stdout);
}

void SimOutput::errorLine(const QString& text)
{
    const QByteArray bytes = text.toUtf8() + '\n';
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stderr);
    std::fflush(stderr);
}
