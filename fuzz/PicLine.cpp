// The decoding of a line of a PIC HEX file. The input's first byte is the room for decoded bytes.

#include "fuzz/FuzzTarget.h"
#include "fuzz/PlainReading.h"
#include "pic/PicHexRecord.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string input = toText(data, size);
    const std::string line = input.empty() ? "" : input.substr(1).c_str(); // as far as a NUL
    const std::size_t most = input.empty() ? 0 : data[0];
    std::vector<std::uint8_t> bytes(most + 1); // one more, for a null pointer is no buffer
    int count = 0;
    std::string failure;
    try {
        decodeHexLine(line.c_str(), static_cast<int>(line.size()), bytes.data(), &count,
                      static_cast<int>(most));
    } catch (const char* text) {
        failure = text;
    }
    const PlainPicLine plain(line, most);
    bytes.resize(static_cast<std::size_t>(count));
    expectSame(failure, plain.failure);
    if (bytes != plain.bytes) {
        std::abort();
    }
    return 0;
}
