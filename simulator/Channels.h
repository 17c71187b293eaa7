#pragma once

#include "simulator/Script.h"

namespace simulator {

// What the channels of an instrument in use deliver: block number `step`, counted from 0. The
// events change the instrument as they tell.

Bytes makeEventBlock(unsigned int step);
Bytes makeSensorBlock(unsigned int step);
Bytes makeTtyBytes(unsigned int step);

} // namespace simulator
