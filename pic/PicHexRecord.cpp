#include "pic/PicHexRecord.h"

#include "base/BigEndian.h"
#include "base/HexDigits.h"

#include <cstring>

namespace {

/// Value of a digit, or `notHexDigit` for a line end. Throws for any other character.
int decodeDigit(char character)
{
    const int value = hexDigitValue(character);
    if (value == notHexDigit && !isLineEnd(character)) {
        throw "Invalid byte format in data";
    }
    return value;
}

} // namespace

void decodeHexLine(const char* line, int length, std::uint8_t* out, int* count, int max)
{
    if (line == nullptr || out == nullptr || count == nullptr) {
        throw "Invalid params";
    }
    *count = 0;
    if (line[0] != ':') {
        throw "Invalid start character in HEX file.";
    }
    // A digit left over at the end of the text is paired with the terminating NUL, and so refused.
    for (int position = 1; position < length && *count < max; position += 2) {
        const int high = decodeDigit(line[position]);
        if (high == notHexDigit) {
            return;
        }
        const int low = decodeDigit(line[position + 1]);
        if (low == notHexDigit) {
            return;
        }
        out[(*count)++] = static_cast<std::uint8_t>(high << 4 | low);
    }
}

PicHexRecord::PicHexRecord(const char* line)
{
    decodeHexLine(line, static_cast<int>(std::strlen(line)), bytes.data(), &count,
                  maxPicRecordBytes);
}

std::uint32_t PicHexRecord::address() const
{
    return readBigEndian16(&bytes[intelHexAddressOffset]);
}

std::uint32_t PicHexRecord::upperAddress() const
{
    if (!holds(intelHexDataOffset + extendedLinearAddressSize)) {
        throw "Extended address record without an address";
    }
    return std::uint32_t{readBigEndian16(&bytes[intelHexDataOffset])} << 16;
}

std::span<const std::uint8_t> PicHexRecord::data() const
{
    const std::size_t length = bytes[intelHexLengthOffset];
    if (!holds(intelHexRecordSize(length))) {
        throw "Fewer data bytes in line than its byte count says";
    }
    return std::span(bytes).subspan(intelHexDataOffset, length);
}
