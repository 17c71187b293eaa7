// The name of a PIC firmware file: the device and the versions that it gives.

#include "pic/PicFileName.h"
#include "fuzz/FuzzTarget.h"

#include <regex>

namespace {

const std::string versions = "[^]*?user_([^_]*)_([^_]*)_([^]*)";

/// The token of each device, in the order in which they are looked for, and its versions.
const std::tuple<lc::MoxArmControl::PicUpdateDevType, std::string, std::string> plainDevices[]{
    {lc::MoxArmControl::PicDevKt4100Gps, "kt4100_gps", "[^]*?_v([^_]*)(?:_([^_]*))?(?:_([^]*))?"},
    {lc::MoxArmControl::PicDevOrvelBat, "orvel_[^]*?base_", versions},
    {lc::MoxArmControl::PicDevOrvelShoe, "orvel_[^]*?interface_", versions},
    {lc::MoxArmControl::PicDevOrvelCharger, "orvel_[^]*?charger_", versions},
};

std::optional<PicFileName> plainFileName(const std::string& name)
{
    if (name == "&*%PROBE&*%") {
        return PicFileName{lc::MoxArmControl::PicDevDebugging, {}};
    }
    std::smatch match;
    const auto version = [&](std::size_t i) {
        return static_cast<std::uint16_t>(std::strtol(match[i].str().c_str(), nullptr, 10));
    };
    for (const auto& [device, token, rest] : plainDevices) {
        if (std::regex_search(name, std::regex(token))) {
            return name.find(".hex") != std::string::npos &&
                           std::regex_search(name, match, std::regex(token + rest))
                       ? std::optional(PicFileName{device, {version(1), version(2), version(3)}})
                       : std::nullopt;
        }
    }
    return std::nullopt;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::string path = toText(data, size);
    path = path.substr(0, path.find('\0'));
    const auto name = parsePicFileName(path);
    const auto plain = plainFileName(path.substr(0, 199));
    expect(name.has_value() == plain.has_value() &&
               (!name || (name->device == plain->device && name->versions == plain->versions)),
           path.c_str());
    return 0;
}
