#include "simulator/Instrument.h"

#include "listeners/ArmRecord.h"
#include <chrono>
#include <cstdio>
#include <thread>

namespace simulator {

namespace {

double pausedSeconds = 0;

bool clockIsFast()
{
    static const bool fast = Script::instance().setting("clock", "real") == "fast";
    return fast;
}

} // namespace

double now()
{
    using Clock = std::chrono::steady_clock;
    static const Clock::time_point start = Clock::now();
    return clockIsFast() ? pausedSeconds
                         : std::chrono::duration<double>(Clock::now() - start).count();
}

void pause(double seconds)
{
    if (clockIsFast()) {
        pausedSeconds += seconds;
    } else {
        std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
    }
}

Instrument& Instrument::instance()
{
    static Instrument instrument;
    return instrument;
}

Instrument::~Instrument()
{
    programmingDevice.reportMemory();
    for (const auto& [device, pic] : pics) {
        pic.reportMemory();
    }
}

void Instrument::sendToPic(int device, int command, const Bytes& payload)
{
    constexpr double lateSeconds = 1.5; // the tool waits one second
    const std::string behaviour = Script::instance().setting("pic", "normal");
    PicBootloader& pic = pics.try_emplace(device, device).first->second;
    if (behaviour == "silent") {
        return;
    }
    const Bytes data = behaviour == "refuse" ? Bytes{1} : pic.answer(command, payload);
    replies.push_back(
        {now() + (behaviour == "late" ? lateSeconds : 0), makeDataRecord(picReplyTag, data)});
}

BatteryInfoRecord Instrument::makeBattery(char type)
{
    BatteryInfoRecord battery{};
    battery.packType = static_cast<unsigned char>(type);
    std::snprintf(battery.serialNumber, sizeof(battery.serialNumber), "OB260317-%c", type);
    std::snprintf(battery.manufacturingDate, sizeof(battery.manufacturingDate), "2026-03-17");
    battery.capacity = 5200;
    return battery;
}

Bytes Instrument::readAuthRegister(int reg)
{
    constexpr int certificateLength = 0x30;
    if (reg == certificateLength) {
        return {0x02, 0x58}; // 600 bytes
    }
    return reg > certificateLength ? Bytes(128, 0xA5) : Bytes{static_cast<std::uint8_t>(reg)};
}

} // namespace simulator
