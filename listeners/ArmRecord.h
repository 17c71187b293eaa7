#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <type_traits>

// The co-processor's record channels deliver blocks: one `read` yields at most 4096 bytes, records
// back to back without alignment. All integers are little-endian.

inline constexpr std::size_t maxBlockSize = 4096;

/// Header in front of each record's payload.
struct ArmRecordHeader {
    std::uint32_t tag;
    std::uint32_t length; ///< payload bytes behind the header
};
static_assert(std::endian::native == std::endian::little);
static_assert(sizeof(ArmRecordHeader) == 8);
static_assert(offsetof(ArmRecordHeader, tag) == 0);
static_assert(offsetof(ArmRecordHeader, length) == 4);

// What a tag means depends on the channel. These say that the entries are `DataEntry`s.
inline constexpr std::uint32_t gpsDataTag = 0xfeedbe01;  ///< on /dev/arm-sensors
inline constexpr std::uint32_t picReplyTag = 0xfeedbe03; ///< on /dev/arm-comms

/// Entry of GPS data, Bluetooth data and PIC replies.
struct DataEntry {
    std::int32_t length; ///< meaningful bytes in `data`; 0 or less: none
    std::array<std::uint8_t, 256> data;
};
static_assert(sizeof(DataEntry) == 260);
static_assert(offsetof(DataEntry, length) == 0);
static_assert(offsetof(DataEntry, data) == 4);

/// Entry of I2C data on /dev/arm-comms, which nobody consumes.
struct I2cDataEntry {
    std::uint32_t bus;
    std::uint32_t addr; ///< of the device
    std::uint32_t reg;
    std::int32_t length; ///< meaningful bytes in `data`; 0 or less: none
    std::array<std::uint8_t, 256> data;
};
static_assert(sizeof(I2cDataEntry) == 272);
static_assert(offsetof(I2cDataEntry, bus) == 0);
static_assert(offsetof(I2cDataEntry, addr) == 4);
static_assert(offsetof(I2cDataEntry, reg) == 8);
static_assert(offsetof(I2cDataEntry, length) == 12);
static_assert(offsetof(I2cDataEntry, data) == 16);

/// One record of a block: its tag and as much of its payload as lies inside the block.
struct ArmRecord {
    std::uint32_t tag;
    std::span<const std::byte> payload;
    bool cutShort; ///< the record runs past the end of the block

    /// Whether the payload holds a whole entry.
    template <class Entry>
    [[nodiscard]] bool holds() const
    {
        return payload.size() >= sizeof(Entry);
    }

    /// Calls `handle` with each whole entry of the payload; each is copied out, since the block
    /// gives no alignment.
    template <class Entry, class Handle>
    void forEach(Handle handle) const
    {
        static_assert(std::is_trivially_copyable_v<Entry>);
        for (auto rest = payload; rest.size() >= sizeof(Entry);
             rest = rest.subspan(sizeof(Entry))) {
            Entry entry;
            std::memcpy(&entry, rest.data(), sizeof(Entry));
            handle(entry);
        }
    }
};

/// Walks the records of a block. A record counts when its header and at least one byte behind it
/// lie inside the block; a record that is cut short is the last one.
class ArmRecordWalk {
public:
    explicit ArmRecordWalk(std::span<const std::byte> block) : rest(block) {}

    /// The next record, or nothing at the end of the walk.
    std::optional<ArmRecord> next();

private:
    std::span<const std::byte> rest;
};
