// The event listener on a block: which entries of which records it prints, and whether it shows the
// whole block. The stand-in for the common library takes the calls that keys make.

#include "fuzz/FuzzTarget.h"
#include "fuzz/PlainReading.h"
#include "listeners/ArmEventTestTask.h"

#include <algorithm>
#include <array>
#include <map>
#include <sstream>

namespace {

const std::string unknownValue = "*************** Unhandled key/value ";
const std::string noBatteries = "Error Dumping Bat Events. No Records";
const std::string noDls = "Error Dumping DLS Events. No Records";
const std::string wholeBlock = "****************Maybe broken?: ";
const std::array heads{std::string("Key: "),
                       std::string("Magnetic sensor: "),
                       std::string("Count changed: "),
                       std::string("Fault code: "),
                       std::string("charge:"),
                       std::string("id:"),
                       unknownValue,
                       noBatteries,
                       noDls,
                       wholeBlock};

std::string line(const std::string& head, std::int64_t number)
{
    return head + std::to_string(number) + "\n";
}

std::string plainEntry(std::uint32_t tag, const std::string& entry)
{
    const auto first = static_cast<std::int32_t>(plainWord(entry, 0));
    switch (tag) {
    case 0xfeedbe01:
        return line("Key: ", first);
    case 0xfeedbe02:
        if (first < 1 || first > 3) {
            return line(unknownValue, first);
        }
        return line(heads[static_cast<std::size_t>(first)],
                    first == 2 ? static_cast<std::int32_t>(plainWord(entry, 4)) : 0);
    case 0xfeedbe03:
        return line("charge:", plainWord(entry, 0)) + line("charge:", plainWord(entry, 40));
    default:
        return line("id:", first & 0xFF);
    }
}

/// The lines that begin with one of the heads, as far as the decimal number behind it.
std::string plainLines(const std::string& block)
{
    const std::map<std::uint32_t, std::size_t> sizes{
        {0xfeedbe01, 12}, {0xfeedbe02, 8}, {0xfeedbe03, 80}, {0xfeedbe04, 8}};
    std::string lines;
    for (const PlainRecord& record : plainRecords(block)) {
        const std::size_t size = sizes.contains(record.tag) ? sizes.at(record.tag) : maxBlockSize;
        if (record.payload.size() < size) {
            lines += record.tag == 0xfeedbe03 ? line(noBatteries, 0) : "";
            lines += record.tag == 0xfeedbe04 ? line(noDls, 0) : "";
        }
        for (std::size_t i = 0; i + size <= record.payload.size(); i += size) {
            lines += plainEntry(record.tag, record.payload.substr(i, size));
        }
    }
    const bool hasUnknown = lines.find(unknownValue) != std::string::npos;
    return hasUnknown ? lines + line(wholeBlock, static_cast<std::int64_t>(block.size())) : lines;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string block = toText(data, std::min(size, maxBlockSize));
    deliver(block);
    std::istringstream printed(capture([] { ArmEventTestTask().run(); }));
    std::string lines;
    for (std::string text; std::getline(printed, text);) {
        for (const std::string& head : heads) {
            if (text.starts_with(head)) {
                lines += line(head, std::strtoll(text.c_str() + head.size(), nullptr, 10));
            }
        }
    }
    expectSame(lines, plainLines(block));
    return 0;
}
