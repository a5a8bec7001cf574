#pragma once

#include <QLabel>

// A label whose text stands on many identical pages (one per action in the editor stack).
// A word-wrapped rich text is laid out as a whole document each time it is measured, and a
// plain label measures for itself alone, so a job with a hundred actions laid the same
// paragraph out hundreds of times. This one measures a text in a given font once for every
// label showing it; any change to the text, font or layout settings measures afresh.
class RepeatedLabel : public QLabel
{
public:
    explicit RepeatedLabel(const QString& text, QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    int heightForWidth(int width) const override;

private:
    QString measureKey() const;
};
