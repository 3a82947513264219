// Feeds arbitrary bytes to the project decoder. Whatever decodes must survive a second trip through
// the encoder unchanged; nothing may crash, hang or leak.
#include "project/Project.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    const auto project = orvane::decodeProject(bytes);
    if (!project)
        return 0;
    const auto encoded = orvane::encodeProject(*project);
    if (!encoded)
        std::abort();
    const auto again = orvane::decodeProject(*encoded);
    if (!again || !(*again == *project))
        std::abort();
    return 0;
}
