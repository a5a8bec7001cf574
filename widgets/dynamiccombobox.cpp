#include "dynamiccombobox.h"

#include <QWheelEvent>

DynamicComboBox::DynamicComboBox(QWidget* parent) : QComboBox(parent) {}

void DynamicComboBox::showPopup()
{
    emit showingPopup();
    QComboBox::showPopup();
}

void DynamicComboBox::wheelEvent(QWheelEvent* event)
{
    // Scrolling a table full of these boxes must scroll the table, not change
    // the boxes under the pointer: leave the event to the parent.
    event->ignore();
}
