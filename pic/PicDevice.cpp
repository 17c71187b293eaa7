#include "pic/PicDevice.h"

#include "pic/GpsPicCheck.h"

#include <algorithm>
#include <array>

using lc::MoxArmControl;

namespace {

constexpr PicNameForm orvelName{"orvel_", "user_", 3};
constexpr PicNameForm gpsName{"", "_v", 1};

constexpr std::uint16_t shoeMark = 0xC000;

constexpr std::array<PicDevice, 5> devices{{
    {
        .code = MoxArmControl::PicDevKt4100Gps,
        .nameForm = gpsName,
        .nameToken = "kt4100_gps",
        .completionText = "Completed KT4100 GPS PIC Code Update",
        .hasGpsVersionCheck = true,
        .takesHighMemory = false,
        .takesConfiguration = false,
        .swapsFullBlocks = true,
        .takesFinish = false,
        .check = checkGpsPicResponse,
    },
    {
        .code = MoxArmControl::PicDevOrvelBat,
        .nameForm = orvelName,
        .nameToken = "base_",
        .completionText = "Completed Orvel Bat Code Update",
    },
    {
        .code = MoxArmControl::PicDevOrvelShoe,
        .nameForm = orvelName,
        .nameToken = "interface_",
        .completionText = "Completed Orvel Shoe Code Update",
        .firstVersionMark = shoeMark,
    },
    {
        .code = MoxArmControl::PicDevOrvelCharger,
        .nameForm = orvelName,
        .nameToken = "charger_",
        .completionText = "Completed Orvel Charger Code Update",
    },
    {
        .code = MoxArmControl::PicDevOrvelAcAdapter,
        .nameForm = orvelName,
        .nameToken = nullptr,
        .completionText = "Completed Orvel AC Adapter Code Update",
    },
}};

} // namespace

std::span<const PicDevice> allPicDevices()
{
    return devices;
}

const PicDevice* findPicDevice(MoxArmControl::PicUpdateDevType code)
{
    const auto* const found = std::ranges::find(devices, code, &PicDevice::code);
    return found != devices.end() ? found : nullptr;
}
