#pragma once

#include "lc/ArmMox.h"
#include "lc/BatteryInfo.h"
#include "simulator/Bytes.h"
#include "simulator/PicBootloader.h"
#include "simulator/ProgrammingDevice.h"

#include <deque>
#include <map>
#include <vector>

namespace simulator {

/// The simulated instrument: what the library's operations and the device nodes show and change.
class Instrument {
public:
    static Instrument& instance();
    ~Instrument(); ///< reports what co-processor and PICs hold now
    Instrument(const Instrument&) = delete;
    Instrument& operator=(const Instrument&) = delete;

    static BatteryInfoRecord makeBattery(char type);
    static Bytes readAuthRegister(int reg);

    /// Hands a bootloader command to a PIC; its answer waits in `replies`.
    void sendToPic(int device, int command, const Bytes& payload);

    struct Reply {
        double arrival; ///< seconds
        Bytes block;
    };
    std::deque<Reply> replies; ///< on /dev/arm-comms
    ProgrammingDevice programmingDevice;

    int reelCount = 120;
    bool sondeOn = false;
    bool displayOn = true;
    bool displayVerticalNormal = true;
    bool displayHorizontalNormal = true;
    bool magnetClosed = false;
    std::vector<ArmMox::LedStates> leds = std::vector<ArmMox::LedStates>(6);

private:
    Instrument() = default;

    Bytes answerOfPic(int device, int command, const Bytes& payload);

    std::map<int, PicBootloader> pics;
};

} // namespace simulator
