#include "simulator/Channels.h"

#include "listeners/ArmRecord.h"
#include "simulator/DeviceNames.h"
#include "simulator/Instrument.h"

#include <array>
#include <bit>
#include <cstring>
#include <initializer_list>

namespace simulator {

namespace {

/// State of one battery pack, as the battery event holds it for the right and for the left one.
struct BatteryState {
    std::uint32_t charge;
    std::uint8_t percentage;
    std::uint8_t temperature;
    std::uint16_t voltage;
    std::uint32_t current;
    std::array<std::uint16_t, 5> cells;
    std::uint16_t notUsed22;
    std::uint32_t timeUp;
    std::uint32_t dischargeTime;
    std::uint32_t chargeTime;
    std::uint32_t notUsed36;
};
static_assert(std::endian::native == std::endian::little);
static_assert(sizeof(BatteryState) == 40);

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

Bytes makeBatteryRecord(std::uint32_t time)
{
    const BatteryState right{.charge = 4100,
                             .percentage = 78,
                             .temperature = 25,
                             .voltage = 14800,
                             .current = 350,
                             .cells = {3697, 3700, 3701, 3696, 3698},
                             .notUsed22 = 0,
                             .timeUp = time,
                             .dischargeTime = 0,
                             .chargeTime = 0,
                             .notUsed36 = 0};
    BatteryState left = right;
    left.charge = 3950;
    left.percentage = 75;
    left.temperature = 24;
    left.voltage = 14784;
    left.current = 360;
    left.cells = {3696, 3696, 3696, 3697, 3697};
    return makeRecord(batteryEventTag, {right, left});
}

/// An event with a value. Magnetic sensor, reel counter and fault code are known to the listener.
Bytes makeValueRecord(std::uint32_t key, std::uint32_t value)
{
    return makeRecord(keyValueEventTag, {key, value});
}

Bytes makeEventBlock(unsigned int step)
{
    constexpr std::uint32_t magneticSensor = 1;
    constexpr std::uint32_t counter = 2;
    constexpr std::uint32_t faultCode = 3;
    constexpr std::uint32_t noSuchValue = 99;
    constexpr std::array<std::uint32_t, 8> keys{12, 16, 7, 9, 11, 13, 6, 1};
    Instrument& instrument = Instrument::instance();
    const std::uint32_t time = 1000 + step * 600;
    const std::uint32_t round = step / 8;
    const std::uint32_t key = keys[step / 4 % keys.size()];
    switch (step % 8) {
    case 1:
    case 5: // pressed and released
        return makeRecord(keyEventTag, {key, time, 1U, key, time + 80, 0U});
    case 2:
        instrument.magnetClosed = !instrument.magnetClosed;
        return makeValueRecord(magneticSensor, instrument.magnetClosed ? 1 : 0);
    case 3:
        return makeValueRecord(faultCode, round % 2 == 0 ? 0x38 : 0x10);
    case 4:
        return makeBatteryRecord(time);
    case 6:
        return makeRecord(dlsEventTag, {1U, round});
    case 7:
        return makeValueRecord(noSuchValue, round);
    default:
        instrument.reelCount += 3;
        return makeValueRecord(counter, static_cast<std::uint32_t>(instrument.reelCount));
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
