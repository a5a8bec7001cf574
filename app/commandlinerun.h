#pragma once

#include <QObject>
#include <QStringList>

class CorvaneProcessRunner;
class JobRunEngine;
class QTextStream;
class QTimer;
struct JobDeviceRun;

// "harnwick --run BUNDLE": runs a job bundle's devices without a window, with
// the same engine and the same invocations as the page. One line per device
// outcome and a summary go to the output stream; on a terminal a live
// progress line is kept at its bottom; messages go to the error stream.
class CommandLineRun : public QObject
{
    Q_OBJECT

public:
    enum ExitCode
    {
        AllDone = 0,
        SomeUnsuccessful = 1,
        CannotRun = 2
    };

    // `interactive`: the output is a terminal, so the progress line may be redrawn in place.
    CommandLineRun(QTextStream& out, QTextStream& err, bool interactive, QObject* parent = nullptr);
    ~CommandLineRun() override;

    // True when the arguments ask for the command line rather than the window.
    static bool isCommandLine(const QStringList& arguments);
    // What to say instead of opening a window when there is no display to open it on
    // (no X11 or Wayland display and no Qt platform named); empty when there is one.
    static QString noDisplayMessage(const QStringList& arguments);

    // Runs what the arguments (program name first) ask for; returns the exit status.
    int exec(const QStringList& arguments);

public slots:
    // The first call aborts the devices not yet started, as the Abort button does;
    // the second ends the running ones as well.
    void interrupt();

private:
    int usageError(const QString& message);
    void printHelp();
    void printOutcome(const JobDeviceRun& run);
    void printAborted(const QString& id);
    void printLine(const QString& line, QTextStream& stream);
    static QString outcomeLine(const QString& outcome, const QString& id, const QString& nickname,
                               const QString& details = QString());
    void drawProgress();
    QString nicknameOf(const QString& id) const;

    QTextStream& out;
    QTextStream& err;
    bool interactive;
    CorvaneProcessRunner* runner = nullptr;
    JobRunEngine* engine = nullptr;
    QTimer* progressTimer = nullptr;
    bool progressShown = false;
    int interrupts = 0;
};
