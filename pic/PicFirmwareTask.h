#pragma once

#include "app/Task.h"
#include "base/FileStream.h"
#include "lc/MoxArmControl.h"
#include "pic/PicCommandChannel.h"
#include "pic/PicDevice.h"

#include <array>
#include <cstdint>
#include <string>

/// Updates the firmware of a PIC microcontroller from an Intel HEX file, whose name tells the
/// target and the three versions.
class PicFirmwareTask : public Task {
public:
    /// Resets the exported globals of the PIC update. Opens nothing.
    explicit PicFirmwareTask(const std::string& firmwarePath);

    [[nodiscard]] const char* name() const override { return "PIC Bootloader"; }

    /// Returns -1 when /dev/arm-comms or the file can't be opened, the file is refused or the
    /// update failed, after printing why. Otherwise 0: the PIC was updated, needs no update or
    /// can't have one, or is a GPS PIC that is not powered or did not answer. From here on the
    /// process survives its reader and its terminal.
    int run() override;

    /// Fills in device and versions from the file's name and opens the file, which the debugging
    /// device does not have. Prints what was found. Returns false if the name is not understood or
    /// the file can't be opened.
    bool checkFileName();

private:
    int updateFromFile();
    int runForDevice();
    int updateIfNeeded(const PicDevice& target);
    int updatePic(const PicDevice& target);

    std::int32_t lineCounter = 0;
    lc::MoxArmControl::PicUpdateDevType device = lc::MoxArmControl::PicDevNone;
    std::array<std::uint16_t, 3> versions{};
    PicCommandChannel channel;
    FileStream firmwareFile;
    std::string firmwarePath;
};
