#include "deviceselectortreeview.h"

#include <QEvent>
#include <QPalette>

DeviceSelectorTreeView::DeviceSelectorTreeView(QWidget* parent) : QTreeView(parent) {}

void DeviceSelectorTreeView::commitData(QWidget* editor)
{
    QTreeView::commitData(editor);
    const QModelIndex index = currentIndex();
    if (index.isValid())
        emit dataCommitted(index);
}

void DeviceSelectorTreeView::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::PaletteChange) {
        QPalette adjusted = palette();
        const bool dark = adjusted.color(QPalette::Window).lightness() < 128;
        const QColor base = dark ? QColor(30, 30, 30) : QColor(255, 255, 255);
        const QColor alternateBase = dark ? QColor(45, 45, 45) : QColor(240, 240, 240);
        // Setting the palette sends another palette change; once the colours
        // are in place that one changes nothing.
        if (adjusted.color(QPalette::Base) != base ||
            adjusted.color(QPalette::AlternateBase) != alternateBase) {
            adjusted.setBrush(QPalette::All, QPalette::Base, QBrush(base));
            adjusted.setBrush(QPalette::All, QPalette::AlternateBase, QBrush(alternateBase));
            setPalette(adjusted);
            viewport()->update();
        }
    }
    QTreeView::changeEvent(event);
}
