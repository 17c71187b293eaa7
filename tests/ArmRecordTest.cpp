#include "listeners/ArmRecord.h"
#include "tests/FirmwareFiles.h"

#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace {

struct Seen {
    std::uint32_t tag;
    std::size_t size;
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
        seen.push_back({record->tag, record->payload.size(), record->cutShort});
    }
    return seen;
}

std::string record(std::uint32_t tag, std::uint32_t length, std::size_t bytes)
{
    return littleEndian32(tag) + littleEndian32(length) + std::string(bytes, 'x');
}

TEST(ArmRecordWalk, FollowsTheLengths)
{
    using Records = std::vector<Seen>;
    EXPECT_EQ(walk(""), Records{});
    EXPECT_EQ(walk(record(1, 0, 0)), Records{});
    EXPECT_EQ(walk(record(1, 1, 1)), (Records{{1, 1, false}}));
    EXPECT_EQ(walk(record(1, 0, 0) + record(2, 3, 3)), (Records{{1, 0, false}, {2, 3, false}}));
    EXPECT_EQ(walk(record(1, 3, 3) + record(2, 0, 0)), (Records{{1, 3, false}}));
    EXPECT_EQ(walk(record(1, 4, 3)), (Records{{1, 3, true}}));
    EXPECT_EQ(walk(record(1, 0xFFFFFFF8, 9)), (Records{{1, 9, true}}));
    EXPECT_EQ(walk(record(1, 0xFFFFFFFF, 9) + record(2, 3, 3)), (Records{{1, 20, true}}));
}

TEST(ArmRecordWalk, HandsOutWholeEntriesOnly)
{
    const std::string text = record(1, 600, 520);
    ArmRecordWalk records(std::as_bytes(std::span(text)));
    const auto cut = records.next();
    ASSERT_TRUE(cut);
    std::vector<DataEntry> entries;
    for (const auto entry : cut->entries<DataEntry>()) {
        entries.push_back(entry);
    }
    ASSERT_EQ(entries.size(), 2);
    EXPECT_EQ(entries[1].data[255], 'x');
    EXPECT_TRUE((cut->entries<std::array<char, 521>>().empty()));
}

TEST(ArmRecordWalk, StaysInsideRandomBlocks)
{
    std::mt19937 generator(1);
    const auto random = [&] { return static_cast<std::uint32_t>(generator()); };
    for (int round = 0; round < 20000; ++round) {
        std::string block;
        while (block.size() < random() % 300) {
            block += record(0xfeedbe00 + random() % 6, random() % 8 == 0 ? random() : random() % 40,
                            random() % 40);
        }
        std::size_t walked = 0;
        for (const Seen& seen : walk(block)) {
            walked += sizeof(ArmRecordHeader) + seen.size;
        }
        EXPECT_LE(walked, block.size());
    }
}

} // namespace
