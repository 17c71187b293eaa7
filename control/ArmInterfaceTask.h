#pragma once

#include "app/Task.h"

/// Walks once through the operations of the common library and prints what they return: version,
/// state, power, keypad, reel and batteries; then switches the reel overlay and the display on and
/// off, two seconds each. An operation that reports failure costs only its own output. Status 0;
/// `lc::Exception` is caught around the display operations only.
class ArmInterfaceTask : public Task {
public:
    [[nodiscard]] const char* name() const override { return "Arm-interface test"; }
    int run() override;
};
