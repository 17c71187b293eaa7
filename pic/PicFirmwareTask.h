#pragma once

#include "app/Task.h"
#include "base/FileStream.h"
#include "lc/MoxArmControl.h"
#include "pic/GpsPicCheck.h"
#include "pic/PicCommandChannel.h"
#include "pic/PicDevice.h"
#include "pic/PicPlan.h"

#include <array>
#include <cstdint>
#include <span>
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

    /// Asks the GPS PIC, whatever the device is, for its mode and version and decides whether the
    /// first version is to be programmed.
    [[nodiscard]] GpsPicVerdict checkGpsPicVersion() const
    {
        return askGpsPic(channel, versions[0]);
    }

    /// The update of the PIC whose file `checkFileName()` has opened: begin, versions, what the
    /// file holds, end of data, finish. The first failure ends it, with nothing more sent. Returns
    /// 0 after a complete update and -1 after any failure, which has been printed. What the library
    /// throws passes through, except behind the versions and in front of the end of data.
    int updatePic(PicResponseCheck check);

    /// Sends a command to the device and returns whether it was accepted; see `PicCommandChannel`.
    bool sendPicCommand(lc::MoxArmControl::PicUpdateCmdType command, int length, std::uint8_t* data,
                        PicResponseCheck check) const
    {
        return channel.send(device, command, length, data, check);
    }

private:
    int updateFromFile();
    int runForDevice();
    int updateIfNeeded(PicResponseCheck check);
    bool sendVersions(PicResponseCheck check, std::uint16_t firstVersionMark) const;
    bool sendProgram(PicResponseCheck check, PicPlan& plan);
    bool take(PicResponseCheck check, PicStep step, std::span<std::uint8_t> data);
    bool send(PicResponseCheck check, lc::MoxArmControl::PicUpdateCmdType command,
              std::span<std::uint8_t> payload = {}) const;

    std::int32_t lineCounter = 0; ///< data records and rejected lines handled so far
    lc::MoxArmControl::PicUpdateDevType device = lc::MoxArmControl::PicDevNone;
    std::array<std::uint16_t, 3> versions{};
    PicCommandChannel channel;
    FileStream firmwareFile;
    std::string firmwarePath;
};
