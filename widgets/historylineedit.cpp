#include "historylineedit.h"

#include <QKeyEvent>
#include <QMetaType>

HistoryLineEdit::HistoryLineEdit(QWidget* parent) : QLineEdit(parent), m_history{QString()}
{
    // Lets queued connections and signal spies carry the code argument.
    qRegisterMetaType<uint8_t>("uint8_t");
}

void HistoryLineEdit::clearHistory()
{
    m_history = QStringList{QString()};
    m_currentIndex = 0;
}

void HistoryLineEdit::storeCommandInHistory(const QString& command)
{
    if (command.trimmed().isEmpty())
        return;
    const int last = m_history.size() - 1;
    const bool repeatsPrevious = m_history.size() > 1 && m_history.at(last - 1) == command;
    if (!repeatsPrevious)
        m_history.insert(last, command);
    m_currentIndex = m_history.size() - 1;
}

QString HistoryLineEdit::getOlderEntry()
{
    m_currentIndex = qMax(0, m_currentIndex - 1);
    return m_history.at(m_currentIndex);
}

QString HistoryLineEdit::getNewerEntry()
{
    ++m_currentIndex;
    if (m_currentIndex >= m_history.size())
        m_currentIndex = m_history.size() - 1;
    return m_history.at(m_currentIndex);
}

void HistoryLineEdit::replaceText(const QString& text)
{
    clear();
    insert(text);
}

void HistoryLineEdit::keyPressEvent(QKeyEvent* event)
{
    const int key = event->key();
    if (key == Qt::Key_Up) {
        replaceText(getOlderEntry());
        return;
    }
    if (key == Qt::Key_Down) {
        replaceText(getNewerEntry());
        return;
    }
    // Control with @, A..Z, [, \, ], ^ or _ maps onto the ASCII control codes 0..31,
    // which the device's console understands (^C interrupts, for example).
    if (event->modifiers().testFlag(Qt::ControlModifier) && key >= Qt::Key_At && key <= Qt::Key_Underscore) {
        emit controlCharacter(static_cast<uint8_t>(key - Qt::Key_At),
                              QStringLiteral("^%1").arg(QChar(static_cast<ushort>(key))));
        event->accept();
        return;
    }
    QLineEdit::keyPressEvent(event);
}
