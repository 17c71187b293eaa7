#pragma once

#include <cstddef>
#include <cstdint>

// What the records of /dev/arm-events consist of, each behind its tag.

inline constexpr std::uint32_t keyEventTag = 0xfeedbe01;

/// Entry of a key event.
struct KeyEvent {
    std::int32_t key;
    std::int32_t time;
    std::int32_t state;
};
static_assert(sizeof(KeyEvent) == 12);
static_assert(offsetof(KeyEvent, key) == 0);
static_assert(offsetof(KeyEvent, time) == 4);
static_assert(offsetof(KeyEvent, state) == 8);

inline constexpr std::uint32_t keyValueEventTag = 0xfeedbe02;

/// Entry of a key/value event; the key is a `ValueKey`.
struct KeyValueEvent {
    std::int32_t key;
    std::int32_t value;
};
static_assert(sizeof(KeyValueEvent) == 8);
static_assert(offsetof(KeyValueEvent, key) == 0);
static_assert(offsetof(KeyValueEvent, value) == 4);

inline constexpr std::uint32_t batteryEventTag = 0xfeedbe03;

/// One battery pack. The field names are those that are printed.
struct BatteryEventBlock {
    std::uint32_t charge;
    std::uint8_t charge_perc;
    std::uint8_t temperature;
    std::uint16_t voltage_sense;
    std::uint32_t current_sense;
    std::uint16_t cell_1_voltage;
    std::uint16_t cell_2_voltage;
    std::uint16_t cell_3_voltage;
    std::uint16_t cell_4_voltage;
    std::uint16_t cell_5_voltage;
    std::uint8_t reserved22[2];
    std::uint32_t time_up;
    std::uint32_t dischrg_time;
    std::uint32_t chrg_time;
    std::uint8_t reserved36[4];
};
static_assert(sizeof(BatteryEventBlock) == 40);
static_assert(offsetof(BatteryEventBlock, charge) == 0);
static_assert(offsetof(BatteryEventBlock, charge_perc) == 4);
static_assert(offsetof(BatteryEventBlock, temperature) == 5);
static_assert(offsetof(BatteryEventBlock, voltage_sense) == 6);
static_assert(offsetof(BatteryEventBlock, current_sense) == 8);
static_assert(offsetof(BatteryEventBlock, cell_1_voltage) == 12);
static_assert(offsetof(BatteryEventBlock, cell_2_voltage) == 14);
static_assert(offsetof(BatteryEventBlock, cell_3_voltage) == 16);
static_assert(offsetof(BatteryEventBlock, cell_4_voltage) == 18);
static_assert(offsetof(BatteryEventBlock, cell_5_voltage) == 20);
static_assert(offsetof(BatteryEventBlock, time_up) == 24);
static_assert(offsetof(BatteryEventBlock, dischrg_time) == 28);
static_assert(offsetof(BatteryEventBlock, chrg_time) == 32);

/// Entry of a battery event.
struct BatteryEventRecord {
    BatteryEventBlock right;
    BatteryEventBlock left;
};
static_assert(sizeof(BatteryEventRecord) == 80);
static_assert(offsetof(BatteryEventRecord, left) == 40);

inline constexpr std::uint32_t dlsEventTag = 0xfeedbe04;

/// Entry of a DLS event.
struct DlsEvent {
    std::uint8_t id;
    std::uint8_t reserved1[3];
    std::uint32_t state;
};
static_assert(sizeof(DlsEvent) == 8);
static_assert(offsetof(DlsEvent, id) == 0);
static_assert(offsetof(DlsEvent, state) == 4);

/// What a key/value event tells.
enum ValueKey : std::int32_t {
    magneticSensorValue = 1, ///< not 0: close
    counterValue = 2,
    faultCodeValue = 3, ///< a set of faults
};
