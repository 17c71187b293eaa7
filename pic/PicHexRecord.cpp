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

bool PicHexRecord::isTooShort() const
{
    return static_cast<std::size_t>(count) < intelHexRecordSize(0);
}

std::uint16_t PicHexRecord::offset() const
{
    return readBigEndian16(&bytes[intelHexAddressOffset]);
}

std::span<const std::uint8_t> PicHexRecord::dataAndChecksum() const
{
    return std::span(bytes).first(static_cast<std::size_t>(count)).subspan(intelHexDataOffset);
}
