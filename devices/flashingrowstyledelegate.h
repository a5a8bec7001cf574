#pragma once

#include <QHash>
#include <QRect>
#include <QStyledItemDelegate>

#include <limits>

class QColor;
class QTimer;
class QTreeView;

// Paints a short-lived coloured background behind the items of a row whose
// flash data is set: half strength during the hold time, then a quadratic
// fade. Its repaint timer runs only while some visible item is flashing, and
// repaints only the items whose painted flash changes colour.
class FlashingRowStyleDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    // Item data roles of the flash, set on every item of the flashing row.
    enum FlashRole
    {
        FlashStartRole = Qt::UserRole + 100, // qint64, ms since the epoch
        FlashColorRole = Qt::UserRole + 101, // QColor
        FlashHoldRole = Qt::UserRole + 102,  // int, ms at half strength
        FlashFadeRole = Qt::UserRole + 103   // int, ms of fading after the hold
    };

    // Item data roles of a running job's progress, set on a device's status item:
    // the action it runs, how many actions the job has, and the percentage of the
    // latest line (-1 when the line carries none). Drawn as a thin indication
    // under the status text; nothing is drawn while the action count is not set.
    enum ProgressRole
    {
        ProgressActionRole = Qt::UserRole + 110,
        ProgressActionCountRole = Qt::UserRole + 111,
        ProgressPercentRole = Qt::UserRole + 112
    };

    // A muted word drawn in a status cell whose text is empty, such as "Waiting" for a
    // device queued behind the concurrency limit: the status itself stays empty.
    enum StatusRole
    {
        PlaceholderRole = Qt::UserRole + 120
    };

    static constexpr int HoldMs = 5000;
    static constexpr int FadeMs = 2000;
    static constexpr int RepaintIntervalMs = 16;

    explicit FlashingRowStyleDelegate(QTreeView* view);

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;

    // Weight of the flash colour over the base colour `elapsedMs` after the
    // flash started; negative when the flash is over.
    static double fillWeight(qint64 elapsedMs, int holdMs, int fadeMs);

    // a × t + b × (1 − t) per channel, t clamped to [0, 1]; always opaque.
    static QColor blend(const QColor& a, const QColor& b, double t);

    bool isRepainting() const;

private:
    void onTick();
    // What is drawn over the standard item: the progress indication and the placeholder.
    void paintExtras(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const;
    void paintProgress(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const;
    void paintPlaceholder(QPainter* painter, const QStyleOptionViewItem& option,
                          const QModelIndex& index) const;

    // Each flashing cell painted, by its place in the viewport, with when its colour next
    // changes (ms since the epoch): a tick repaints the cells whose colour changed, not the
    // whole table, which on a busy bench has some row fading nearly all the time.
    struct PaintedFlash
    {
        QRect rect;
        qint64 changesAtMs = 0;
    };
    mutable QHash<quint64, PaintedFlash> paintedFlashes;
    // When the earliest painted flash next changes colour.
    mutable qint64 nextChangeMs = std::numeric_limits<qint64>::max();
    QTimer* repaintTimer = nullptr;
    QTreeView* view = nullptr;
};
