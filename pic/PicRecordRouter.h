#pragma once

#include "pic/PicDevice.h"
#include "pic/PicHexRecord.h"

#include <cstddef>
#include <cstdint>
#include <span>

inline constexpr std::size_t picConfigurationSize = 14; ///< bytes that a PIC takes

/// What is to be done with a record of a PIC HEX file.
enum class PicRecordRoute {
    reportTooShort,
    reportType, ///< one of the types that mean nothing to a PIC
    endOfFile,
    extendAddress,
    skipData,          ///< the device does not take them, or there are none
    addRow,            ///< to the program
    sendConfiguration, ///< the first 14 bytes of the data
};

struct RoutedPicRecord {
    PicRecordRoute route;
    std::uint32_t address = 0;               ///< of data to be sent
    std::span<const std::uint8_t> data = {}; ///< to be sent; inside the record
};

/// Gives the records of one HEX file, in their order, their full addresses and decides what becomes
/// of them. What can't be sent as it stands is refused here, whoever asks.
class PicRecordRouter {
public:
    /// `targetDevice` outlives the router.
    explicit PicRecordRouter(const PicDevice& targetDevice) : device(targetDevice) {}

    /// Throws a constant string if the record is refused: a program row of more than 16 bytes, a
    /// configuration of fewer than 14, data to be sent of which not all were decoded, an extended
    /// address that is not there.
    RoutedPicRecord route(const PicHexRecord& record);

private:
    RoutedPicRecord routeData(const PicHexRecord& record) const;
    PicRecordRoute routeOfAddress(std::uint32_t address) const;

    const PicDevice& device;
    std::uint32_t upperAddress = 0; ///< bits 31 to 16 of the addresses
};
