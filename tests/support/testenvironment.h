#pragma once

#include <QString>
#include <QTemporaryDir>

// Paths and helpers shared by the tests. The test main points HOME, the XDG
// folders and the settings store at a temporary folder before anything runs,
// so no test touches the real user's files.
namespace TestEnvironment {

// The temporary folder that stands in for the user's home.
QString homePath();

// Writes an executable shell script and returns its path.
QString writeScript(const QString& directory, const QString& name, const QString& body);

// A throw-away folder for the scripts that stand in for programs.
class ScriptFolder
{
public:
    QString script(const QString& name, const QString& body) const
    {
        return writeScript(dir.path(), name, body);
    }
    QString filePath(const QString& name) const { return dir.filePath(name); }
    QString path() const { return dir.path(); }

private:
    QTemporaryDir dir;
};

// The device simulator built with the project, which stands in for the device tool;
// HARNWICK_TEST_SIMULATOR names another program to use instead (a wrapper that
// starts it through an emulator).
QString simulatorPath();

// The Harnwick program the tests start as a process (built is its path in the build). Under an
// emulator HARNWICK_TEST_PROGRAM names a wrapper that starts it, as for the simulator. Start it
// with a ForkedProcess: there a QProcess's start can fail and signal unrelated processes.
QString programPath(const QString& built);

// Whether processes start and run many times slower than natively: under an emulator (the cross
// test run) or with the sanitizers (HARNWICK_TEST_SLOW=1 from both). Checks of how things line up
// with a timeline on the wall clock cannot hold there; the native pass makes them.
bool slowProcesses();

// Removes every setting of the program, so a test starts from first-run state.
void clearSettings();

} // namespace TestEnvironment
