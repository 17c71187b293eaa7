#pragma once

#include "pic/PicCommandChannel.h"

#include <cstdint>

/// What the GPS PIC's mode and version say about an update.
enum GpsPicVerdict : std::int32_t {
    gpsPicNotPowered = -2,
    gpsPicQueryFailed = -1, ///< the failure has been printed
    gpsPicUpToDate = 0,
    gpsPicNeedsUpdate = 1,
};

/// The reply check of the GPS PIC. Its answers to the mode and version queries are stored in
/// `GpsPicMode` and `GpsPicVersion` and printed; `Cmd` tells which answer it is.
PicUpdateErr checkGpsPicResponse(const DataEntry& entry);

/// Asks the GPS PIC for its mode and version and decides whether `fileVersion` is to be programmed.
GpsPicVerdict askGpsPic(const PicCommandChannel& channel, std::uint16_t fileVersion);
