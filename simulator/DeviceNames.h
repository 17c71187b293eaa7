#pragma once

#include <algorithm>
#include <array>
#include <string_view>

namespace simulator {

inline constexpr std::string_view eventDevice = "/dev/arm-events";
inline constexpr std::string_view sensorDevice = "/dev/arm-sensors";
inline constexpr std::string_view commDevice = "/dev/arm-comms";
inline constexpr std::string_view programDevice = "/dev/arm-program";
inline constexpr std::string_view ttyDevice = "/dev/ttyARM0";

/// Whether the path is that of a simulated device node.
constexpr bool isDeviceNode(std::string_view path)
{
    constexpr std::array nodes{eventDevice, sensorDevice, commDevice, programDevice, ttyDevice};
    return std::find(nodes.begin(), nodes.end(), path) != nodes.end();
}

} // namespace simulator
