#include "simulator/PicBootloader.h"

#include "base/BigEndian.h"
#include "lc/MoxArmControl.h"
#include "pic/PicDataBlock.h"
#include "simulator/Outcome.h"
#include "simulator/Report.h"
#include "simulator/Script.h"
#include "simulator/Settings.h"

#include <algorithm>
#include <numeric>
#include <span>

using lc::MoxArmControl;

namespace simulator {

namespace {

constexpr std::uint8_t acceptedStatus = 0x00;
constexpr std::uint8_t notNewerStatus = 0xFE;

constexpr std::uint32_t shoeVersionFlag = 0xC000;
constexpr std::uint32_t gpsMemorySize = 0x10000;
constexpr std::uint32_t orvelMemorySize = 0x300000; // the configuration is behind it
constexpr std::size_t versionsSize = 6;
constexpr std::size_t configurationSize = 14;

std::uint32_t numberSetting(const char* name)
{
    const auto value = parseNumber(Script::instance().setting(name));
    return static_cast<std::uint32_t>(value.value_or(0));
}

Bytes toBigEndian(std::uint32_t value)
{
    return {static_cast<std::uint8_t>(value >> 24), static_cast<std::uint8_t>(value >> 16),
            static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)};
}

} // namespace

/// What a PIC is called and how much program memory it has.
struct PicBootloader::Model {
    int device;
    const char* name;
    std::uint32_t memorySize;
    bool isGps;
};

const PicBootloader::Model* PicBootloader::findModel(int picDevice)
{
    static constexpr std::array<Model, 5> models{{
        {MoxArmControl::PicDevOrvelBat, "PIC of the battery pack", orvelMemorySize, false},
        {MoxArmControl::PicDevOrvelShoe, "PIC of the shoe", orvelMemorySize, false},
        {MoxArmControl::PicDevOrvelCharger, "PIC of the charger", orvelMemorySize, false},
        {MoxArmControl::PicDevOrvelAcAdapter, "PIC of the adapter", orvelMemorySize, false},
        {MoxArmControl::PicDevKt4100Gps, "PIC of the GPS board", gpsMemorySize, true},
    }};
    const auto found = std::find_if(models.begin(), models.end(), [&](const Model& candidate) {
        return candidate.device == picDevice;
    });
    return found != models.end() ? &*found : nullptr;
}

/// When a command is taken, with how many bytes, and what comes of it.
struct PicBootloader::Rule {
    int command;
    std::size_t size;
    State before;
    State after;
};

/// The rule of a command; none if the PIC does not know it. The beginning command is taken in any
/// state.
const PicBootloader::Rule* PicBootloader::findRule(int command) const
{
    constexpr std::size_t blockSize = sizeof(PicDataBlockPayload);
    static constexpr std::array<Rule, 6> orvelRules{{
        {MoxArmControl::PicCmdBegin, 0, State::idle, State::begun},
        {MoxArmControl::PicCmdVersions, versionsSize, State::begun, State::receiving},
        {MoxArmControl::PicCmdDataBlock, blockSize, State::receiving, State::receiving},
        {MoxArmControl::PicCmdConfig, configurationSize, State::receiving, State::receiving},
        {MoxArmControl::PicCmdDataEnd, 0, State::receiving, State::dataEnded},
        {MoxArmControl::PicCmdFinish, 0, State::dataEnded, State::finished},
    }};
    static constexpr std::array<Rule, 4> gpsRules{{
        {MoxArmControl::PicCmdBegin, 0, State::idle, State::begun},
        {MoxArmControl::PicCmdVersions, versionsSize, State::begun, State::receiving},
        {MoxArmControl::PicCmdDataBlock, blockSize, State::receiving, State::receiving},
        {MoxArmControl::PicCmdDataEnd, 0, State::receiving, State::finished},
    }};
    const std::span<const Rule> rules =
        model.isGps ? std::span<const Rule>(gpsRules) : std::span<const Rule>(orvelRules);
    const auto rule = std::find_if(rules.begin(), rules.end(), [&](const Rule& candidate) {
        return candidate.command == command;
    });
    return rule != rules.end() ? &*rule : nullptr;
}

