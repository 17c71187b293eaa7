#include "pic/PicGlobals.h"

#include "lc/MoxArmControl.h"

std::int32_t Cmd = lc::MoxArmControl::PicCmdNone;
std::int32_t GpsPicMode = gpsPicModeUnknown;
std::uint32_t GpsPicVersion = 0;

void resetPicGlobals()
{
    Cmd = lc::MoxArmControl::PicCmdNone;
    GpsPicMode = gpsPicModeUnknown;
    GpsPicVersion = 0;
}
