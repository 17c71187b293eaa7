#include "pic/PicFileName.h"

#include <cstdlib>
#include <cstring>

using lc::MoxArmControl;

namespace {

constexpr std::size_t maxNameLength = 199;
constexpr const char* debuggingName = "&*%PROBE&*%";

struct OrvelToken {
    const char* text;
    MoxArmControl::PicUpdateDevType device;
};

constexpr std::array<OrvelToken, 3> orvelTokens{{
    {"base_", MoxArmControl::PicDevOrvelBat},
    {"interface_", MoxArmControl::PicDevOrvelShoe},
    {"charger_", MoxArmControl::PicDevOrvelCharger},
}};

/// The text behind the first `token` in `text`, or null if `text` is null or doesn't contain it.
const char* findBehind(const char* text, const char* token)
{
    const char* const found = text != nullptr ? std::strstr(text, token) : nullptr;
    return found != nullptr ? found + std::strlen(token) : nullptr;
}

/// The low 16 bits of the decimal number that `text` begins with; 0 if there is none.
std::uint16_t parseVersion(const char* text)
{
    constexpr int decimal = 10;
    return text != nullptr ? static_cast<std::uint16_t>(std::strtol(text, nullptr, decimal)) : 0;
}

struct VersionTexts {
    const char* first;
    const char* second; ///< null if missing
    const char* third;  ///< null if missing
};

VersionTexts splitVersions(const char* text)
{
    const char* const second = findBehind(text, "_");
    return {text, second, findBehind(second, "_")};
}

PicFileName makeFileName(MoxArmControl::PicUpdateDevType device, const VersionTexts& texts)
{
    return {device,
            {parseVersion(texts.first), parseVersion(texts.second), parseVersion(texts.third)}};
}

std::optional<PicFileName> parseGpsName(const char* behindToken)
{
    const char* const versions = findBehind(behindToken, "_v");
    if (versions == nullptr) {
        return std::nullopt;
    }
    return makeFileName(MoxArmControl::PicDevKt4100Gps, splitVersions(versions));
}

std::optional<PicFileName> parseOrvelName(const char* behindToken)
{
    for (const OrvelToken& token : orvelTokens) {
        const char* const behindDevice = findBehind(behindToken, token.text);
        if (behindDevice == nullptr) {
            continue;
        }
        const VersionTexts texts = splitVersions(findBehind(behindDevice, "user_"));
        if (texts.third == nullptr) {
            return std::nullopt;
        }
        return makeFileName(token.device, texts);
    }
    return std::nullopt;
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
    if (const char* const behindGps = findBehind(name.data(), "kt4100_gps")) {
        return parseGpsName(behindGps);
    }
    return parseOrvelName(findBehind(name.data(), "orvel_"));
}
