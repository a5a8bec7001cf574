#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

// Standard output, line by line and flushed after each line, because the caller shows every line
// live. A batch run also appends each line to its log file.
class SimOutput
{
public:
    bool openLog(const QString& path, QString& error);

    // Raw bytes appended to every following line until cleared; simulates output that is not UTF-8.
    void setLineSuffix(const QByteArray& suffix) { m_suffix = suffix; }

    void line(const QString& text);

    // Whole replies (JSON or garbage) go out as they are.
    static void write(const QByteArray& bytes);
    static void errorLine(const QString& text);

private:
    QFile m_log;
    QByteArray m_suffix;
};
