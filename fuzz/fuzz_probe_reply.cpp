#include "corvanereplies.h"
#include "fuzzsupport.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzSupport::ensureApplication();
    const CorvaneReplies::ProbeReply reply = CorvaneReplies::readProbeReply(FuzzSupport::bytes(data, size));
    if (reply.ok != reply.errorMessage.isEmpty())
        FuzzSupport::fail("ok and the error message disagree");
    if (!reply.ok && reply.toolTip.isEmpty())
        FuzzSupport::fail("a failed probe has no tool tip");
    return 0;
}
