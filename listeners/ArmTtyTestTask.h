#pragma once

#include "app/Task.h"

/// Listens on /dev/ttyARM0 and prints the raw Bluetooth bytes in hexadecimal.
class ArmTtyTestTask : public Task {
public:
    [[nodiscard]] const char* name() const override { return "Arm-tty test"; }

    /// Runs until the process is ended from outside. Returns -1 if the device can't be opened.
    int run() override;

    /// Reads and prints what has arrived. Returns false only when the device is not open.
    [[nodiscard]] bool readBlock() const;

private:
    void listen();

    int fd = -1;
};
