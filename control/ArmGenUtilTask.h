#pragma once

#include "app/Task.h"

/// Prints the co-processor's software version ("Vimbra Version: ..."). Status 0; catches nothing.
class ArmGenUtilTask : public Task {
public:
    [[nodiscard]] const char* name() const override { return "Arm-gen_util test"; }
    int run() override;
};
