#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

/// What the library knows of one battery pack; 52 bytes, little-endian. A NUL ends a text that does
/// not fill its field.
struct BatteryInfoRecord {
    std::uint8_t notUsed0[6];
    std::uint16_t packType; ///< a character code
    char serialNumber[13];
    char manufacturingDate[11];
    std::uint32_t capacity;
    std::uint32_t chargeCycles;
    std::uint16_t batteryVersion;
    std::uint16_t hardwareVersion;
    std::uint16_t selfUpdateVersion;
    std::uint16_t interfaceUpdateVersion;
    std::uint16_t chargerUpdateVersion;
    std::uint8_t notUsed50[2];
};
static_assert(std::endian::native == std::endian::little);
static_assert(sizeof(BatteryInfoRecord) == 52);
static_assert(offsetof(BatteryInfoRecord, packType) == 6);
static_assert(offsetof(BatteryInfoRecord, serialNumber) == 8);
static_assert(offsetof(BatteryInfoRecord, manufacturingDate) == 21);
static_assert(offsetof(BatteryInfoRecord, capacity) == 32);
static_assert(offsetof(BatteryInfoRecord, chargeCycles) == 36);
static_assert(offsetof(BatteryInfoRecord, batteryVersion) == 40);
static_assert(offsetof(BatteryInfoRecord, hardwareVersion) == 42);
static_assert(offsetof(BatteryInfoRecord, selfUpdateVersion) == 44);
static_assert(offsetof(BatteryInfoRecord, interfaceUpdateVersion) == 46);
static_assert(offsetof(BatteryInfoRecord, chargerUpdateVersion) == 48);

/// Both battery packs, as `lc::MoxArmControl::GetBatInfo` fills them in; 104 bytes.
struct bat_info_to_ui {
    BatteryInfoRecord right;
    BatteryInfoRecord left;
};
static_assert(sizeof(bat_info_to_ui) == 104);
static_assert(offsetof(bat_info_to_ui, left) == 52);
