#pragma once

#include "lc/ArmMox.h"
#include "listeners/RecordListener.h"

#include <cstdint>
#include <vector>

/// Listens on /dev/arm-events: prints keys, magnetic sensor, counter, fault codes, battery and DLS
/// records. Some keys, when reported with state 0, act on reel, sonde and display.
class ArmEventTestTask : public RecordListener {
public:
    ArmEventTestTask();

    const char* name() const override { return "Arm-event test"; }

    /// Runs until the process is ended from outside. Returns -1 if the device can't be opened.
    /// Failures of the display's switch are printed; other exceptions of the library pass through.
    int run() override;

    /// Performs what a key does; only `state` 0 acts.
    void performKeyAction(std::int32_t key, std::int32_t state);

private:
    void readInitialState();
    void toggleSonde();
    void toggleDisplay();

    bool sondeState = false;
    std::uint8_t lcdState = 0; ///< 0 or 1
    std::vector<ArmMox::LedStates> ledStates;
};
