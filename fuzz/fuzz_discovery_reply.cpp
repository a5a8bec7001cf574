#include "corvanereplies.h"
#include "fuzzsupport.h"

// The first byte is the exit code (as a signed byte, so negative codes occur too); the rest is the output.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzSupport::ensureApplication();
    if (size == 0)
        return 0;
    const int exitCode = static_cast<std::int8_t>(data[0]);
    const CorvaneReplies::DiscoveryReply reply =
        CorvaneReplies::readDiscoveryReply(exitCode, FuzzSupport::bytes(data + 1, size - 1));
    if (reply.ok != reply.errorMessage.isEmpty())
        FuzzSupport::fail("ok and the error message disagree");
    if (exitCode != 0 && reply.ok)
        FuzzSupport::fail("a failed process was read as a success");
    if (!reply.ok && !reply.adapters.isEmpty())
        FuzzSupport::fail("a failed reply listed adapters");
    return 0;
}
