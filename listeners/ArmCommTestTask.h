#pragma once

#include "app/Task.h"

/// Reads out the accessory authentication coprocessor: prints its identification registers and
/// fetches its certificate page by page, printing the progress but not the certificate.
class ArmCommTestTask : public Task {
public:
    [[nodiscard]] const char* name() const override { return "Arm-comm test"; }

    /// Returns -1 when the certificate's length or a page of it can't be read, otherwise 0; an
    /// unreadable length register counts as 0.
    int run() override;
};
