#include "simrecorder.h"

#include <QDateTime>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <fcntl.h>
#include <unistd.h>

namespace {

QByteArray recordLine(const QString& commandId, const QStringList& arguments)
{
    QJsonObject entry;
    entry.insert(QStringLiteral("command"), commandId);
    entry.insert(QStringLiteral("arguments"), QJsonArray::fromStringList(arguments));
    // When it was called, so hot-plug tests can measure how soon a board was seen.
    entry.insert(QStringLiteral("t_ms"), double(QDateTime::currentMSecsSinceEpoch()));
    return QJsonDocument(entry).toJson(QJsonDocument::Compact) + '\n';
}

} // namespace

void SimRecorder::record(const QString& commandId, const QStringList& arguments)
{
    const QByteArray path = qgetenv("CORVANE_SIM_RECORD");
    if (path.isEmpty())
        return;
    // One write on a file opened for appending: lines of processes running side by side never mix.
    const int fd = ::open(path.constData(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    if (fd < 0)
        return;
    const QByteArray line = recordLine(commandId, arguments);
    const ssize_t written = ::write(fd, line.constData(), size_t(line.size()));
    Q_UNUSED(written)
    ::close(fd);
}
