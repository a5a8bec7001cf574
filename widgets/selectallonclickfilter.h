#pragma once

#include <QObject>

// Event filter that selects the whole text of a line edit when it gains focus,
// so a click into the field replaces its text on the next keystroke.
class SelectAllOnClickFilter : public QObject
{
    Q_OBJECT

public:
    explicit SelectAllOnClickFilter(QObject* parent = nullptr);

    bool eventFilter(QObject* watched, QEvent* event) override;
};
