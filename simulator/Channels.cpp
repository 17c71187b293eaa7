#include "simulator/Channels.h"

#include "listeners/ArmRecord.h"
#include "listeners/EventEntries.h"
#include "simulator/Instrument.h"

#include <algorithm>
#include <array>
#include <initializer_list>

namespace simulator {

namespace {

/// A record whose payload is the entries, one behind the other.
template <class Entry>
Bytes makeRecord(std::uint32_t tag, std::initializer_list<Entry> entries)
{
    const std::size_t size = entries.size() * sizeof(Entry);
    const ArmRecordHeader header{tag, static_cast<std::uint32_t>(size)};
    Bytes record = toBytes(&header, sizeof(header));
    const Bytes payload = toBytes(entries.begin(), size);
    record.insert(record.end(), payload.begin(), payload.end());
    return record;
}

BatteryEventRecord makeBatteries(std::uint32_t time)
{
    return {{4100, 78, 25, 14800, 350, 3697, 3700, 3701, 3696, 3698, {}, time, 0, 0, {}},
            {3950, 75, 24, 14784, 360, 3696, 3696, 3696, 3697, 3697, {}, time, 0, 0, {}}};
}

Bytes makeValueRecord(std::int32_t key, std::int32_t value)
{
    return makeRecord(keyValueEventTag, {KeyValueEvent{key, value}});
}

Bytes makeEventBlock(unsigned int step)
{
    constexpr std::array<std::int32_t, 8> keys{12, 16, 7, 9, 11, 13, 6, 1};
    Instrument& instrument = Instrument::instance();
    const std::uint32_t time = 1000 + step * 600;
    const auto pressed = static_cast<std::int32_t>(time);
    const auto round = static_cast<std::int32_t>(step / 8);
    const std::int32_t key = keys[step / 4 % keys.size()];
    switch (step % 8) {
    case 1:
    case 5: // and released
        return makeRecord(keyEventTag, {KeyEvent{key, pressed, 1}, {key, pressed + 80, 0}});
    case 2:
        instrument.magnetClosed = !instrument.magnetClosed;
        return makeValueRecord(magneticSensorValue, instrument.magnetClosed ? 1 : 0);
    case 3:
        return makeValueRecord(faultCodeValue, round % 2 == 0 ? 0x38 : 0x10);
    case 4:
        return makeRecord(batteryEventTag, {makeBatteries(time)});
    case 6:
        return makeRecord(dlsEventTag, {DlsEvent{1, {}, static_cast<std::uint32_t>(round)}});
    case 7: // a value that no listener knows
        return makeValueRecord(99, round);
    default:
        instrument.reelCount += 3;
        return makeValueRecord(counterValue, instrument.reelCount);
    }
}

} // namespace

bool isDeviceNode(const std::string& path)
{
    return path == eventDevice || path == sensorDevice || path == commDevice ||
           path == programDevice || path == ttyDevice;
}

Bytes makeDataRecord(std::uint32_t tag, const Bytes& data)
{
    DataEntry entry{static_cast<std::int32_t>(data.size()), {}};
    std::copy(data.begin(), data.end(), entry.data.begin());
    return makeRecord(tag, {entry});
}

Bytes makeLiveBlock(const std::string& path, unsigned int step)
{
    if (path == eventDevice) {
        return makeEventBlock(step);
    }
    if (path == sensorDevice) {
        const std::string text = "$GPGLL,5130.0,N,00007.0,W,120000.00,A,A*71";
        Bytes block = makeDataRecord(gpsDataTag, Bytes(text.begin(), text.end()));
        const Bytes unknown = makeRecord(0xfeedbe02, {step}); // to any listener
        block.insert(block.end(), unknown.begin(), step % 5 == 4 ? unknown.end() : unknown.begin());
        return block;
    }
    const std::string text = "AT+CSQ=" + std::to_string(step) + "\r\nOK\r\n";
    return Bytes(text.begin(), text.end());
}

} // namespace simulator
