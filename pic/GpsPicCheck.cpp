#include "pic/GpsPicCheck.h"

#include "base/BigEndian.h"
#include "pic/PicGlobals.h"

#include <cstdio>

using lc::MoxArmControl;

namespace {

constexpr std::int32_t notPoweredMode = 255;
constexpr std::int32_t updateAlwaysMode = 0;

void storeMode(const DataEntry& entry)
{
    GpsPicMode = entry.data[0];
    std::printf("GPS PIC Mode: %d\n", GpsPicMode);
}

void storeVersion(const DataEntry& entry)
{
    GpsPicVersion = readBigEndian32(entry.data.data());
    std::printf("GPS PIC Version: %ld (0x%lX)\n", static_cast<long>(GpsPicVersion),
                static_cast<unsigned long>(GpsPicVersion));
}

bool query(const PicCommandChannel& channel, MoxArmControl::PicUpdateCmdType command)
{
    return channel.send(MoxArmControl::PicDevKt4100Gps, command, 0, nullptr, checkGpsPicResponse);
}

} // namespace

PicUpdateErr checkGpsPicResponse(const DataEntry& entry)
{
    if (entry.length == 0) { // a negative one counts as an answer of this PIC
        return PicErrNoResponseLen;
    }
    switch (Cmd) {
    case MoxArmControl::PicCmdBegin:
    case MoxArmControl::PicCmdFinish:
    case MoxArmControl::PicCmdVersions:
    case MoxArmControl::PicCmdDataEnd:
    case MoxArmControl::PicCmdDataBlock:
    case MoxArmControl::PicCmdConfig:
        return entry.data[0] == acceptedPicStatus ? PicErrNone : PicErrUpdateOrResponse;
    case MoxArmControl::PicCmdGetGpsMode:
        storeMode(entry);
        return PicErrNone;
    case MoxArmControl::PicCmdGetGpsVersion:
        storeVersion(entry);
        return PicErrNone;
    default:
        return PicErrNone;
    }
}

GpsPicVerdict askGpsPic(const PicCommandChannel& channel, std::uint16_t fileVersion)
{
    if (!query(channel, MoxArmControl::PicCmdGetGpsMode) ||
        !query(channel, MoxArmControl::PicCmdGetGpsVersion)) {
        return gpsPicQueryFailed;
    }
    if (GpsPicMode == notPoweredMode) {
        return gpsPicNotPowered;
    }
    if (GpsPicMode == updateAlwaysMode) {
        return gpsPicNeedsUpdate;
    }
    return fileVersion > GpsPicVersion ? gpsPicNeedsUpdate : gpsPicUpToDate;
}
