#include "flashingrowstyledelegate.h"

#include <QApplication>
#include <QDateTime>
#include <QPainter>
#include <QRegion>
#include <QTimer>
#include <QTreeView>

#include <algorithm>
#include <limits>

FlashingRowStyleDelegate::FlashingRowStyleDelegate(QTreeView* view) : QStyledItemDelegate(view), view(view)
{
    repaintTimer = new QTimer(this);
    repaintTimer->setInterval(RepaintIntervalMs);
    connect(repaintTimer, &QTimer::timeout, this, &FlashingRowStyleDelegate::onTick);
}

double FlashingRowStyleDelegate::fillWeight(qint64 elapsedMs, int holdMs, int fadeMs)
{
    if (elapsedMs <= holdMs)
        return 0.5;
    if (fadeMs > 0 && elapsedMs <= qint64(holdMs) + fadeMs) {
        const double progress = double(elapsedMs - holdMs) / double(fadeMs);
        if (progress > 1.0)
            return 0.0;
        if (progress > 0.0)
            return 0.5 * (1.0 - progress) * (1.0 - progress);
        return 0.5;
    }
    return -1.0;
}

QColor FlashingRowStyleDelegate::blend(const QColor& a, const QColor& b, double t)
{
    t = std::clamp(t, 0.0, 1.0);
    return QColor::fromRgbF(a.redF() * t + b.redF() * (1.0 - t), a.greenF() * t + b.greenF() * (1.0 - t),
                            a.blueF() * t + b.blueF() * (1.0 - t), 1.0);
}

bool FlashingRowStyleDelegate::isRepainting() const
{
    return repaintTimer->isActive();
}

namespace {
quint64 placeOf(const QRect& rect)
{
    return (quint64(quint32(rect.top())) << 32) | quint32(rect.left());
}
} // namespace

void FlashingRowStyleDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                                     const QModelIndex& index) const
{
    // Whatever this place showed before, it now shows what is painted here.
    if (!paintedFlashes.isEmpty())
        paintedFlashes.remove(placeOf(option.rect));
    if (option.state & QStyle::State_Selected) {
        QStyledItemDelegate::paint(painter, option, index);
        paintExtras(painter, option, index);
        return;
    }

    const QVariant start = index.data(FlashStartRole);
    const QVariant color = index.data(FlashColorRole);
    const QVariant hold = index.data(FlashHoldRole);
    const QVariant fade = index.data(FlashFadeRole);
    if (!start.isValid() || !color.isValid() || !hold.isValid() || !fade.isValid()) {
        QStyledItemDelegate::paint(painter, option, index);
        paintExtras(painter, option, index);
        return;
    }

    const QPalette& palette = view ? view->palette() : option.palette;
    const QColor base = palette.color(
        (option.features & QStyleOptionViewItem::Alternate) ? QPalette::AlternateBase : QPalette::Base);
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    const qint64 elapsed = now - start.toLongLong();
    const double weight = fillWeight(elapsed, hold.toInt(), fade.toInt());
    if (weight >= 0.0) {
        painter->fillRect(option.rect, blend(color.value<QColor>(), base, weight));
        // The colour holds still until the fade begins; a fading one changes every frame.
        const qint64 changesAt = elapsed < hold.toInt() ? start.toLongLong() + hold.toInt() : now;
        paintedFlashes.insert(placeOf(option.rect), PaintedFlash{option.rect, changesAt});
        nextChangeMs = std::min(nextChangeMs, changesAt);
        if (!repaintTimer->isActive())
            repaintTimer->start();
    } else {
        painter->fillRect(option.rect, base);
    }

    // The standard painting on top, minus the item's own background, which
    // would hide the fill.
    QStyleOptionViewItem itemOption(option);
    initStyleOption(&itemOption, index);
    itemOption.backgroundBrush = QBrush();
    const QWidget* widget = option.widget;
    QStyle* style = widget ? widget->style() : QApplication::style();
    style->drawControl(QStyle::CE_ItemViewItem, &itemOption, painter, widget);
    paintExtras(painter, option, index);
}

void FlashingRowStyleDelegate::paintExtras(QPainter* painter, const QStyleOptionViewItem& option,
                                           const QModelIndex& index) const
{
    paintProgress(painter, option, index);
    paintPlaceholder(painter, option, index);
}

void FlashingRowStyleDelegate::paintPlaceholder(QPainter* painter, const QStyleOptionViewItem& option,
                                                const QModelIndex& index) const
{
    const QString placeholder = index.data(PlaceholderRole).toString();
    if (placeholder.isEmpty() || !index.data(Qt::DisplayRole).toString().isEmpty())
        return;
    const QPalette& palette = view ? view->palette() : option.palette;
    painter->save();
    QFont font = option.font;
    font.setItalic(true);
    painter->setFont(font);
    painter->setPen(palette.color((option.state & QStyle::State_Selected) ? QPalette::HighlightedText
                                                                          : QPalette::PlaceholderText));
    const int margin =
        option.widget ? option.widget->style()->pixelMetric(QStyle::PM_FocusFrameHMargin) + 1 : 4;
    painter->drawText(option.rect.adjusted(margin, 0, -margin, 0), Qt::AlignLeft | Qt::AlignVCenter,
                      placeholder);
    painter->restore();
}

void FlashingRowStyleDelegate::paintProgress(QPainter* painter, const QStyleOptionViewItem& option,
                                             const QModelIndex& index) const
{
    const int count = index.data(ProgressActionCountRole).toInt();
    const int action = index.data(ProgressActionRole).toInt();
    if (count <= 0 || action <= 0)
        return;
    // Palette colours only, so the indication follows light and dark themes.
    const QPalette& palette = view ? view->palette() : option.palette;
    painter->save();
    const QRect rect = option.rect.adjusted(2, 0, -4, -1);
    const int percent =
        index.data(ProgressPercentRole).isValid() ? index.data(ProgressPercentRole).toInt() : -1;
    if (percent >= 0) {
        const QRect track(rect.left(), rect.bottom() - 2, rect.width(), 3);
        QColor trackColor = palette.color(QPalette::Mid);
        trackColor.setAlpha(90);
        painter->fillRect(track, trackColor);
        painter->fillRect(QRect(track.left(), track.top(), track.width() * qBound(0, percent, 100) / 100, 3),
                          palette.color(QPalette::Highlight));
    }
    QFont font = option.font;
    font.setPointSizeF(font.pointSizeF() * 0.85);
    painter->setFont(font);
    painter->setPen(palette.color(QPalette::PlaceholderText));
    painter->drawText(rect, Qt::AlignRight | Qt::AlignVCenter, tr("action %1 of %2").arg(action).arg(count));
    painter->restore();
}

void FlashingRowStyleDelegate::onTick()
{
    // Nothing painted flashing since the last repaint: the flashes are over or out of view.
    if (paintedFlashes.isEmpty()) {
        repaintTimer->stop();
        return;
    }
    // Repainting a flash that holds its colour would only redraw the same pixels.
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    if (now < nextChangeMs)
        return;
    // The cells repainted now come back in here when they are painted still flashing.
    QRegion changed;
    nextChangeMs = std::numeric_limits<qint64>::max();
    for (auto it = paintedFlashes.begin(); it != paintedFlashes.end();) {
        if (it->changesAtMs <= now) {
            changed += it->rect;
            it = paintedFlashes.erase(it);
        } else {
            nextChangeMs = std::min(nextChangeMs, it->changesAtMs);
            ++it;
        }
    }
    if (view)
        view->viewport()->update(changed);
}
