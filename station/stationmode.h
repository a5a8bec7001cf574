#pragma once

#include "jobhash.h"
#include "jobrunengine.h"
#include "stationlock.h"
#include "stationoptions.h"

#include <QElapsedTimer>
#include <QObject>
#include <QPointer>

class QAction;
class QMainWindow;
class QTimer;
class StationSession;
class StationView;

// Station mode in the main window: the station view takes the place of the engineer's page, and
// only the station password lets anyone in or out. The password is kept in the settings only as
// StationLock's salted record; every lock, unlock, failed try and lot change goes to the store's
// audit. While the view is up the window's menus are disabled, so nothing reaches the job, the
// devices or the settings.
class StationMode : public QObject
{
    Q_OBJECT

public:
    explicit StationMode(QMainWindow* window);
    ~StationMode() override;

    bool isActive() const { return m_view != nullptr; }
    StationView* view() const { return m_view; }
    StationSession* session() const { return m_session; }
    const StationLock& lock() const { return m_lock; }

    // Asks for the password (the first time: a new one), the lot and its quantity, then shows the
    // station view with the job.
    void enter(const JobRunRequest& job, const JobFileOrigin& origin);
    // Asks for the password, then gives the window back to the page.
    void leave();

    // The parts of the above without dialogs.
    // Sets the first password; false when there is one already or it is too short.
    bool setPassword(const QString& password);
    // Empty when the password unlocked the station; otherwise what to tell whoever typed it.
    QString tryPassword(const QString& password);
    // Shows the view for the job and lot; false with the reason in *error.
    bool begin(const JobRunRequest& job, const QString& jobName, const QString& lot, int quantity,
               QString* error, const StationOptions& options = StationOptions());
    // Changes the lot shown and counted; the engine's slots keep their boards.
    bool changeLot(const QString& lot, int quantity, QString* error);
    void lockNow();
    void end();

    static QString settingsGroup();
    static QString passwordRecordKey();

signals:
    void errorEncountered(const QString& message);
    void entered();
    void left();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    bool askPassword(const QString& title);
    bool askLot(QString* lot, int* quantity);
    void checkIdle();
    void audit(const QString& what, const QString& oldValue, const QString& newValue);
    bool ensureStore();
    void setWindowActionsEnabled(bool enabled);

    QMainWindow* m_window;
    StationLock m_lock;
    QElapsedTimer m_clock;
    QTimer* m_idleTimer = nullptr;
    StationSession* m_session = nullptr;
    StationView* m_view = nullptr;
    QPointer<QWidget> m_page;
    JobRunRequest m_job;
    QString m_jobFile;
    // The window's actions that were enabled before the view came up.
    QList<QPointer<QAction>> m_disabledActions;
};
