#pragma once

#include <QHash>
#include <QTreeView>

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
    // Width needed by a cell, by whether it has an icon and its text.
    QHash<QString, int> cellWidths;
    QHash<int, Fit> lastFits;
    // Cleared once a remembered width differs from a measured one.
    bool rememberWidths = true;
    bool widthsChecked = false;
};
