#include "corvanereplies.h"
#include "fuzzsupport.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzSupport::ensureApplication();
    const CorvaneReplies::DetectionReply reply =
        CorvaneReplies::readDetectionReply(FuzzSupport::bytes(data, size));
    if (reply.ok != reply.errorMessage.isEmpty())
        FuzzSupport::fail("ok and the error message disagree");
    if (!reply.ok && !reply.partNumber.isEmpty())
        FuzzSupport::fail("a failed detection named a part");
    return 0;
}
