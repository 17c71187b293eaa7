// The event listener on a block. The stand-in for the common library takes the calls that keys
// make.

#include "fuzz/FuzzTarget.h"
#include "listeners/ArmEventTestTask.h"

#include <algorithm>

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string block = toText(data, std::min(size, maxBlockSize));
    deliver(block);
    const std::string printed = capture([] { ArmEventTestTask().run(); });
    const bool hasUnknown = printed.find("Unhandled key/value") != std::string::npos;
    const std::string dump = "Maybe broken?: " + std::to_string(block.size()) + "\n";
    expect(hasUnknown == (printed.find(dump) != std::string::npos), printed);
    const bool isShort = printed.starts_with("Did not read enough bytes");
    expect(isShort == (block.size() <= sizeof(ArmRecordHeader)), printed);
    return 0;
}
