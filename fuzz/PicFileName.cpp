// The name of a PIC firmware file: the device and the versions that it gives.

#include "pic/PicFileName.h"
#include "fuzz/FuzzTarget.h"

#include <tuple>

using lc::MoxArmControl;
using Text = std::optional<std::string>;

namespace {

/// What stands behind the first `token`.
Text behind(const Text& text, const std::string& token)
{
    const std::size_t place = text ? text->find(token) : std::string::npos;
    return place == std::string::npos ? Text() : text->substr(place + token.size());
}

std::uint16_t number(const Text& text)
{
    return static_cast<std::uint16_t>(text ? std::atol(text->c_str()) : 0);
}

using Device = std::tuple<MoxArmControl::PicUpdateDevType, const char*, const char*, const char*>;

std::optional<PicFileName> plainFileName(const std::string& name)
{
    for (const auto& [code, family, token, versions] : // in the order in which they are looked for
         {Device{MoxArmControl::PicDevKt4100Gps, "", "kt4100_gps", "_v"},
          Device{MoxArmControl::PicDevOrvelBat, "orvel_", "base_", "user_"},
          Device{MoxArmControl::PicDevOrvelShoe, "orvel_", "interface_", "user_"},
          Device{MoxArmControl::PicDevOrvelCharger, "orvel_", "charger_", "user_"}}) {
        const Text first = behind(behind(behind(name, family), token), versions);
        const Text second = behind(first, "_");
        const Text third = behind(second, "_");
        const bool isNamed = (code == MoxArmControl::PicDevKt4100Gps ? first : third).has_value();
        if (isNamed && behind(name, ".hex")) {
            return PicFileName{code, {number(first), number(second), number(third)}};
        }
        if (behind(behind(name, family), token)) {
            return std::nullopt;
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
    const auto plain = path == "&*%PROBE&*%" ? PicFileName{MoxArmControl::PicDevDebugging, {}}
                                             : plainFileName(path.substr(0, 199));
    expect(name.has_value() == plain.has_value() &&
               (!name || (name->device == plain->device && name->versions == plain->versions)),
           path.c_str());
    return 0;
}
