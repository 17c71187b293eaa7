#include "simulator/Channels.h"

#include "listeners/ArmRecord.h"

#include <algorithm>
#include <sstream>

namespace simulator {

namespace {

/// What the channels of an instrument in use deliver, over and over again: a line for each block,
/// with the path of the channel and the bytes.
constexpr const char* liveBlocks =
#include "simulator/LiveBlocks.inc"
    ;

} // namespace

bool isDeviceNode(const std::string& path)
{
    return path == eventDevice || path == sensorDevice || path == commDevice ||
           path == programDevice || path == ttyDevice;
}

Bytes makeDataRecord(std::uint32_t tag, const Bytes& data)
{
    DataEntry entry{static_cast<std::int32_t>(data.size()), {}};
    std::ranges::copy(data, entry.data.begin());
    const ArmRecordHeader header{tag, sizeof(entry)};
    Bytes record = toBytes(&header, sizeof(header));
    std::ranges::copy(toBytes(&entry, sizeof(entry)), std::back_inserter(record));
    return record;
}

Bytes makeLiveBlock(const std::string& path, unsigned int step)
{
    std::vector<std::string> blocks;
    std::istringstream lines(liveBlocks);
    for (std::string channel, block; lines >> channel >> block;) {
        if (channel == path) {
            blocks.push_back(block);
        }
    }
    return fromHex(blocks[step % blocks.size()]);
}

} // namespace simulator
