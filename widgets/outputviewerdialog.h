#pragma once

#include <QDialog>
#include <QString>

class QPlainTextEdit;

// Shows a long text, such as a device's whole tool output, read-only in a
// fixed-pitch font with a button to copy all of it. It deletes itself when
// closed, so callers can show() it and forget it.
class OutputViewerDialog : public QDialog
{
    Q_OBJECT

public:
    OutputViewerDialog(const QString& title, const QString& text, QWidget* parent = nullptr);

protected:
    void showEvent(QShowEvent* event) override;

private:
    void copyAll();

    // Copied as given: the document would turn some characters (e.g. no-break
    // spaces) into others.
    const QString m_text;
    QPlainTextEdit* m_view = nullptr;
    bool m_scrolledToEnd = false;
};
