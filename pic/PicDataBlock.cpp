#include "pic/PicDataBlock.h"

#include "base/BigEndian.h"
#include "base/Checksum.h"

#include <algorithm>
#include <utility>

namespace {

// An erased 14-bit program word, low byte first.
constexpr std::uint8_t fillerLow = 0xFF;
constexpr std::uint8_t fillerHigh = 0x3F;

} // namespace

void PicDataBlock::addRow(std::uint32_t address, std::span<const std::uint8_t> data)
{
    if (isEmpty()) {
        writeBigEndian32(payload.address.data(), address);
        fillRows();
    }
    std::ranges::copy(data, &payload.rows[rowCount * picRowSize]);
    ++rowCount;
}

std::span<std::uint8_t> PicDataBlock::close(bool swapsWords)
{
    payload.checksum =
        twosComplementChecksum(bytes().first(offsetof(PicDataBlockPayload, checksum)));
    if (swapsWords) {
        swapWords();
    }
    rowCount = 0;
    return bytes();
}

void PicDataBlock::fillRows()
{
    for (std::size_t i = 0; i < payload.rows.size(); i += 2) {
        payload.rows[i] = fillerLow;
        payload.rows[i + 1] = fillerHigh;
    }
}

void PicDataBlock::swapWords()
{
    for (std::size_t i = 0; i < payload.rows.size(); i += 2) {
        if (payload.rows[i] == fillerHigh && payload.rows[i + 1] == fillerLow) {
            std::swap(payload.rows[i], payload.rows[i + 1]);
        }
    }
}

std::span<std::uint8_t> PicDataBlock::bytes()
{
    return {reinterpret_cast<std::uint8_t*>(&payload), sizeof(payload)};
}
