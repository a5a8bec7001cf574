#include "outputviewerdialog.h"

#include <QClipboard>
#include <QDialogButtonBox>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QVBoxLayout>

OutputViewerDialog::OutputViewerDialog(const QString& title, const QString& text, QWidget* parent)
    : QDialog(parent), m_text(text), m_view(new QPlainTextEdit(this))
{
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(title);

    m_view->setObjectName(QStringLiteral("outputText"));
    m_view->setReadOnly(true);
    // Tool output is laid out in columns, and wrapped lines would break them.
    m_view->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    m_view->setLineWrapMode(QPlainTextEdit::NoWrap);
    m_view->setPlainText(text);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    QPushButton* copyButton = buttons->addButton(tr("Copy All"), QDialogButtonBox::ActionRole);
    copyButton->setObjectName(QStringLiteral("copyButton"));
    copyButton->setAutoDefault(false);
    // Return closes the viewer rather than overwriting the clipboard.
    buttons->button(QDialogButtonBox::Close)->setDefault(true);
    connect(copyButton, &QPushButton::clicked, this, &OutputViewerDialog::copyAll);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_view);
    layout->addWidget(buttons);
    resize(900, 600);
    m_view->setFocus();
}

void OutputViewerDialog::showEvent(QShowEvent* event)
{
    QDialog::showEvent(event);
    // The scroll range is known only once the view has its size; the end of
    // the output is where the outcome stands. The cursor goes to the start of
    // the last line so that a long last line does not scroll sideways.
    if (m_scrolledToEnd)
        return;
    m_scrolledToEnd = true;
    m_view->moveCursor(QTextCursor::End);
    m_view->moveCursor(QTextCursor::StartOfBlock);
    m_view->verticalScrollBar()->setValue(m_view->verticalScrollBar()->maximum());
}

void OutputViewerDialog::copyAll()
{
    QGuiApplication::clipboard()->setText(m_text);
}
