#include "simulator/Instrument.h"

#include "listeners/ArmRecord.h"

#include <array>

namespace simulator {

namespace {

void append(Bytes& bytes, std::initializer_list<std::uint32_t> words)
{
    for (const std::uint32_t word : words) {
        for (int shift = 0; shift < 32; shift += 8) {
            bytes.push_back(static_cast<std::uint8_t>(word >> shift));
        }
    }
}

Bytes makeRecord(std::uint32_t tag, std::initializer_list<std::uint32_t> payload)
{
    Bytes record;
    append(record, {tag, static_cast<std::uint32_t>(payload.size() * sizeof(std::uint32_t))});
    append(record, payload);
    return record;
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
        return makeRecord(keyEventTag, {key, time, 1, key, time + 80, 0});
    case 2:
        instrument.magnetClosed = !instrument.magnetClosed;
        return makeRecord(keyValueEventTag, {magneticSensor, instrument.magnetClosed ? 1U : 0U});
    case 3:
        return makeRecord(keyValueEventTag, {faultCode, round % 2 == 0 ? 0x38U : 0x10U});
    case 4: // charge, percentage with temperature and voltage, current, cells, times; twice
        return makeRecord(batteryEventTag, {4100,   0x39D0'194E, 350, 0x0E74'0E71, 0x0E70'0E75,
                                            0x0E72, time,        0,   0,           0,
                                            3950,   0x39C0'184B, 360, 0x0E70'0E70, 0x0E71'0E70,
                                            0x0E71, time,        0,   0,           0});
    case 6:
        return makeRecord(dlsEventTag, {1, round});
    case 7:
        return makeRecord(keyValueEventTag, {noSuchValue, round});
    default:
        instrument.reelCount += 3;
        return makeRecord(keyValueEventTag,
                          {counter, static_cast<std::uint32_t>(instrument.reelCount)});
    }
}

Bytes toBytes(const std::string& text)
{
    return Bytes(text.begin(), text.end());
}

Bytes makeSensorBlock(unsigned int step)
{
    Bytes block = makeDataRecord(gpsDataTag, toBytes("$GPGLL,5130.0,N,00007.0,W,120000.00,A,A*71"));
    if (step % 5 == 4) {
        append(block, {0xfeedbe02, sizeof(step), step});
    }
    return block;
}

} // namespace

Bytes makeDataRecord(std::uint32_t tag, const Bytes& data)
{
    Bytes block;
    append(block, {tag, sizeof(DataEntry), static_cast<std::uint32_t>(data.size())});
    block.insert(block.end(), data.begin(), data.end());
    block.resize(sizeof(ArmRecordHeader) + sizeof(DataEntry));
    return block;
}

Bytes makeLiveBlock(const std::string& path, unsigned int step)
{
    if (path == "/dev/arm-events") {
        return makeEventBlock(step);
    }
    return path == "/dev/arm-sensors" ? makeSensorBlock(step)
                                      : toBytes("AT+CSQ=" + std::to_string(step) + "\r\nOK\r\n");
}

} // namespace simulator
