// The name of a PIC firmware file: the device and the versions that it gives.

#include "pic/PicFileName.h"
#include "fuzz/FuzzTarget.h"

#include <algorithm>
#include <climits>
#include <cstdlib>

namespace {

constexpr std::size_t none = std::string::npos;

/// Where the text behind the next `token` begins, from `from` on; `from` may be `none`.
std::size_t findBehind(const std::string& name, const std::string& token, std::size_t from)
{
    const std::size_t found = from == none ? none : name.find(token, from);
    return found == none ? none : found + token.size();
}

/// The number at `position`, limited to what a `long` holds, and of that the low 16 bits.
std::string plainVersion(const std::string& name, std::size_t position)
{
    if (position == none) {
        return " 0";
    }
    const long long number = std::strtoll(name.c_str() + position, nullptr, 10);
    const auto limited = std::clamp<long long>(number, LONG_MIN, LONG_MAX);
    return std::string(1, ' ').append(std::to_string(static_cast<std::uint16_t>(limited)));
}

/// Device and versions, or nothing.
std::string plainFileName(const std::string& path)
{
    const std::string name = path.substr(0, 199);
    if (name == "&*%PROBE&*%") {
        return "255 0 0 0";
    }
    const std::size_t behindGps = findBehind(name, "kt4100_gps", 0);
    const std::size_t behindOrvel = findBehind(name, "orvel_", 0);
    std::string device = "5";
    std::size_t first = findBehind(name, "_v", behindGps);
    if (behindGps == none) {
        std::size_t behindToken = findBehind(name, "base_", behindOrvel);
        device = "1";
        if (behindToken == none) {
            behindToken = findBehind(name, "interface_", behindOrvel);
            device = "2";
        }
        if (behindToken == none) {
            behindToken = findBehind(name, "charger_", behindOrvel);
            device = "3";
        }
        first = findBehind(name, "user_", behindToken);
    }
    const std::size_t second = findBehind(name, "_", first);
    const std::size_t third = findBehind(name, "_", second);
    if (name.find(".hex") == none || first == none || (third == none && device != "5")) {
        return "";
    }
    return device + plainVersion(name, first) + plainVersion(name, second) +
           plainVersion(name, third);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string path = upToNul(toText(data, size));
    std::string actual;
    if (const auto name = parsePicFileName(path)) {
        actual = std::to_string(name->device);
        for (const std::uint16_t version : name->versions) {
            actual += " " + std::to_string(version);
        }
    }
    expectSame(actual, plainFileName(path));
    return 0;
}
