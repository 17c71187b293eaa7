#pragma once

#include "simulator/Script.h"

namespace simulator {

/// A record with one `DataEntry`.
Bytes makeDataRecord(std::uint32_t tag, const Bytes& data);

/// What a channel of an instrument in use delivers: block number `step`, counted from 0, of the
/// device `path`. The events change the instrument as they tell.
Bytes makeLiveBlock(const std::string& path, unsigned int step);

} // namespace simulator
