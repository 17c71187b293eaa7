#include "listeners/ArmRecord.h"

#include <algorithm>

std::optional<ArmRecord> ArmRecordWalk::next()
{
    if (rest.size() <= sizeof(ArmRecordHeader)) {
        return std::nullopt;
    }
    ArmRecordHeader header;
    std::memcpy(&header, rest.data(), sizeof(header));
    rest = rest.subspan(sizeof(header));
    const std::size_t available = std::min<std::size_t>(header.length, rest.size());
    const ArmRecord record{header.tag, rest.first(available), available < header.length};
    rest = rest.subspan(available);
    return record;
}
