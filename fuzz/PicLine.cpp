// The decoding of a line of a PIC HEX file. The input's first byte is the room for decoded bytes.

#include "fuzz/FuzzTarget.h"
#include "pic/PicHexRecord.h"

#include <vector>

namespace {

/// The bytes, or why there are none.
std::string plainLine(const std::string& line, std::size_t most)
{
    if (line[0] != ':') {
        return "Invalid start character in HEX file.";
    }
    std::string digits = line.substr(1, line.find_first_of("\r\n", 1) - 1);
    const bool hasLineEnd = digits.size() + 1 < line.size();
    digits = digits.substr(0, 2 * most);
    if (digits.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos ||
        (digits.size() % 2 != 0 && !hasLineEnd)) {
        return "Invalid byte format in data";
    }
    std::string bytes;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
        bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    }
    return bytes;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string input = toText(data, size) + '\0';
    const std::string line = input.c_str() + 1;
    const auto most = static_cast<std::uint8_t>(input[0]);
    std::vector<std::uint8_t> bytes(most + 1U); // not empty, for null is no buffer
    std::string actual;
    try {
        int count = 0;
        decodeHexLine(line.c_str(), static_cast<int>(line.size()), bytes.data(), &count, most);
        actual = toText(bytes.data(), static_cast<std::size_t>(count));
    } catch (const char* failure) {
        actual = failure;
    }
    expect(actual == plainLine(line, most), line.c_str());
    return 0;
}
