#include "pic/PicFirmwareTask.h"

#include "app/HardwareShield.h"
#include "pic/GpsPicCheck.h"
#include "pic/PicDevice.h"
#include "pic/PicFileCheck.h"
#include "pic/PicFileName.h"
#include "pic/PicGlobals.h"
#include "pic/PicUpdate.h"

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
    return target->hasGpsVersionCheck ? updateIfNeeded(*target) : updatePic(*target);
}

int PicFirmwareTask::updateIfNeeded(const PicDevice& target)
{
    switch (checkGpsPicVersion(channel, versions[0])) {
    case gpsPicNeedsUpdate:
        return updatePic(target);
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

int PicFirmwareTask::updatePic(const PicDevice& target)
{
    const auto lines = readCheckedPicFile(firmwareFile.get(), target);
    return lines ? PicUpdate({channel, target, versions, *lines, lineCounter}).run() : -1;
}
