#include "simulator/Channels.h"

#include "listeners/ArmRecord.h"
#include "listeners/EventEntries.h"
#include "simulator/DeviceNames.h"
#include "simulator/Instrument.h"

#include <array>
#include <cstring>
#include <initializer_list>

namespace simulator {

namespace {

template <class Value>
void appendValue(Bytes& bytes, const Value& value)
{
    const std::size_t end = bytes.size();
    bytes.resize(end + sizeof(value));
    std::memcpy(bytes.data() + end, &value, sizeof(value));
}

/// A record whose payload is the values, one behind the other.
template <class Value>
Bytes makeRecord(std::uint32_t tag, std::initializer_list<Value> payload)
{
    Bytes record;
    appendValue(record,
                ArmRecordHeader{tag, static_cast<std::uint32_t>(payload.size() * sizeof(Value))});
    for (const Value& value : payload) {
        appendValue(record, value);
    }
    return record;
}

Bytes makeBatteryRecord(std::int32_t time)
{
    BatteryEventBlock right{};
    right.charge = 4100;
    right.charge_perc = 78;
    right.temperature = 25;
    right.voltage_sense = 14800;
    right.current_sense = 350;
    right.cell_1_voltage = 3697;
    right.cell_2_voltage = 3700;
    right.cell_3_voltage = 3701;
    right.cell_4_voltage = 3696;
    right.cell_5_voltage = 3698;
    right.time_up = static_cast<std::uint32_t>(time);
    BatteryEventBlock left = right;
    left.charge = 3950;
    left.charge_perc = 75;
    left.temperature = 24;
    left.voltage_sense = 14784;
    left.current_sense = 360;
    left.cell_1_voltage = 3696;
    left.cell_2_voltage = 3696;
    left.cell_3_voltage = 3696;
    left.cell_4_voltage = 3697;
    left.cell_5_voltage = 3697;
    return makeRecord(batteryEventTag, {BatteryEventRecord{right, left}});
}

Bytes makeValueRecord(std::int32_t key, std::int32_t value)
{
    return makeRecord(keyValueEventTag, {KeyValueEvent{key, value}});
}

Bytes makeEventBlock(unsigned int step)
{
    constexpr std::int32_t noSuchValue = 99;
    constexpr std::array<std::int32_t, 8> keys{12, 16, 7, 9, 11, 13, 6, 1};
    Instrument& instrument = Instrument::instance();
    const auto time = static_cast<std::int32_t>(1000 + step * 600);
    const auto round = static_cast<std::int32_t>(step / 8);
    const std::int32_t key = keys[step / 4 % keys.size()];
    switch (step % 8) {
    case 1:
    case 5: // pressed and released
        return makeRecord(keyEventTag, {KeyEvent{key, time, 1}, KeyEvent{key, time + 80, 0}});
    case 2:
        instrument.magnetClosed = !instrument.magnetClosed;
        return makeValueRecord(magneticSensorValue, instrument.magnetClosed ? 1 : 0);
    case 3:
        return makeValueRecord(faultCodeValue, round % 2 == 0 ? 0x38 : 0x10);
    case 4:
        return makeBatteryRecord(time);
    case 6:
        return makeRecord(dlsEventTag, {DlsEvent{1, {}, static_cast<std::uint32_t>(round)}});
    case 7:
        return makeValueRecord(noSuchValue, round);
    default:
        instrument.reelCount += 3;
        return makeValueRecord(counterValue, instrument.reelCount);
    }
}

Bytes toBytes(const std::string& text)
{
    return Bytes(text.begin(), text.end());
}

Bytes makeSensorBlock(unsigned int step)
{
    constexpr std::uint32_t unknownTag = 0xfeedbe02;
    Bytes block = makeDataRecord(gpsDataTag, toBytes("$GPGLL,5130.0,N,00007.0,W,120000.00,A,A*71"));
    if (step % 5 == 4) {
        const Bytes unknown = makeRecord(unknownTag, {step});
        block.insert(block.end(), unknown.begin(), unknown.end());
    }
    return block;
}

} // namespace

Bytes makeDataRecord(std::uint32_t tag, const Bytes& data)
{
    DataEntry entry{};
    entry.length = static_cast<std::int32_t>(data.size());
    std::memcpy(entry.data.data(), data.data(), data.size());
    return makeRecord(tag, {entry});
}

Bytes makeLiveBlock(const std::string& path, unsigned int step)
{
    if (path == eventDevice) {
        return makeEventBlock(step);
    }
    if (path == sensorDevice) {
        return makeSensorBlock(step);
    }
    return toBytes("AT+CSQ=" + std::to_string(step) + "\r\nOK\r\n");
}

} // namespace simulator
