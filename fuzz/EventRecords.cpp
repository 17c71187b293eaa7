// The event listener on a block: which entries of which records it prints, and whether it shows the
// whole block. The stand-in for the common library takes the calls that keys make.

#include "fuzz/FuzzTarget.h"
#include "fuzz/PlainReading.h"
#include "listeners/ArmEventTestTask.h"

#include <algorithm>
#include <array>
#include <sstream>

namespace {

constexpr std::array shownLines{"Key: ", "Count changed: ", "*", "charge:", "id:", "Error", "Did"};

std::string line(const std::string& head, std::uint32_t value)
{
    return head + std::to_string(static_cast<std::int32_t>(value));
}

std::string plainEntry(std::uint32_t tag, const std::string& entry)
{
    const std::uint32_t first = plainWord(entry, 0);
    const std::uint32_t second = plainWord(entry, 4);
    switch (tag) {
    case 0xfeedbe01:
        return line("Key: ", first) + line(" state: ", plainWord(entry, 8)) +
               line(" time: ", second) + "\n";
    case 0xfeedbe02:
        if (first == 2) {
            return line("Count changed: ", second) + "\n";
        }
        return first == 1 || first == 3 ? ""
                                        : line("*************** Unhandled key/value ", first) +
                                              line(":", second) + " *******************\n";
    case 0xfeedbe03:
        return "charge:" + std::to_string(first) +
               "\ncharge:" + std::to_string(plainWord(entry, 40)) + "\n";
    default:
        return "id:" + std::to_string(first % 256) + "\n";
    }
}

/// The first line of each entry; of values only the counter's and those that are not known.
std::string plainLines(const std::string& block)
{
    if (block.size() < 9) {
        return "Did not read enough bytes, only: " + std::to_string(block.size()) + "\n";
    }
    std::string lines;
    for (const PlainRecord& record : plainRecords(block)) {
        const std::uint32_t kind = record.tag - 0xfeedbe01;
        if (kind > 3) {
            continue;
        }
        constexpr std::array<std::size_t, 4> sizes{12, 8, 80, 8};
        if (kind == 2 && record.payload.size() < sizes[kind]) {
            lines += "Error Dumping Bat Events. No Records\n";
        } else if (kind == 3 && record.payload.size() < sizes[kind]) {
            lines += "Error Dumping DLS Events. No Records\n";
        }
        for (std::size_t i = 0; i + sizes[kind] <= record.payload.size(); i += sizes[kind]) {
            lines += plainEntry(record.tag, record.payload.substr(i, sizes[kind]));
        }
    }
    if (lines.find("Unhandled") != std::string::npos) {
        lines += "****************Maybe broken?: " + std::to_string(block.size()) + "\n" +
                 std::string(41, '*') + "\n";
    }
    return lines;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string block = toText(data, std::min(size, std::size_t{4096}));
    deliver(block);
    std::istringstream printed(capture([] { ArmEventTestTask().run(); }));
    std::string lines;
    for (std::string text; std::getline(printed, text);) {
        const auto begins = [&](const char* head) { return text.starts_with(head); };
        if (std::any_of(shownLines.begin(), shownLines.end(), begins)) {
            lines += text + "\n";
        }
    }
    expectSame(lines, plainLines(block));
    return 0;
}
