#include "pic/PicUpdate.h"

#include "app/AppException.h"

#include <algorithm>

using lc::MoxArmControl;

namespace {

constexpr std::size_t maxLineLength = 200; // characters, the line feed included

/// Payload of the versions command: three big-endian numbers.
constexpr std::size_t versionsSize = 6;
constexpr std::uint16_t shoeVersionFlag = 0xC000;

constexpr std::size_t configurationSize = 14;

// Upper 16 bits of an address.
constexpr std::uint32_t configurationArea = 0x30;
constexpr std::uint32_t lowProgramArea = 0;

const char* completionText(MoxArmControl::PicUpdateDevType device)
{
    switch (device) {
    case MoxArmControl::PicDevOrvelBat:
        return "Completed Orvel Bat Code Update";
    case MoxArmControl::PicDevOrvelShoe:
        return "Completed Orvel Shoe Code Update";
    case MoxArmControl::PicDevOrvelCharger:
        return "Completed Orvel Charger Code Update";
    case MoxArmControl::PicDevOrvelAcAdapter:
        return "Completed Orvel AC Adapter Code Update";
    default:
        return "Completed KT4100 GPS PIC Code Update";
    }
}

} // namespace

int PicUpdate::run()
{
    if (!sendCommand(MoxArmControl::PicCmdBegin) || !sendVersions() || !sendProgram() ||
        !sendCommand(MoxArmControl::PicCmdDataEnd)) {
        return -1;
    }
    // The GPS PIC takes no finishing command.
    if (job.device != MoxArmControl::PicDevKt4100Gps && !sendCommand(MoxArmControl::PicCmdFinish)) {
        return -1;
    }
    std::puts(completionText(job.device));
    return 0;
}

bool PicUpdate::sendCommand(MoxArmControl::PicUpdateCmdType command,
                            std::span<std::uint8_t> payload) const
{
    return job.channel.sendPicCommand(job.device, command, payload, job.check);
}

bool PicUpdate::sendVersions() const
{
    std::array<std::uint16_t, 3> versions = job.versions;
    if (job.device == MoxArmControl::PicDevOrvelShoe) {
        versions[0] |= shoeVersionFlag;
    }
    std::array<std::uint8_t, versionsSize> payload{};
    for (std::size_t i = 0; i < versions.size(); ++i) {
        payload[2 * i] = static_cast<std::uint8_t>(versions[i] >> 8);
        payload[2 * i + 1] = static_cast<std::uint8_t>(versions[i]);
    }
    return sendCommand(MoxArmControl::PicCmdVersions, payload);
}

/// Sends what the file holds. Bad input ends the update here.
bool PicUpdate::sendProgram()
{
    try {
        return sendRecords() && sendLastBlock();
    } catch (...) {
        printCurrentException();
        return false;
    }
}

bool PicUpdate::sendRecords()
{
    std::array<char, maxLineLength + 1> line{};
    while (std::fgets(line.data(), static_cast<int>(line.size()), job.firmwareFile) != nullptr) {
        const PicHexRecord record(line.data());
        if (record.isTooShort()) {
            std::printf("Invalid num bytes in line %d\n", job.lineCounter++);
            continue;
        }
        if (!handleRecord(record)) {
            return false;
        }
    }
    return true;
}

/// Reading goes on behind an end-of-file record, until the file itself ends.
bool PicUpdate::handleRecord(const PicHexRecord& record)
{
    switch (record.type()) {
    case PicHexRecord::data:
        return handleData(record);
    case PicHexRecord::endOfFile:
        return true;
    case PicHexRecord::extendedLinearAddress:
        upperAddress = record.upperAddress();
        return true;
    default:
        std::printf("Not doing anything with line type %d\n", record.type());
        return true;
    }
}

bool PicUpdate::handleData(const PicHexRecord& record)
{
    const bool succeeded = routeData(upperAddress | record.offset(), record.dataBytes());
    ++job.lineCounter;
    return succeeded;
}

/// Sends, collects or skips data, as their address and the device say.
bool PicUpdate::routeData(std::uint32_t address, std::span<const std::uint8_t> data)
{
    const std::uint32_t area = address >> 16;
    if (job.device == MoxArmControl::PicDevKt4100Gps && area != lowProgramArea) {
        return true; // it takes neither configuration nor code beyond its low program memory
    }
    return area == configurationArea ? sendConfiguration(data) : addRow(address, data);
}

bool PicUpdate::addRow(std::uint32_t address, std::span<const std::uint8_t> data)
{
    if (data.empty()) {
        return true;
    }
    block.addRow(address, data);
    if (!block.isFull()) {
        return true;
    }
    block.close();
    if (job.device == MoxArmControl::PicDevKt4100Gps) {
        block.swapWords();
    }
    const bool succeeded = sendCommand(MoxArmControl::PicCmdDataBlock, block.bytes());
    block.clear();
    return succeeded;
}

bool PicUpdate::sendConfiguration(std::span<const std::uint8_t> data) const
{
    std::array<std::uint8_t, configurationSize> payload{};
    if (data.size() < payload.size()) {
        throw "Configuration record of fewer than 14 bytes";
    }
    std::copy_n(data.begin(), payload.size(), payload.begin());
    return sendCommand(MoxArmControl::PicCmdConfig, payload);
}

/// The words of a block that the file does not fill are swapped for every device.
bool PicUpdate::sendLastBlock()
{
    if (block.isEmpty()) {
        return true;
    }
    block.fillUp();
    block.close();
    block.swapWords();
    return sendCommand(MoxArmControl::PicCmdDataBlock, block.bytes());
}
