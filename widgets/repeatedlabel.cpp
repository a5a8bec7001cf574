#include "repeatedlabel.h"

#include <QHash>
#include <QStyle>

namespace {

struct Measures
{
    QSize hint;
    QSize minimum;
    QHash<int, int> heights;
};

// Plain values only, so nothing here outlives the application in a way that matters. The
// texts of a program are few; the cap keeps a label whose text is set over and over (it
// should not be one of these) from growing it for ever.
QHash<QString, Measures>& measuresByKey()
{
    static QHash<QString, Measures> measures;
    return measures;
}

constexpr int maximumKeys = 64;
constexpr int maximumWidthsPerKey = 256;

Measures& measuresFor(const QString& key)
{
    QHash<QString, Measures>& all = measuresByKey();
    if (all.size() >= maximumKeys && !all.contains(key))
        all.clear();
    return all[key];
}

} // namespace

RepeatedLabel::RepeatedLabel(const QString& text, QWidget* parent) : QLabel(text, parent) {}

QString RepeatedLabel::measureKey() const
{
    const QMargins margins = contentsMargins();
    return QStringLiteral("%1|%2|%3|%4|%5|%6|%7|%8,%9,%10,%11|%12|")
               .arg(font().key(), style() ? style()->objectName() : QString())
               .arg(int(textFormat()))
               .arg(wordWrap())
               .arg(margin())
               .arg(indent())
               .arg(int(alignment()))
               .arg(margins.left())
               .arg(margins.top())
               .arg(margins.right())
               .arg(margins.bottom())
               .arg(int(textInteractionFlags())) +
           text();
}

QSize RepeatedLabel::sizeHint() const
{
    Measures& measures = measuresFor(measureKey());
    if (!measures.hint.isValid())
        measures.hint = QLabel::sizeHint();
    return measures.hint;
}

QSize RepeatedLabel::minimumSizeHint() const
{
    Measures& measures = measuresFor(measureKey());
    if (!measures.minimum.isValid())
        measures.minimum = QLabel::minimumSizeHint();
    return measures.minimum;
}

int RepeatedLabel::heightForWidth(int width) const
{
    Measures& measures = measuresFor(measureKey());
    const auto known = measures.heights.constFind(width);
    if (known != measures.heights.constEnd())
        return *known;
    if (measures.heights.size() >= maximumWidthsPerKey)
        measures.heights.clear();
    const int height = QLabel::heightForWidth(width);
    measures.heights.insert(width, height);
    return height;
}
