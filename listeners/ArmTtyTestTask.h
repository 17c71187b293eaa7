#pragma once

#include "app/Task.h"

/// Listens on /dev/ttyARM0 and prints the raw Bluetooth bytes in hexadecimal.
class ArmTtyTestTask : public Task {
public:
    const char* name() const override { return "Arm-tty test"; }

    /// Runs until the process is ended from outside. Returns -1 if the device can't be opened.
    int run() override;

private:
    void listen();
    bool readBlock() const;

    int fd = -1;
};
