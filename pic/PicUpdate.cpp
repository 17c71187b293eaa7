#include "pic/PicUpdate.h"

#include "app/AppException.h"
#include "base/BigEndian.h"

#include <algorithm>

using lc::MoxArmControl;

int PicUpdate::run()
{
    if (!sendCommand(MoxArmControl::PicCmdBegin) || !sendVersions() || !sendProgram() ||
        !sendCommand(MoxArmControl::PicCmdDataEnd)) {
        return -1;
    }
    if (job.device.takesFinish && !sendCommand(MoxArmControl::PicCmdFinish)) {
        return -1;
    }
    std::puts(job.device.completionText);
    return 0;
}

bool PicUpdate::sendCommand(MoxArmControl::PicUpdateCmdType command,
                            std::span<std::uint8_t> payload) const
{
    return job.channel.sendPicCommand(job.device.code, command, payload, job.device.check);
}

bool PicUpdate::sendVersions() const
{
    std::array<std::uint16_t, 3> versions = job.versions;
    versions[0] |= job.device.firstVersionMark;
    std::array<std::uint8_t, sizeof(versions)> payload{};
    for (std::size_t i = 0; i < versions.size(); ++i) {
        writeBigEndian16(&payload[i * sizeof(versions[i])], versions[i]);
    }
    return sendCommand(MoxArmControl::PicCmdVersions, payload);
}

/// Sends what the file holds. Bad input ends the update here.
bool PicUpdate::sendProgram()
{
    try {
        // The words of a block that the file does not fill are swapped for every device.
        return sendRecords() && (block.isEmpty() || sendBlock(true));
    } catch (...) {
        printCurrentException();
        return false;
    }
}

bool PicUpdate::sendRecords()
{
    return job.lines.forEach([this](const char* line) { return handleRecord(PicHexRecord(line)); });
}

bool PicUpdate::handleRecord(const PicHexRecord& record)
{
    const RoutedPicRecord routed = router.route(record);
    bool isSent = true;
    switch (routed.route) {
    case PicRecordRoute::reportTooShort:
        std::printf("Invalid num bytes in line %d\n", job.lineCounter);
        break;
    case PicRecordRoute::reportType:
        std::printf("Not doing anything with line type %d\n", record.type());
        return true;
    case PicRecordRoute::endOfFile:
    case PicRecordRoute::extendAddress:
        return true;
    case PicRecordRoute::skipData:
        break;
    case PicRecordRoute::addRow:
        isSent = addRowAndSendFullBlock(routed.address, routed.data);
        break;
    case PicRecordRoute::sendConfiguration:
        isSent = sendConfiguration(routed.data);
        break;
    }
    ++job.lineCounter;
    return isSent;
}

/// Adds a row to the block and sends the block when that fills it.
bool PicUpdate::addRowAndSendFullBlock(std::uint32_t address, std::span<const std::uint8_t> data)
{
    block.addRow(address, data);
    return !block.isFull() || sendBlock(job.device.swapsFullBlocks);
}

bool PicUpdate::sendConfiguration(std::span<const std::uint8_t> data) const
{
    std::array<std::uint8_t, picConfigurationSize> payload{};
    std::copy(data.begin(), data.end(), payload.begin());
    return sendCommand(MoxArmControl::PicCmdConfig, payload);
}

bool PicUpdate::sendBlock(bool swapsWords)
{
    return sendCommand(MoxArmControl::PicCmdDataBlock, block.close(swapsWords));
}
