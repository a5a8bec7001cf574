#include "fuzzsupport.h"
#include "jobsteps.h"

#include <QProcess>
#include <QStringList>

// The custom command page splits its text as QProcess::splitCommand does, and a loaded job shows the stored
// arguments joined back into text. Whatever the user stored must come back unchanged.
namespace {

QStringList split(const QString& text)
{
    return QProcess::splitCommand(text);
}

void report(const char* what, const QStringList& expected, const QStringList& actual, const QString& text)
{
    std::fprintf(stderr, "%s\n  text:     [%s]\n", what, qPrintable(text));
    for (const QString& argument : expected)
        std::fprintf(stderr, "  expected: [%s]\n", qPrintable(argument));
    for (const QString& argument : actual)
        std::fprintf(stderr, "  actual:   [%s]\n", qPrintable(argument));
    FuzzSupport::fail(what);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzSupport::ensureApplication();
    const QByteArray input = FuzzSupport::bytes(data, size);

    // The input as an argument list, one argument per NUL-separated piece.
    QStringList arguments;
    for (const QByteArray& piece : input.split('\0'))
        arguments << QString::fromUtf8(piece);
    // The splitter never yields an empty argument, so an empty stored one cannot come back; it is
    // written as "" and read as nothing, and the rest must still be intact.
    QStringList expected = arguments;
    expected.removeAll(QString());
    const QString joined = JobSteps::joinCommandArguments(arguments);
    const QStringList again = split(joined);
    if (again != expected)
        report("split(join(arguments)) differs from the arguments", expected, again, joined);

    // The input as the text of the command field.
    const QStringList words = split(QString::fromUtf8(input));
    const QString rejoined = JobSteps::joinCommandArguments(words);
    const QStringList wordsAgain = split(rejoined);
    if (wordsAgain != words)
        report("split(join(split(text))) differs from split(text)", words, wordsAgain, rejoined);
    return 0;
}
