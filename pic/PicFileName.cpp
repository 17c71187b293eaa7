#include "pic/PicFileName.h"

#include "pic/PicDevice.h"

#include <cstdlib>
#include <cstring>

using lc::MoxArmControl;

namespace {

constexpr std::size_t maxNameLength = 199;
constexpr const char* debuggingName = "&*%PROBE&*%";

/// The text behind the first `token` in `text`, or null if one of them is null or there is none.
const char* findBehind(const char* text, const char* token)
{
    if (text == nullptr || token == nullptr) {
        return nullptr;
    }
    const char* const found = std::strstr(text, token);
    return found != nullptr ? found + std::strlen(token) : nullptr;
}

/// The low 16 bits of the decimal number that `text` begins with; 0 if there is none.
std::uint16_t parseVersion(const char* text)
{
    constexpr int decimal = 10;
    return text != nullptr ? static_cast<std::uint16_t>(std::strtol(text, nullptr, decimal)) : 0;
}

/// The texts that the versions begin; null where one is missing.
using VersionTexts = std::array<const char*, 3>;

VersionTexts splitVersions(const char* text)
{
    const char* const second = findBehind(text, "_");
    return {text, second, findBehind(second, "_")};
}

std::optional<PicFileName> parseVersions(const PicDevice& device, const char* behindToken)
{
    const PicNameForm& form = device.nameForm;
    const VersionTexts texts = splitVersions(findBehind(behindToken, form.versionsText));
    if (texts[form.leastVersions - 1] == nullptr) {
        return std::nullopt;
    }
    return PicFileName{device.code,
                       {parseVersion(texts[0]), parseVersion(texts[1]), parseVersion(texts[2])}};
}

} // namespace

std::optional<PicFileName> parsePicFileName(const std::string& path)
{
    std::array<char, maxNameLength + 1> name{};
    path.copy(name.data(), maxNameLength);
    if (std::strcmp(name.data(), debuggingName) == 0) {
        return PicFileName{MoxArmControl::PicDevDebugging, {}};
    }
    if (std::strstr(name.data(), ".hex") == nullptr) {
        return std::nullopt;
    }
    for (const PicDevice& device : allPicDevices()) {
        const char* const behindFamily = findBehind(name.data(), device.nameForm.family);
        const char* const behindToken = findBehind(behindFamily, device.nameToken);
        if (behindToken != nullptr) {
            return parseVersions(device, behindToken);
        }
    }
    return std::nullopt;
}
