#pragma once

#include "listeners/RecordListener.h"

/// Listens on /dev/arm-sensors: prints the length of each GPS data entry and the tag of each other
/// record.
class ArmSensorTestTask : public RecordListener {
public:
    ArmSensorTestTask();

    const char* name() const override { return "Arm-sensor test"; }

    /// Runs until the process is ended from outside. Returns -1 if the device can't be opened.
    int run() override;
};
