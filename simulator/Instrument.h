#pragma once

#include "lc/ArmMox.h"
#include "lc/BatteryInfo.h"
#include "simulator/PicBootloader.h"
#include "simulator/Script.h"

#include <array>
#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <vector>

namespace simulator {

/// Seconds since the start of the run. With "set clock fast" no pause is really waited for; the
/// clock is set forward instead.
double now();
void pause(double seconds);

/// The simulated instrument: what the library's operations and the device nodes show and change.
class Instrument {
public:
    static Instrument& instance();
    ~Instrument(); ///< reports what the PICs hold now

    /// Hands a bootloader command to a PIC; its answer waits in `replies`.
    void sendToPic(int device, int command, const Bytes& payload);

    struct Reply {
        double arrival; ///< seconds
        Bytes block;
    };
    std::deque<Reply> replies; ///< on /dev/arm-comms

    int reelCount = 120;
    bool sondeOn = false;
    bool displayOn = true;
    bool displayVerticalNormal = true;
    bool displayHorizontalNormal = true;
    bool magnetClosed = false;
    std::vector<bool> keys = std::vector<bool>(17, false);
    std::vector<ArmMox::LedStates> leds = std::vector<ArmMox::LedStates>(6, ArmMox::LedStates{});
    std::vector<bool> powerStates{true, true, false, true};
    bat_info_to_ui batteries;
    std::map<int, Bytes> authRegisters;

private:
    Instrument();

    std::map<int, PicBootloader> pics;
};

} // namespace simulator
