#include "selectallonclickfilter.h"

#include <QEvent>
#include <QLineEdit>

SelectAllOnClickFilter::SelectAllOnClickFilter(QObject* parent) : QObject(parent) {}

bool SelectAllOnClickFilter::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::FocusIn) {
        if (auto* lineEdit = qobject_cast<QLineEdit*>(watched)) {
            // Queued: the mouse press that gave the focus places the cursor
            // afterwards and would clear an immediate selection.
            QMetaObject::invokeMethod(lineEdit, &QLineEdit::selectAll, Qt::QueuedConnection);
        }
    }
    return false;
}
