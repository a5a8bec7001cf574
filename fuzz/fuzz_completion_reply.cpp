#include "corvanereplies.h"
#include "fuzzsupport.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzSupport::ensureApplication();
    const QByteArray output = FuzzSupport::bytes(data, size);
    const QStringList partNumbers = CorvaneReplies::readCompletionReply(output);
    // Never more names than the reply can hold: each needs at least its two quotes and a separator.
    if (partNumbers.size() > output.size() / 3 + 1)
        FuzzSupport::fail("more part numbers than the reply can hold");
    return 0;
}
