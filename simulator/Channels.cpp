#include "simulator/Channels.h"

#include "listeners/ArmRecord.h"
#include "simulator/Instrument.h"

#include <string_view>

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

void appendRecord(Bytes& block, std::uint32_t tag, std::initializer_list<std::uint32_t> payload)
{
    append(block, {tag, static_cast<std::uint32_t>(payload.size() * sizeof(std::uint32_t))});
    append(block, payload);
}

void appendData(Bytes& block, std::uint32_t tag, std::string_view text)
{
    append(block, {tag, sizeof(DataEntry), static_cast<std::uint32_t>(text.size())});
    block.insert(block.end(), text.begin(), text.end());
    block.resize(block.size() + sizeof(DataEntry::data) - text.size());
}

/// A key pressed (state 1) and released (state 0).
void appendKey(Bytes& block, std::uint32_t key, std::uint32_t time)
{
    appendRecord(block, keyEventTag, {key, time, 1, key, time + 80, 0});
}

/// Both packs: charge, percentage with temperature and voltage, current, cells, times.
void appendBatteries(Bytes& block, std::uint32_t time)
{
    append(block, {batteryEventTag, 80});
    for (const std::uint32_t charge : {4100U, 3950U}) {
        append(block, {charge, 0x39D0'194EU, 350, 0x0E74'0E71U, 0x0E70'0E75U, 0x0000'0E72U, time,
                       18000, 0, 0});
    }
}

} // namespace

Bytes makeEventBlock(unsigned int step)
{
    constexpr std::uint32_t magneticSensor = 1;
    constexpr std::uint32_t counter = 2;
    constexpr std::uint32_t faultCode = 3;
    Instrument& instrument = Instrument::instance();
    const std::uint32_t time = 1000 + step * 600;
    Bytes block;
    switch (step % 14) {
    case 1:
        appendKey(block, 12, time); // sonde
        break;
    case 3:
        instrument.magnetClosed = !instrument.magnetClosed;
        appendRecord(block, keyValueEventTag,
                     {magneticSensor, static_cast<std::uint32_t>(instrument.magnetClosed)});
        break;
    case 4:
        appendKey(block, 16, time); // display
        break;
    case 6:
        appendBatteries(block, time);
        break;
    case 7:
        appendKey(block, step % 4 == 3 ? 7 : 13, time); // display orientation
        appendKey(block, step % 4 == 3 ? 9 : 11, time);
        break;
    case 9:
        appendRecord(block, keyValueEventTag, {faultCode, step % 4 == 1 ? 0x38U : 0x10U});
        break;
    case 10:
        appendRecord(block, dlsEventTag, {1, step});
        break;
    case 12:
        appendKey(block, 6, time); // zero the reel
        break;
    case 13:
        appendRecord(block, keyValueEventTag, {99, step}); // no such value
        break;
    default:
        instrument.reelCount += 3;
        appendRecord(block, keyValueEventTag,
                     {counter, static_cast<std::uint32_t>(instrument.reelCount)});
        break;
    }
    return block;
}

Bytes makeSensorBlock(unsigned int step)
{
    Bytes block;
    if (step % 5 == 4) {
        appendRecord(block, 0xfeedbe02, {step});
    }
    appendData(block, gpsDataTag,
               "$GPGGA,120000.00,5130.0,N,00007.0,W,1,08,0.9,45.0,M,47.0,M,,*5B");
    if (step % 3 == 2) {
        appendData(block, gpsDataTag, "$GPGLL,5130.0,N,00007.0,W,120000.00,A,A*71");
    }
    return block;
}

Bytes makeTtyBytes(unsigned int step)
{
    const std::string text = "AT+CSQ=" + std::to_string(step) + "\r\nOK\r\n";
    return Bytes(text.begin(), text.end());
}

} // namespace simulator
