#pragma once

#include <QByteArray>
#include <QCoreApplication>
#include <QFile>
#include <QString>
#include <QTemporaryDir>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

// What every fuzz target shares: one application object and one scratch folder per process.
namespace FuzzSupport {

inline void ensureApplication()
{
    // Kept for the whole run and never deleted: Qt's statics outlive LLVMFuzzerTestOneInput.
    static int argc = 1;
    static char name[] = "harnwick-fuzz";
    static char* argv[] = {name, nullptr};
    static QCoreApplication* application =
        QCoreApplication::instance() ? nullptr : new QCoreApplication(argc, argv);
    (void)application;
}

// Stops the run as a finding; libFuzzer keeps the input that led here.
[[noreturn]] inline void fail(const char* what)
{
    std::fprintf(stderr, "broken property: %s\n", what);
    std::abort();
}

// Writes the input to the same file in a folder made once per process, and returns its path.
inline QString writeInputFile(const std::uint8_t* data, std::size_t size, const QString& fileName)
{
    ensureApplication();
    static QTemporaryDir directory;
    if (!directory.isValid())
        fail("no temporary folder");
    const QString path = directory.filePath(fileName);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
        file.write(reinterpret_cast<const char*>(data), qint64(size)) != qint64(size))
        fail("cannot write the input file");
    return path;
}

inline QByteArray bytes(const std::uint8_t* data, std::size_t size)
{
    return QByteArray(reinterpret_cast<const char*>(data), int(size));
}

} // namespace FuzzSupport
