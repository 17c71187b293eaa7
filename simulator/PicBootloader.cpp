#include "simulator/PicBootloader.h"

#include "base/BigEndian.h"
#include "lc/MoxArmControl.h"
#include "pic/PicDataBlock.h"
#include "simulator/Report.h"
#include "simulator/Script.h"

#include <algorithm>
#include <numeric>
#include <span>

using lc::MoxArmControl;

namespace simulator {

namespace {

constexpr std::uint8_t acceptedStatus = 0x00;
constexpr std::uint8_t refusedStatus = 0x01;
constexpr std::uint8_t notNewerStatus = 0xFE;
constexpr const char* notNewer = "version is not newer";

constexpr std::uint32_t shoeVersionFlag = 0xC000;
constexpr std::uint32_t gpsMemorySize = 0x10000;
constexpr std::uint32_t orvelMemorySize = 0x300000; // the configuration is behind it
constexpr std::size_t versionsSize = 6;
constexpr std::size_t configurationSize = 14;
constexpr std::uint32_t blockDataSize = sizeof(PicDataBlockPayload::rows);

/// By the codes of the PICs, which begin at 1.
constexpr std::array names{"battery pack", "shoe", "charger", "adapter", "GPS board"};

} // namespace

/// When a command is taken, with how many bytes, and what comes of it.
struct PicBootloader::Rule {
    int command;
    std::size_t size;
    State before; ///< the beginning command is taken in any state
    State after;
};

/// The rule of a command; none if the PIC does not know it.
const PicBootloader::Rule* PicBootloader::findRule(int command) const
{
    constexpr std::size_t blockSize = sizeof(PicDataBlockPayload);
    static constexpr std::array<Rule, 6> rules{{
        {MoxArmControl::PicCmdBegin, 0, State::idle, State::begun},
        {MoxArmControl::PicCmdVersions, versionsSize, State::begun, State::receiving},
        {MoxArmControl::PicCmdDataBlock, blockSize, State::receiving, State::receiving},
        {MoxArmControl::PicCmdDataEnd, 0, State::receiving, State::dataEnded},
        {MoxArmControl::PicCmdConfig, configurationSize, State::receiving, State::receiving},
        {MoxArmControl::PicCmdFinish, 0, State::dataEnded, State::finished},
    }};
    const auto known = std::span(rules).first(isGps ? 4 : rules.size());
    const auto rule = std::ranges::find(known, command, &Rule::command);
    return rule != known.end() ? &*rule : nullptr;
}

PicBootloader::PicBootloader(int device)
    : name(names.at(static_cast<std::size_t>(device) - 1)),
      isGps(device == MoxArmControl::PicDevKt4100Gps),
      versionMark(device == MoxArmControl::PicDevOrvelShoe ? shoeVersionFlag : 0)
{
    const auto held = numberSetting(isGps ? "gps-version" : "pic-version");
    std::ranges::copy(held, version.begin());
}

Bytes PicBootloader::answer(int command, const Bytes& payload)
{
    if (isGps && command == MoxArmControl::PicCmdGetGpsMode) {
        return {static_cast<std::uint8_t>(numberSetting("gps-mode")[0])};
    }
    if (isGps && command == MoxArmControl::PicCmdGetGpsVersion) {
        Bytes bytes(sizeof(version[0]));
        writeBigEndian32(bytes.data(), version[0]);
        return bytes;
    }
    const Rule* const rule = findRule(command);
    const char* const fault =
        setting("pic") == "refuse" ? "set to refuse" : findFault(rule, payload);
    if (fault != nullptr) {
        report("PIC of the %s refuses: %s", name, fault);
        return {fault == notNewer ? notNewerStatus : refusedStatus};
    }
    execute(*rule, payload);
    return {acceptedStatus};
}

const char* PicBootloader::findFault(const Rule* rule, const Bytes& payload) const
{
    if (rule == nullptr) {
        return "command unknown";
    }
    if (rule->command != MoxArmControl::PicCmdBegin && state != rule->before) {
        return "command out of order";
    }
    if (payload.size() != rule->size) {
        return "command of a wrong length";
    }
    if (rule->command == MoxArmControl::PicCmdDataBlock) {
        return findBlockFault(payload);
    }
    if (rule->command != MoxArmControl::PicCmdVersions) {
        return nullptr;
    }
    if (readVersions(payload)[0] >= shoeVersionFlag) {
        return "versions marked for another PIC";
    }
    return !isGps && readVersions(payload) <= version ? notNewer : nullptr;
}

const char* PicBootloader::findBlockFault(const Bytes& payload) const
{
    const std::uint32_t address = readBigEndian32(payload.data());
    if (std::accumulate(payload.begin(), payload.end(), 0U) % 256 != 0) {
        return "block with a wrong checksum";
    }
    if (address % picRowSize != 0 || address < nextAddress) {
        return "block with a wrong address";
    }
    const bool isInside = address <= (isGps ? gpsMemorySize : orvelMemorySize) - blockDataSize;
    return isInside ? nullptr : "block beyond the end of the memory";
}

PicBootloader::Versions PicBootloader::readVersions(const Bytes& payload) const
{
    return {readBigEndian16(&payload[0]) ^ versionMark, readBigEndian16(&payload[2]),
            readBigEndian16(&payload[4])};
}

void PicBootloader::execute(const Rule& rule, const Bytes& payload)
{
    switch (rule.command) {
    case MoxArmControl::PicCmdBegin:
        nextAddress = 0;
        memory.clear();
        isConfigured = false;
        break;
    case MoxArmControl::PicCmdVersions:
        offered = readVersions(payload);
        break;
    case MoxArmControl::PicCmdDataBlock:
        memory.insert(memory.end(), payload.begin() + sizeof(PicDataBlockPayload::address),
                      payload.end() - sizeof(PicDataBlockPayload::checksum));
        nextAddress = readBigEndian32(payload.data()) + blockDataSize;
        break;
    default:
        isConfigured |= rule.command == MoxArmControl::PicCmdConfig;
        break;
    }
    // The GPS PIC is done when the data has ended.
    state = isGps && rule.after == State::dataEnded ? State::finished : rule.after;
    version = state == State::finished ? offered : version;
}

void PicBootloader::reportMemory() const
{
    if (state != State::idle) {
        report("PIC of the %s: version %u.%u.%u, %zu blocks up to 0x%05x, crc32 %08x, %s, %s", name,
               version[0], version[1], version[2], memory.size() / blockDataSize, nextAddress,
               crc32(memory), isConfigured ? "configuration" : "no configuration",
               state == State::finished ? "finished" : "NOT FINISHED");
    }
}

} // namespace simulator
