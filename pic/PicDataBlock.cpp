#include "pic/PicDataBlock.h"

#include "base/BigEndian.h"
#include "base/Checksum.h"

#include <algorithm>
#include <utility>

namespace {

// An erased 14-bit program word, low byte first.
constexpr std::uint8_t fillerLow = 0xFF;
constexpr std::uint8_t fillerHigh = 0x3F;

/// Puts the filler behind the first `used` bytes of a row: the low byte at even positions.
void fillRow(std::span<std::uint8_t> row, std::size_t used)
{
    for (std::size_t i = used; i < row.size(); ++i) {
        row[i] = i % 2 == 0 ? fillerLow : fillerHigh;
    }
}

} // namespace

void PicDataBlock::addRow(std::uint32_t address, std::span<const std::uint8_t> data)
{
    if (isEmpty()) {
        writeBigEndian32(payload.address.data(), address);
    }
    const std::span<std::uint8_t> target = row(rowCount);
    std::copy(data.begin(), data.end(), target.begin());
    fillRow(target, data.size());
    ++rowCount;
}

std::span<std::uint8_t> PicDataBlock::close(bool swapsWords)
{
    for (std::size_t i = rowCount; i < picRowsPerBlock; ++i) {
        fillRow(row(i), 0);
    }
    payload.checksum =
        twosComplementChecksum(bytes().first(offsetof(PicDataBlockPayload, checksum)));
    if (swapsWords) {
        swapWords();
    }
    rowCount = 0;
    return bytes();
}

void PicDataBlock::swapWords()
{
    for (std::size_t i = 0; i < payload.rows.size(); i += 2) {
        if (payload.rows[i] == fillerHigh && payload.rows[i + 1] == fillerLow) {
            std::swap(payload.rows[i], payload.rows[i + 1]);
        }
    }
}

std::span<std::uint8_t> PicDataBlock::row(std::size_t index)
{
    return std::span(payload.rows).subspan(index * picRowSize, picRowSize);
}

std::span<std::uint8_t> PicDataBlock::bytes()
{
    return {reinterpret_cast<std::uint8_t*>(&payload), sizeof(payload)};
}
