#pragma once

#include <QHash>
#include <QList>
#include <QTreeView>
#include <QVector>

// The device table's view: reports every committed edit with the index that
// was edited, and keeps its base colours readable in light and dark themes.
class DeviceSelectorTreeView : public QTreeView
{
    Q_OBJECT

public:
    explicit DeviceSelectorTreeView(QWidget* parent = nullptr);

    // Does what resizeColumnToContents() does for a column of plain texts with
    // an optional icon, but remembers the width each text needs and leaves the
    // header alone when the fit would find the same width for a section that
    // has not changed since the last fit. Run status changes many times a
    // second; measuring every row each time was most of the page's work.
    void fitTextColumnToContents(int column);

    void setModel(QAbstractItemModel* model) override;

signals:
    void dataCommitted(const QModelIndex& index);

protected slots:
    void commitData(QWidget* editor) override;

protected:
    void changeEvent(QEvent* event) override;

private:
    // The width resizeColumnToContents() would give the column, or -1 when it
    // would not measure every row (more rows than the header's precision).
    int rememberedColumnWidth(int column);

    struct Fit
    {
        int width = -1;
        int sectionSize = -1;
    };
    void forgetRowWidths();
    void rowsChanged(const QModelIndex& topLeft, const QModelIndex& bottomRight);

    // Width needed by a cell, by whether it has an icon and its text.
    QHash<QString, int> cellWidths;
    // Width needed by each row of a fitted column, -1 once the row's data changed: a fit
    // looks again only at the rows that changed since the last one.
    QHash<int, QVector<int>> rowWidths;
    QList<QMetaObject::Connection> modelConnections;
    QHash<int, Fit> lastFits;
    // Cleared once a remembered width differs from a measured one.
    bool rememberWidths = true;
    bool widthsChecked = false;
};
