#include "listeners/ArmRecord.h"
#include "tests/FirmwareFiles.h"

#include <gtest/gtest.h>
#include <vector>

namespace {

struct Seen {
    std::uint32_t tag;
    std::size_t size;
    std::size_t entries; ///< of 260 bytes
    bool cutShort;

    bool operator==(const Seen&) const = default;
};

/// Walks a block that lies in memory of just its size, so that a step beyond it is an error.
std::vector<Seen> walk(const std::string& text)
{
    const auto bytes = std::as_bytes(std::span(text));
    const std::vector<std::byte> block(bytes.begin(), bytes.end());
    std::vector<Seen> seen;
    ArmRecordWalk records(block);
    while (const auto record = records.next()) {
        std::size_t entries = 0;
        for (const auto entry : record->entries<DataEntry>()) {
            entries += entry.data.back() == 'x' ? 1 : 0;
        }
        seen.push_back({record->tag, record->payload.size(), entries, record->cutShort});
    }
    return seen;
}

std::string record(std::uint32_t tag, std::uint32_t length, std::size_t bytes)
{
    return words({tag, length}) + std::string(bytes, 'x');
}

TEST(ArmRecordWalk, FollowsTheLengths)
{
    using Records = std::vector<Seen>;
    EXPECT_EQ(walk(""), Records{});
    EXPECT_EQ(walk(record(1, 0, 0)), Records{});
    EXPECT_EQ(walk(record(1, 1, 1)), (Records{{1, 1, 0, false}}));
    EXPECT_EQ(walk(record(1, 0, 0) + record(2, 3, 3)),
              (Records{{1, 0, 0, false}, {2, 3, 0, false}}));
    EXPECT_EQ(walk(record(1, 3, 3) + record(2, 0, 0)), (Records{{1, 3, 0, false}}));
    EXPECT_EQ(walk(record(1, 519, 519) + record(2, 520, 520)),
              (Records{{1, 519, 1, false}, {2, 520, 2, false}}));
    EXPECT_EQ(walk(record(1, 600, 520)), (Records{{1, 520, 2, true}}));
    EXPECT_EQ(walk(record(1, 0xFFFFFFF8, 9)), (Records{{1, 9, 0, true}}));
    EXPECT_EQ(walk(record(1, 0xFFFFFFFF, 9) + record(2, 3, 3)), (Records{{1, 20, 0, true}}));
}

} // namespace
