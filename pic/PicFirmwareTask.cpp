#include "pic/PicFirmwareTask.h"

#include "app/AppException.h"
#include "app/HardwareShield.h"
#include "base/BigEndian.h"
#include "pic/PicFileName.h"
#include "pic/PicGlobals.h"

#include <cstdio>

using lc::MoxArmControl;

PicFirmwareTask::PicFirmwareTask(const std::string& path) : firmwarePath(path)
{
    resetPicGlobals();
}

int PicFirmwareTask::run()
{
    shieldHardwareRun();
    if (!channel.open()) {
        return -1;
    }
    channel.drain();
    const int status = updateFromFile();
    firmwareFile.reset();
    channel.close();
    return status;
}

int PicFirmwareTask::updateFromFile()
{
    if (!checkFileName()) {
        std::puts("Failed to open pic firmware file. Ensure proper name format.");
        return -1;
    }
    return runForDevice();
}

bool PicFirmwareTask::checkFileName()
{
    std::puts("Checking File Name");
    const auto fileName = parsePicFileName(firmwarePath);
    if (!fileName) {
        return false;
    }
    device = fileName->device;
    versions = fileName->versions;
    if (device == MoxArmControl::PicDevDebugging) {
        return true;
    }
    firmwareFile.reset(std::fopen(firmwarePath.c_str(), "r"));
    if (!firmwareFile) {
        return false;
    }
    std::printf("Opened file [%s]\n", firmwarePath.c_str());
    std::printf("Parsed Info. Dev: %d, Versions: %04d, %04d, %04d\n", device, versions[0],
                versions[1], versions[2]);
    return true;
}

int PicFirmwareTask::runForDevice()
{
    if (device == MoxArmControl::PicDevDebugging) {
        std::puts("No Debug/Testing Implememted.");
        return 0;
    }
    const PicDevice* const target = findPicDevice(device);
    if (target == nullptr) {
        std::puts("Unknown PIC Device");
        return 0;
    }
    return target->hasGpsVersionCheck ? updateIfNeeded(target->check) : updatePic(target->check);
}

int PicFirmwareTask::updateIfNeeded(PicResponseCheck check)
{
    switch (checkGpsPicVersion()) {
    case gpsPicNeedsUpdate:
        return updatePic(check);
    case gpsPicUpToDate:
        std::puts("KT4100 GPS software already up-to-date.");
        return 0;
    case gpsPicNotPowered:
        std::puts("GPS Board Not Powered.");
        return 0;
    case gpsPicQueryFailed:
    default:
        std::puts("Error trying to get KT4100 GPS mode and version.");
        return 0;
    }
}

int PicFirmwareTask::updatePic(PicResponseCheck check)
{
    const PicDevice& target = *findPicDevice(device);
    auto plan = planPicUpdate(firmwareFile.get(), target);
    if (!plan || !send(check, MoxArmControl::PicCmdBegin) ||
        !sendVersions(check, target.firstVersionMark) || !sendProgram(check, *plan) ||
        !send(check, MoxArmControl::PicCmdDataEnd)) {
        return -1;
    }
    if (target.takesFinish && !send(check, MoxArmControl::PicCmdFinish)) {
        return -1;
    }
    std::puts(target.completionText);
    return 0;
}

bool PicFirmwareTask::sendVersions(PicResponseCheck check, std::uint16_t firstVersionMark) const
{
    auto marked = versions;
    marked[0] |= firstVersionMark;
    std::array<std::uint8_t, sizeof(marked)> payload{};
    for (std::size_t i = 0; i < marked.size(); ++i) {
        writeBigEndian16(&payload[i * sizeof(marked[i])], marked[i]);
    }
    return send(check, MoxArmControl::PicCmdVersions, payload);
}

/// What goes wrong in here ends the update.
bool PicFirmwareTask::sendProgram(PicResponseCheck check, PicPlan& plan)
{
    try {
        const bool isSent = plan.forEach(
            [&](PicStep step, std::span<std::uint8_t> data) { return take(check, step, data); });
        if (isSent && plan.fault) {
            std::rethrow_exception(plan.fault);
        }
        return isSent;
    } catch (...) {
        printCurrentException();
        return false;
    }
}

bool PicFirmwareTask::take(PicResponseCheck check, PicStep step, std::span<std::uint8_t> data)
{
    switch (step) {
    case PicStep::countRecord:
        ++lineCounter;
        return true;
    case PicStep::reportTooShort:
        std::printf("Invalid num bytes in line %d\n", lineCounter++);
        return true;
    case PicStep::reportType:
        std::printf("Not doing anything with line type %d\n", data[0]);
        return true;
    case PicStep::sendBlock:
        return send(check, MoxArmControl::PicCmdDataBlock, data);
    case PicStep::sendConfiguration:
    default:
        return send(check, MoxArmControl::PicCmdConfig, data);
    }
}

bool PicFirmwareTask::send(PicResponseCheck check, MoxArmControl::PicUpdateCmdType command,
                           std::span<std::uint8_t> payload) const
{
    return sendPicCommand(command, static_cast<int>(payload.size()), payload.data(), check);
}
