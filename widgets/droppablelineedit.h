#pragma once

#include <QLineEdit>
#include <QStringList>

// A path field that takes one file dropped onto it, provided its name ends with
// one of the supported extensions.
class DroppableLineEdit : public QLineEdit
{
    Q_OBJECT

public:
    explicit DroppableLineEdit(QWidget* parent = nullptr);

    void setSupportedExtensions(const QStringList& extensions);
    QStringList getSupportedExtensions() const;
    bool isFileSupported(const QString& file) const;

signals:
    void fileDropped(const QString& file);

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    QStringList m_supportedExtensions;
};
