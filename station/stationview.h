#pragma once

#include "stationunit.h"

#include <QHash>
#include <QWidget>

class QGridLayout;
class QLabel;
class QProgressBar;
class QPushButton;
class StationSession;
class StationTile;

// The operator's view of a station: a large tile per slot, the lot and its counters at the top, and
// buttons to start and stop hands-free runs. Nothing here changes the job, the devices or the
// settings; leaving, changing the lot and unlocking are asked of whoever owns the view.
class StationView : public QWidget
{
    Q_OBJECT

public:
    StationView(StationSession* session, const QString& jobName, const QString& imageHash,
                QWidget* parent = nullptr);

    StationTile* tile(const QString& slotId) const { return m_tiles.value(slotId); }
    // Locked: only starting, stopping and re-arming; unlocked also leaving and changing the lot.
    void setLocked(bool locked);
    void showMessage(const QString& message);
    // The lot's line, the counters and each tile again (after a lot change).
    void refresh();

signals:
    void unlockRequested();
    void lockRequested();
    void leaveRequested();
    void changeLotRequested();

private:
    void updateSlot(const QString& slotId);
    void updateCounters();
    void updateButtons();

    StationSession* m_session;
    QHash<QString, StationTile*> m_tiles;
    // The data pool values of each slot's last unit.
    QHash<QString, QStringList> m_poolValues;
    QGridLayout* m_grid = nullptr;
    QLabel* m_lot = nullptr;
    QLabel* m_counters = nullptr;
    QLabel* m_job = nullptr;
    QLabel* m_message = nullptr;
    QProgressBar* m_progress = nullptr;
    QPushButton* m_start = nullptr;
    QPushButton* m_stop = nullptr;
    QPushButton* m_lock = nullptr;
    QPushButton* m_changeLot = nullptr;
    QPushButton* m_leave = nullptr;
    bool m_locked = true;
    bool m_started = false;
};
