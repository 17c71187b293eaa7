#include "simulator/PicBootloader.h"

#include "lc/MoxArmControl.h"
#include "listeners/ArmRecord.h"

#include <cstdio>
#include <cstring>
#include <numeric>

using lc::MoxArmControl;

namespace simulator {

namespace {

constexpr std::uint8_t accepted = 0x00;
constexpr std::uint8_t refused = 0x01;
constexpr std::uint8_t notNewer = 0xFE;
constexpr double lateSeconds = 1.5; // the tool waits one second

constexpr std::size_t blockSize = 69;
constexpr std::size_t blockDataSize = 64;
constexpr std::uint32_t rowSize = 16;

std::uint32_t bigEndian(const std::uint8_t* bytes, std::size_t count)
{
    return std::accumulate(
        bytes, bytes + count, std::uint32_t{0},
        [](std::uint32_t value, std::uint8_t byte) { return value << 8 | byte; });
}

std::array<int, 3> parseVersion(const std::string& text)
{
    std::array<int, 3> version{};
    std::sscanf(text.c_str(), "%d.%d.%d", &version[0], &version[1], &version[2]);
    return version;
}

std::string format(const std::array<int, 3>& version)
{
    return std::to_string(version[0]) + "." + std::to_string(version[1]) + "." +
           std::to_string(version[2]);
}

Bytes makeReplyBlock(const Bytes& data)
{
    const ArmRecordHeader header{picReplyTag, sizeof(DataEntry)};
    DataEntry entry{};
    entry.length = static_cast<std::int32_t>(data.size());
    std::copy(data.begin(), data.end(), entry.data.begin());
    Bytes block(sizeof(header) + sizeof(entry));
    std::memcpy(block.data(), &header, sizeof(header));
    std::memcpy(block.data() + sizeof(header), &entry, sizeof(entry));
    return block;
}

} // namespace

PicBootloader::PicBootloader(int picDevice)
    : device(picDevice), version(parseVersion(Script::instance().setting("pic-version", "1.0.0")))
{
}

bool PicBootloader::isGps() const
{
    return device == MoxArmControl::PicDevKt4100Gps;
}

std::string PicBootloader::name() const
{
    switch (device) {
    case MoxArmControl::PicDevOrvelBat:
        return "PIC of the battery pack";
    case MoxArmControl::PicDevOrvelShoe:
        return "PIC of the shoe";
    case MoxArmControl::PicDevOrvelCharger:
        return "PIC of the charger";
    case MoxArmControl::PicDevKt4100Gps:
        return "PIC of the GPS board";
    default:
        return "PIC " + std::to_string(device);
    }
}

PicBootloader::Answer PicBootloader::handle(int command, const Bytes& payload)
{
    const std::string behaviour = Script::instance().setting("pic", "normal");
    if (behaviour == "silent") {
        return {};
    }
    Answer answer{behaviour == "late" ? lateSeconds : 0, {}};
    answer.block =
        makeReplyBlock(behaviour == "refuse" ? Bytes{refused} : answerData(command, payload));
    return answer;
}

Bytes PicBootloader::answerData(int command, const Bytes& payload)
{
    const auto setting = [](const char* settingName) {
        return std::stoul(Script::instance().setting(settingName, "1"), nullptr, 0);
    };
    if (isGps() && command == MoxArmControl::PicCmdGetGpsMode) {
        return {static_cast<std::uint8_t>(setting("gps-mode"))};
    }
    if (isGps() && command == MoxArmControl::PicCmdGetGpsVersion) {
        const unsigned long value = setting("gps-version");
        return {static_cast<std::uint8_t>(value >> 24), static_cast<std::uint8_t>(value >> 16),
                static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)};
    }
    return {execute(command, payload)};
}

std::uint8_t PicBootloader::execute(int command, const Bytes& payload)
{
    const bool hasNoPayload = payload.empty();
    switch (command) {
    case MoxArmControl::PicCmdBegin:
        state = State::begun;
        return hasNoPayload ? accepted : refuse("begin with a payload");
    case MoxArmControl::PicCmdVersions:
        return state == State::begun ? takeVersions(payload) : refuse("versions out of order");
    case MoxArmControl::PicCmdDataBlock:
        return state == State::receiving ? takeBlock(payload) : refuse("block out of order");
    case MoxArmControl::PicCmdConfig:
        if (state != State::receiving || isGps() || payload.size() != 14) {
            return refuse("configuration out of order or of a wrong length");
        }
        configuration = payload;
        return accepted;
    case MoxArmControl::PicCmdDataEnd:
        if (state != State::receiving || !hasNoPayload) {
            return refuse("end of data out of order");
        }
        state = isGps() ? State::finished : State::dataEnded;
        return accepted;
    case MoxArmControl::PicCmdFinish:
        if (state != State::dataEnded || !hasNoPayload) {
            return refuse("finish out of order");
        }
        state = State::finished;
        return accepted;
    default:
        return refuse("unknown command");
    }
}

std::uint8_t PicBootloader::takeVersions(const Bytes& payload)
{
    constexpr std::uint32_t shoeFlag = 0xC000;
    if (payload.size() != 6) {
        return refuse("versions of a wrong length");
    }
    std::uint32_t first = bigEndian(payload.data(), 2);
    if (device == MoxArmControl::PicDevOrvelShoe) {
        if ((first & shoeFlag) != shoeFlag) {
            return refuse("versions without the mark of the shoe");
        }
        first &= ~shoeFlag;
    }
    const std::array<int, 3> offered{static_cast<int>(first),
                                     static_cast<int>(bigEndian(payload.data() + 2, 2)),
                                     static_cast<int>(bigEndian(payload.data() + 4, 2))};
    if (!isGps() && offered <= version) {
        report(name() + " refuses: version " + format(offered) + " is not newer than " +
               format(version));
        return notNewer;
    }
    version = offered;
    state = State::receiving;
    return accepted;
}

std::uint8_t PicBootloader::takeBlock(const Bytes& payload)
{
    if (payload.size() != blockSize) {
        return refuse("block of a wrong length");
    }
    if ((std::accumulate(payload.begin(), payload.end(), 0U) & 0xFF) != 0) {
        return refuse("block with a wrong checksum");
    }
    const std::uint32_t address = bigEndian(payload.data(), 4);
    if (address % rowSize != 0 || address < nextAddress || (isGps() && address > 0xFFFF)) {
        return refuse("block with a wrong address");
    }
    blocks[address] = Bytes(payload.begin() + 4, payload.end() - 1);
    nextAddress = address + blockDataSize;
    return accepted;
}

std::uint8_t PicBootloader::refuse(const std::string& reason) const
{
    report(name() + " refuses: " + reason);
    return refused;
}

void PicBootloader::reportMemory() const
{
    if (state == State::idle) {
        return;
    }
    Bytes memory;
    for (const auto& [address, data] : blocks) {
        memory.insert(memory.end(), data.begin(), data.end());
    }
    char text[160];
    std::snprintf(text, sizeof(text), "%s: version %s, %zu blocks, 0x%05x-0x%05x, crc32 %08x, %s",
                  name().c_str(), format(version).c_str(), blocks.size(),
                  blocks.empty() ? 0 : blocks.begin()->first, nextAddress, crc32(memory),
                  configuration.empty() ? "no configuration" : "configuration");
    report(text + std::string(state == State::finished ? ", finished" : ", NOT FINISHED"));
}

} // namespace simulator
