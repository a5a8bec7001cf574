#pragma once

#include "stationunit.h"

#include <QObject>
#include <QStringList>

class QEventLoop;
class QTextStream;
class StationEngine;
class StationSession;

// "harnwick --station BUNDLE.hwj --lot NAME --quantity N ...": the hands-free station without a
// display. One line per unit as it ends and a count line at the end; it stops when the lot's
// quantity has passed. The lot's units are kept in the production store, so its counters go on
// where they stood after a crash, and units cut short then are shown INTERRUPTED. The first interrupt stops
// new starts and lets running units finish, the second ends them.
class StationCommandLine : public QObject
{
    Q_OBJECT

public:
    enum ExitCode
    {
        Complete = 0,
        CutShort = 1,
        BadUsage = 2
    };

    StationCommandLine(QTextStream& out, QTextStream& err, QObject* parent = nullptr);
    ~StationCommandLine() override;

    // True when the arguments (program name first) ask for the headless station.
    static bool isStation(const QStringList& arguments);

    int exec(const QStringList& arguments);

public slots:
    void interrupt();

private:
    int usageError(const QString& message);
    void onUnitFinished(const StationUnit& unit);
    void finishIfDone();
    QString slotName(const QString& slotId) const;
    void printCounts();

    QTextStream& out;
    QTextStream& err;
    StationEngine* engine = nullptr;
    QEventLoop* loop = nullptr;
    StationSession* session = nullptr;
    QString lot;
    QString lastError;
    int quantity = 0;
    int interrupts = 0;
    bool cutShort = false;
    bool lotComplete = false;
};
