// The decoding of a line of a PIC HEX file. The input's first byte is the room for decoded bytes.

#include "fuzz/FuzzTarget.h"
#include "fuzz/PlainReading.h"
#include "pic/PicHexRecord.h"

#include <vector>

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string input = toText(data, size) + '\0';
    const std::string line = upToNul(input.substr(1));
    const auto most = static_cast<std::uint8_t>(input[0]);
    std::vector<std::uint8_t> bytes(most + 1U); // not empty, for null is no buffer
    std::string actual;
    std::string expected;
    try {
        int count = 0;
        decodeHexLine(line.c_str(), static_cast<int>(line.size()), bytes.data(), &count, most);
        actual = toText(bytes.data(), static_cast<std::size_t>(count));
    } catch (const char* failure) {
        actual = failure;
    }
    try {
        expected = plainPicLine(line, most);
    } catch (const std::string& failure) {
        expected = failure;
    }
    expectSame(actual, expected);
    return 0;
}
