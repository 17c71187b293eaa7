#pragma once

#include "lc/ArmMox.h"
#include "simulator/Bytes.h"
#include "simulator/PicBootloader.h"
#include "simulator/ProgrammingDevice.h"

#include <deque>
#include <map>
#include <vector>

namespace simulator {

/// The simulated instrument: what the library's operations and the device nodes show and change.
struct Instrument {
    static Instrument& instance();

    std::deque<std::pair<double, Bytes>> replies; ///< on /dev/arm-comms, with times of arrival
    ProgrammingDevice programmingDevice;
    std::map<int, PicBootloader> pics; ///< those that got a command

    int reelCount = 120;
    bool overlayOn = false;
    bool sondeOn = false;
    bool displayOn = true;
    bool displayVerticalNormal = true;
    bool displayHorizontalNormal = true;
    std::vector<ArmMox::LedStates> leds = std::vector<ArmMox::LedStates>(6);
};

} // namespace simulator
