// The name of a PIC firmware file: the device and the versions that it gives.

#include "pic/PicFileName.h"
#include "fuzz/FuzzTarget.h"

#include <cstdint>

namespace {

constexpr std::size_t none = std::string::npos;

/// Where the text behind the next `token` begins, from `from` on; `from` may be `none`.
std::size_t findBehind(const std::string& name, const std::string& token, std::size_t from)
{
    const std::size_t found = name.find(token, from);
    return found == none ? none : found + token.size();
}

std::optional<PicFileName> plainFileName(const std::string& path)
{
    const std::string name = path.substr(0, 199);
    if (name == "&*%PROBE&*%") {
        return PicFileName{lc::MoxArmControl::PicDevDebugging, {}};
    }
    std::size_t first = findBehind(name, "kt4100_gps", 0);
    const bool isGps = first != none;
    auto device = isGps ? lc::MoxArmControl::PicDevKt4100Gps : lc::MoxArmControl::PicDevNone;
    for (const char* const token : {"base_", "interface_", "charger_"}) {
        if (first == none) {
            device = static_cast<lc::MoxArmControl::PicUpdateDevType>(device + 1);
            first = findBehind(name, token, findBehind(name, "orvel_", 0));
        }
    }
    first = findBehind(name, isGps ? "_v" : "user_", first);
    const std::size_t second = findBehind(name, "_", first);
    const std::size_t third = findBehind(name, "_", second);
    if (name.find(".hex") == none || (isGps ? first : third) == none) {
        return std::nullopt;
    }
    const auto version = [&](std::size_t i) {
        return static_cast<std::uint16_t>(i == none ? 0 : std::strtol(&name[i], nullptr, 10));
    };
    return PicFileName{device, {version(first), version(second), version(third)}};
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::string path = toText(data, size);
    path = path.substr(0, path.find('\0'));
    const auto name = parsePicFileName(path);
    const auto plain = plainFileName(path);
    expect(name.has_value() == plain.has_value() &&
               (!name || (name->device == plain->device && name->versions == plain->versions)),
           path.c_str());
    return 0;
}
