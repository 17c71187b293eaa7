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
/// kept: the others are expected to follow it.
class PicDataBlock {
public:
    /// Adds a row of 1 to 16 bytes to a block that is not full. A shorter row is completed with the
    /// filler. Throws a constant string if the row is too long.
    void addRow(std::uint32_t address, std::span<const std::uint8_t> data);

    bool isEmpty() const { return rowCount == 0; }
    bool isFull() const { return rowCount == picRowsPerBlock; }

    /// Fills the rows that are left with the filler.
    void fillUp();

    /// Computes the checksum, which ends the collecting of rows.
    void close();

    /// Turns every word 3F FF of the data into FF 3F. The checksum stays right.
    void swapWords();

    /// Starts over with an empty block.
    void clear() { rowCount = 0; }

    /// The 69 bytes of the payload.
    std::span<std::uint8_t> bytes();

private:
    std::span<std::uint8_t> row(std::size_t index);

    PicDataBlockPayload payload{};
    std::size_t rowCount = 0;
};
