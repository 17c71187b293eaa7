// The event listener on a block. The stand-in for the library takes the calls that keys make.

#include "fuzz/FuzzTarget.h"
#include "listeners/ArmEventTestTask.h"

#include <algorithm>
#include <regex>

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string block = toText(data, std::min(size, maxBlockSize));
    deliver(block);
    const std::string printed = capture(stdout, [] { ArmEventTestTask().run(); });
    static const std::regex entry("Key: |charge:|\\nid:|No Records"); // of 8 bytes and more
    const std::sregex_iterator entries(printed.begin(), printed.end(), entry);
    expect(std::distance(entries, std::sregex_iterator()) * 8 <
               std::max<std::ptrdiff_t>(std::ssize(block), 1),
           "no entry that is not in the block, and no record of a header with nothing behind it");
    expect((printed.find("Unhandled key/value ") == std::string::npos) ==
               (printed.find("Maybe broken?: ") == std::string::npos),
           "the whole block is shown if, and only if, it holds something unknown");
    return 0;
}
