#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

inline constexpr std::size_t picRowSize = 16;
inline constexpr std::size_t picRowsPerBlock = 4;

/// Payload of the data block command as the bootloaders take it.
struct PicDataBlockPayload {
    std::array<std::uint8_t, 4> address; ///< of the first row, big-endian
    std::array<std::uint8_t, picRowsPerBlock * picRowSize> rows;
    std::uint8_t checksum; ///< two's complement of the sum of all bytes before it
};
static_assert(sizeof(PicDataBlockPayload) == 69);
static_assert(offsetof(PicDataBlockPayload, address) == 0);
static_assert(offsetof(PicDataBlockPayload, rows) == 4);
static_assert(offsetof(PicDataBlockPayload, checksum) == 68);

/// Collects program rows into the payload of a data block command. Only the first row's address is
/// kept: the others are taken to follow it.
class PicDataBlock {
public:
    /// Adds a row of at most 16 bytes to a block that is not full. What a block's rows leave over
    /// is filler.
    void addRow(std::uint32_t address, std::span<const std::uint8_t> data);

    [[nodiscard]] bool isEmpty() const { return rowCount == 0; }
    [[nodiscard]] bool isFull() const { return rowCount == picRowsPerBlock; }

    /// Ends the block: computes the checksum; with `swapsWords` every word 3F FF of the data is
    /// turned into FF 3F, which leaves the checksum right. Hands out the 69 bytes of the payload,
    /// which stay valid until the next row is added to the block, now empty.
    std::span<std::uint8_t> close(bool swapsWords);

private:
    void fillRows();
    void swapWords();
    std::span<std::uint8_t> bytes();

    PicDataBlockPayload payload{};
    std::size_t rowCount = 0;
};
