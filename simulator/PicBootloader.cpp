#include "simulator/PicBootloader.h"

#include "lc/MoxArmControl.h"
#include "pic/PicDataBlock.h"

#include <numeric>
#include <sstream>

using lc::MoxArmControl;

namespace simulator {

namespace {

constexpr std::uint8_t accepted = 0x00;
constexpr std::uint8_t refused = 0x01;
constexpr std::uint8_t notNewer = 0xFE;

constexpr std::size_t never = SIZE_MAX; // as a payload size: the command is not known
constexpr int shoeVersionFlag = 0xC000;
constexpr std::uint32_t gpsMemorySize = 0x10000;

std::uint32_t bigEndian(const Bytes& bytes, std::size_t offset, std::size_t count)
{
    std::uint32_t value = 0;
    for (std::size_t i = offset; i < offset + count; ++i) {
        value = value << 8 | bytes[i];
    }
    return value;
}

} // namespace

PicBootloader::PicBootloader(int picDevice)
    : device(picDevice), isGps(picDevice == MoxArmControl::PicDevKt4100Gps)
{
    std::istringstream text(Script::instance().setting("pic-version", "1.0.0"));
    char dot = '.';
    text >> version[0] >> dot >> version[1] >> dot >> version[2];
}

const char* PicBootloader::name() const
{
    constexpr std::array names{"unknown PIC",        "PIC of the battery pack",
                               "PIC of the shoe",    "PIC of the charger",
                               "PIC of the adapter", "PIC of the GPS board"};
    return names.at(static_cast<std::size_t>(device));
}

Bytes PicBootloader::answer(int command, const Bytes& payload)
{
    const auto setting = [](const char* key) {
        return static_cast<std::uint32_t>(std::stoul(Script::instance().setting(key, "1")));
    };
    if (isGps && command == MoxArmControl::PicCmdGetGpsMode) {
        return {static_cast<std::uint8_t>(setting("gps-mode"))};
    }
    if (isGps && command == MoxArmControl::PicCmdGetGpsVersion) {
        const std::uint32_t value = setting("gps-version");
        return {static_cast<std::uint8_t>(value >> 24), static_cast<std::uint8_t>(value >> 16),
                static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)};
    }
    return {execute(command, payload)};
}

std::uint8_t PicBootloader::execute(int command, const Bytes& payload)
{
    struct Rule {
        State before;
        std::size_t size;
        State after;
    };
    const State ended = isGps ? State::finished : State::dataEnded;
    const std::array<Rule, 6> rules{{{state, 0, State::begun},
                                     {State::dataEnded, 0, State::finished},
                                     {State::begun, 6, State::receiving},
                                     {State::receiving, 0, ended},
                                     {State::receiving, sizeof(PicDataBlockPayload), state},
                                     {State::receiving, isGps ? never : 14, state}}};
    const Rule& rule = rules.at(static_cast<std::size_t>(command));
    if (state != rule.before || payload.size() != rule.size) {
        return refuse("command out of order or of a wrong length");
    }
    const std::uint8_t status = command == MoxArmControl::PicCmdVersions    ? takeVersions(payload)
                                : command == MoxArmControl::PicCmdDataBlock ? takeBlock(payload)
                                                                            : accepted;
    isConfigured = isConfigured || command == MoxArmControl::PicCmdConfig;
    state = status == accepted ? rule.after : state;
    return status;
}

std::uint8_t PicBootloader::takeVersions(const Bytes& payload)
{
    std::array<int, 3> offered{};
    for (std::size_t i = 0; i < offered.size(); ++i) {
        offered[i] = static_cast<int>(bigEndian(payload, 2 * i, 2));
    }
    if (device == MoxArmControl::PicDevOrvelShoe) {
        offered[0] ^= shoeVersionFlag; // the mark of the shoe
    }
    if (offered[0] >= shoeVersionFlag) {
        return refuse("versions marked for another PIC");
    }
    if (!isGps && offered <= version) {
        refuse("version is not newer");
        return notNewer;
    }
    version = offered;
    return accepted;
}

std::uint8_t PicBootloader::takeBlock(const Bytes& payload)
{
    const std::uint32_t address = bigEndian(payload, 0, 4);
    if (std::accumulate(payload.begin(), payload.end(), 0U) % 256 != 0) {
        return refuse("block with a wrong checksum");
    }
    if (address % picRowSize != 0 || address < nextAddress || (isGps && address >= gpsMemorySize)) {
        return refuse("block with a wrong address");
    }
    memory.insert(memory.end(), payload.begin() + 4, payload.end() - 1);
    nextAddress = address + sizeof(PicDataBlockPayload::rows);
    ++blockCount;
    return accepted;
}

std::uint8_t PicBootloader::refuse(const char* reason) const
{
    report("%s refuses: %s", name(), reason);
    return refused;
}

void PicBootloader::reportMemory() const
{
    if (state != State::idle) {
        report("%s: version %d.%d.%d, %u blocks up to 0x%05x, crc32 %08x, %s, %s", name(),
               version[0], version[1], version[2], blockCount, nextAddress, crc32(memory),
               isConfigured ? "configuration" : "no configuration",
               state == State::finished ? "finished" : "NOT FINISHED");
    }
}

} // namespace simulator
