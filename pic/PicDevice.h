#pragma once

#include "lc/MoxArmControl.h"
#include "pic/PicCommandChannel.h"

#include <cstddef>
#include <cstdint>
#include <span>

/// How a firmware file's name is read: the family's text, behind it the device's token, behind that
/// the versions' text, then up to three versions.
struct PicNameForm {
    const char* family; ///< may be empty
    const char* versionsText;
    std::size_t leastVersions; ///< the others may be missing
};

/// What is special about one PIC. What a row of the table leaves out is as most of them have it.
struct PicDevice {
    lc::MoxArmControl::PicUpdateDevType code;
    PicNameForm nameForm;
    const char* nameToken; ///< that selects the device in a name; null if no name does
    const char* completionText;
    std::uint16_t firstVersionMark = 0; ///< bits set in the first version that is sent
    bool hasGpsVersionCheck = false;    ///< the GPS board's mode and version decide on the update
    bool takesHighMemory = true;        ///< program rows beyond the first 64 KiB of addresses
    bool takesConfiguration = true;
    bool swapsFullBlocks = false; ///< words 3F FF of full blocks, too, become FF 3F
    bool takesFinish = true;      ///< the finishing command ends its update
    PicResponseCheck check = checkPicResponse;
};

/// All PICs that can be updated, in the order in which a name is searched for their tokens.
std::span<const PicDevice> allPicDevices();

/// The row of a device, or null if it is none that can be updated.
const PicDevice* findPicDevice(lc::MoxArmControl::PicUpdateDevType code);
