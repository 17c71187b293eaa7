#include "pic/PicRecordRouter.h"

#include "base/BigEndian.h"
#include "base/IntelHex.h"
#include "pic/PicDataBlock.h"

namespace {

// Upper 16 bits of an address.
constexpr std::uint32_t lowMemory = 0;
constexpr std::uint32_t configurationArea = 0x30;

/// The two address bytes count wherever they are, whatever the byte count and the checksum are.
std::uint32_t readUpperAddress(const PicHexRecord& record)
{
    const auto bytes = record.dataAndChecksum();
    if (bytes.size() < extendedLinearAddressSize) {
        throw "Extended address record without an address";
    }
    return std::uint32_t{readBigEndian16(bytes.data())} << 16;
}

std::span<const std::uint8_t> readData(const PicHexRecord& record)
{
    const std::size_t length = record.announcedLength();
    const auto bytes = record.dataAndChecksum();
    if (length + intelHexChecksumSize > bytes.size()) {
        throw "Fewer data bytes in line than its byte count says";
    }
    return bytes.first(length);
}

} // namespace

RoutedPicRecord PicRecordRouter::route(const PicHexRecord& record)
{
    if (record.isTooShort()) {
        return {PicRecordRoute::reportTooShort};
    }
    switch (static_cast<IntelHexType>(record.type())) {
    case IntelHexType::data:
        return routeData(record);
    case IntelHexType::endOfFile: // the file is read on until it ends itself
        return {PicRecordRoute::endOfFile};
    case IntelHexType::extendedLinearAddress:
        upperAddress = readUpperAddress(record);
        return {PicRecordRoute::extendAddress};
    default:
        return {PicRecordRoute::reportType};
    }
}

RoutedPicRecord PicRecordRouter::routeData(const PicHexRecord& record) const
{
    const std::uint32_t address = upperAddress | record.offset();
    const PicRecordRoute route = routeOfAddress(address);
    if (route == PicRecordRoute::skipData) {
        return {route};
    }
    const auto data = readData(record);
    if (route == PicRecordRoute::sendConfiguration) {
        if (data.size() < picConfigurationSize) {
            throw "Configuration record of fewer than 14 bytes";
        }
        return {route, address, data.first(picConfigurationSize)};
    }
    if (data.size() > picRowSize) {
        throw "Program row of more than 16 bytes";
    }
    return {data.empty() ? PicRecordRoute::skipData : route, address, data};
}

PicRecordRoute PicRecordRouter::routeOfAddress(std::uint32_t address) const
{
    const std::uint32_t area = address >> 16;
    if (area == configurationArea) {
        return device.takesConfiguration ? PicRecordRoute::sendConfiguration
                                         : PicRecordRoute::skipData;
    }
    return area == lowMemory || device.takesHighMemory ? PicRecordRoute::addRow
                                                       : PicRecordRoute::skipData;
}
