#pragma once

#include <string>

namespace simulator {

/// Opens a simulated device node. Returns its descriptor, under which `findFile` finds it, or -1.
int openDeviceNode(const std::string& path, int flags);

} // namespace simulator
