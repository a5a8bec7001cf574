#pragma once

#include "jobrunengine.h"
#include "stationallowlist.h"
#include "stationoptions.h"
#include "stationslot.h"
#include "stationunit.h"

#include <QElapsedTimer>
#include <QMap>
#include <QObject>

class CorvaneProcessRunner;
class QTimer;
struct CorvaneProcessResult;

// Hands-free runs: polls the bench with the tool's own commands ("adapter list", and "device info"
// for the target trigger), keeps one slot per adapter it sees and starts the job on a slot's board
// when the slot's tracker says so. Each unit runs through a job run engine of its own, so slots
// start and end independently. Polls never overlap (the next waits for the last reply plus the poll
// interval) and leave alone the adapter of a slot that is running. No widgets: the station view and
// the headless station both listen to its signals.
class StationEngine : public QObject
{
    Q_OBJECT

public:
    explicit StationEngine(QObject* parent = nullptr);
    ~StationEngine() override;

    void setOptions(const StationOptions& options);
    const StationOptions& options() const { return m_options; }

    // The job every unit runs: steps, bundle devices and run settings (its `devices` are ignored).
    // Changing it disarms every slot, so no board in place is programmed with a job it was not
    // placed for.
    void setJob(const JobRunRequest& job);
    // Steps enabled in the job: the n of "action k of n".
    int actionCount() const { return m_actionNumbers.size(); }

    // Begins watching the bench and starting units.
    void start();
    // No new units start; polls go on so slots keep track of their boards.
    void holdStarts(bool hold);
    bool startsHeld() const { return m_held; }
    // At most this many more units may start (-1: no limit); running units count against it.
    void setStartBudget(int units) { m_budget = units; }
    // Ends the running units at once.
    void killRunning();
    // Stops polling; running units go on.
    void stopPolling();

    // The operator asks for another try on a slot (a failed board left in place, an interrupted unit).
    void rearm(const QString& slotId);
    // A slot whose unit was cut short earlier (a crash): shown INTERRUPTED and not armed.
    void markInterrupted(const QString& slotId, const QString& nickname, const QString& what);

    QStringList slotIds() const { return m_slots.keys(); }
    const StationSlot* slot(const QString& id) const;
    int runningCount() const;
    int pollCycles() const { return m_cycles; }

signals:
    void errorEncountered(const QString& message);
    void slotChanged(const QString& slotId);
    void unitStarted(const QString& slotId);
    void unitFinished(const StationUnit& unit);
    // The last running unit has ended (after killRunning or a hold).
    void idle();

private:
    void poll();
    void onPollFinished(const CorvaneProcessResult& result);
    void onListed(const CorvaneProcessResult& result);
    void onInfo(const QString& slotId, const CorvaneProcessResult& result);
    void endOfPoll();
    void abandonPoll();
    void observe(StationSlot& slot, bool present);
    StationSlot& slotFor(const QString& serial, const QString& nickname);
    void startUnit(StationSlot& slot);
    void onUnitOutput(const QString& slotId, const QByteArray& line);
    void onUnitFinished(const QString& slotId, const JobDeviceRun& run);
    void onUnitEnded(const QString& slotId);
    void setState(StationSlot& slot, StationSlot::State state, const QString& reason = QString());
    bool mayStart(const StationSlot& slot) const;
    qint64 nowMs() const { return m_clock.elapsed(); }

    StationOptions m_options;
    JobRunRequest m_job;
    StationAllowList m_allow;
    // Position in the job file → place among the enabled steps.
    QMap<int, int> m_actionNumbers;
    QMap<QString, StationSlot> m_slots;
    CorvaneProcessRunner* m_pollRunner = nullptr;
    QTimer* m_pollTimer = nullptr;
    // Ends a poll whose replies never all came (a tool that would not start leaves no result).
    QTimer* m_pollWatchdog = nullptr;
    QElapsedTimer m_clock;
    bool m_polling = false;
    bool m_held = false;
    int m_budget = -1;
    int m_pendingPolls = 0;
    int m_cycles = 0;
};
