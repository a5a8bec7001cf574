#pragma once

#include <QLineEdit>
#include <QStringList>

#include <cstdint>

// A command line with a shell-like history (Up and Down arrows) that reports
// Control+key combinations as control characters instead of editing the text.
class HistoryLineEdit : public QLineEdit
{
    Q_OBJECT

public:
    explicit HistoryLineEdit(QWidget* parent = nullptr);

    void clearHistory();
    void storeCommandInHistory(const QString& command);
    QString getOlderEntry();
    QString getNewerEntry();
    void replaceText(const QString& text);

signals:
    void controlCharacter(uint8_t code, QString stringRepresentation);

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    // Always ends with an empty entry that stands for the line being typed.
    QStringList m_history;
    int m_currentIndex = 0;
};