bool PicBootloader::exists(int picDevice)
{
    return findModel(picDevice) != nullptr;
}

PicBootloader::PicBootloader(int picDevice)
    : model(*findModel(picDevice)),
      version(model.isGps
                  ? Versions{numberSetting("gps-version"), 0, 0}
                  : parseVersions(Script::instance().setting("pic-version")).value_or(Versions{}))
{
}

Bytes PicBootloader::answer(int command, const Bytes& payload)
{
    if (model.isGps && command == MoxArmControl::PicCmdGetGpsMode) {
        return {static_cast<std::uint8_t>(numberSetting("gps-mode"))};
    }
    if (model.isGps && command == MoxArmControl::PicCmdGetGpsVersion) {
        return toBigEndian(version[0]);
    }
    if (Script::instance().setting("pic") == "refuse") {
        return {refuse("set to refuse")};
    }
    return {execute(command, payload)};
}

std::uint8_t PicBootloader::execute(int command, const Bytes& payload)
{
    const Rule* const rule = findRule(command);
    if (rule == nullptr) {
        return refuse("command unknown");
    }
    if (command != MoxArmControl::PicCmdBegin && state != rule->before) {
        return refuse("command out of order");
    }
    if (payload.size() != rule->size) {
        return refuse("command of a wrong length");
    }
    const std::uint8_t status = handle(command, payload);
    if (status == acceptedStatus) {
        state = rule->after;
    }
    if (state == State::finished) {
        version = offered;
    }
    return status;
}

std::uint8_t PicBootloader::handle(int command, const Bytes& payload)
{
    switch (command) {
    case MoxArmControl::PicCmdBegin:
        begin();
        return acceptedStatus;
    case MoxArmControl::PicCmdVersions:
        return takeVersions(payload);
    case MoxArmControl::PicCmdDataBlock:
        return takeBlock(payload);
    case MoxArmControl::PicCmdConfig:
        isConfigured = true;
        return acceptedStatus;
    default:
        return acceptedStatus;
    }
}

void PicBootloader::begin()
{
    nextAddress = 0;
    blockCount = 0;
    memory.clear();
    isConfigured = false;
}

std::uint8_t PicBootloader::takeVersions(const Bytes& payload)
{
    for (std::size_t i = 0; i < offered.size(); ++i) {
        offered[i] = readBigEndian16(&payload[2 * i]);
    }
    if (model.device == MoxArmControl::PicDevOrvelShoe) {
        offered[0] ^= shoeVersionFlag; // the mark of the shoe
    }
    if (offered[0] >= shoeVersionFlag) {
        return refuse("versions marked for another PIC");
    }
    if (!model.isGps && offered <= version) {
        refuse("version is not newer");
        return notNewerStatus;
    }
    return acceptedStatus;
}

std::uint8_t PicBootloader::takeBlock(const Bytes& payload)
{
    constexpr std::uint32_t dataSize = sizeof(PicDataBlockPayload::rows);
    const std::uint32_t address = readBigEndian32(payload.data());
    if (std::accumulate(payload.begin(), payload.end(), 0U) % 256 != 0) {
        return refuse("block with a wrong checksum");
    }
    if (address % picRowSize != 0 || address < nextAddress) {
        return refuse("block with a wrong address");
    }
    if (address > model.memorySize - dataSize) {
        return refuse("block beyond the end of the memory");
    }
    memory.insert(memory.end(), payload.begin() + sizeof(PicDataBlockPayload::address),
                  payload.end() - sizeof(PicDataBlockPayload::checksum));
    nextAddress = address + dataSize;
    ++blockCount;
    return acceptedStatus;
}

std::uint8_t PicBootloader::refuse(const char* reason) const
{
    report("%s refuses: %s", model.name, reason);
    return refusedStatus;
}

void PicBootloader::reportMemory() const
{
    if (state != State::idle) {
        report("%s: version %u.%u.%u, %u blocks up to 0x%05x, crc32 %08x, %s, %s", model.name,
               version[0], version[1], version[2], blockCount, nextAddress, crc32(memory),
               isConfigured ? "configuration" : "no configuration",
               state == State::finished ? "finished" : "NOT FINISHED");
    }
}

} // namespace simulator
