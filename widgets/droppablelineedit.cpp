#include "droppablelineedit.h"

#include <QDragEnterEvent>
#include <QDragLeaveEvent>
#include <QDragMoveEvent>
#include <QDropEvent>
#include <QMimeData>
#include <QUrl>

DroppableLineEdit::DroppableLineEdit(QWidget* parent) : QLineEdit(parent)
{
    setAcceptDrops(true);
}

void DroppableLineEdit::setSupportedExtensions(const QStringList& extensions)
{
    m_supportedExtensions = extensions;
}

QStringList DroppableLineEdit::getSupportedExtensions() const
{
    return m_supportedExtensions;
}

bool DroppableLineEdit::isFileSupported(const QString& file) const
{
    for (const QString& extension : m_supportedExtensions) {
        if (file.endsWith(extension, Qt::CaseInsensitive))
            return true;
    }
    return false;
}

void DroppableLineEdit::dragEnterEvent(QDragEnterEvent* event)
{
    event->acceptProposedAction();
}

void DroppableLineEdit::dragMoveEvent(QDragMoveEvent* event)
{
    event->acceptProposedAction();
}

void DroppableLineEdit::dragLeaveEvent(QDragLeaveEvent* event)
{
    event->accept();
}

void DroppableLineEdit::dropEvent(QDropEvent* event)
{
    // The base class would insert the dropped text; this field only takes a
    // single file, so several files or plain text leave it unchanged.
    const QMimeData* mimeData = event->mimeData();
    if (mimeData && mimeData->hasUrls() && mimeData->urls().size() == 1) {
        const QString path = mimeData->urls().constFirst().toLocalFile();
        if (isFileSupported(path)) {
            setText(path);
            emit fileDropped(path);
        }
    }
    event->acceptProposedAction();
}
