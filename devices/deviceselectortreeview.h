#pragma once

#include <QTreeView>

// The device table's view: reports every committed edit with the index that
// was edited, and keeps its base colours readable in light and dark themes.
class DeviceSelectorTreeView : public QTreeView
{
    Q_OBJECT

public:
    explicit DeviceSelectorTreeView(QWidget* parent = nullptr);

signals:
    void dataCommitted(const QModelIndex& index);

protected slots:
    void commitData(QWidget* editor) override;

protected:
    void changeEvent(QEvent* event) override;
};
