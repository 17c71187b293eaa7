#include "simulator/Instrument.h"

#include <algorithm>
#include <cstdio>
#include <ctime>

namespace simulator {

namespace {

double pausedSeconds = 0;

bool clockIsFast()
{
    static const bool fast = Script::instance().setting("clock", "real") == "fast";
    return fast;
}

double monotonicSeconds()
{
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

BatteryInfoRecord makeBattery(char type, const char* serialNumber)
{
    BatteryInfoRecord battery{};
    battery.packType = static_cast<std::uint16_t>(type);
    std::snprintf(battery.serialNumber, sizeof(battery.serialNumber), "%s", serialNumber);
    std::snprintf(battery.manufacturingDate, sizeof(battery.manufacturingDate), "2026-03-17");
    battery.capacity = 5200;
    battery.chargeCycles = 41;
    battery.batteryVersion = 3;
    battery.hardwareVersion = 2;
    battery.selfUpdateVersion = 1;
    battery.interfaceUpdateVersion = 1;
    battery.chargerUpdateVersion = 1;
    return battery;
}

/// A chip with a certificate of 600 bytes, in pages of 128 from register 0x31 on.
std::map<int, Bytes> makeAuthRegisters()
{
    constexpr std::size_t length = 600;
    constexpr std::size_t page = 128;
    std::map<int, Bytes> registers{{0x00, {0x05}}, {0x01, {0x01}}, {0x02, {0x02}}, {0x03, {0x00}},
                                   {0x04, {0x11}}, {0x05, {0x00}}, {0x10, {0x00}}};
    registers[0x30] = {static_cast<std::uint8_t>(length >> 8), static_cast<std::uint8_t>(length)};
    for (std::size_t start = 0; start < length; start += page) {
        registers[0x31 + static_cast<int>(start / page)] =
            Bytes(std::min(page, length - start), 0xA5);
    }
    return registers;
}

} // namespace

double now()
{
    static const double start = monotonicSeconds();
    return clockIsFast() ? pausedSeconds : monotonicSeconds() - start;
}

void pause(double seconds)
{
    if (clockIsFast()) {
        pausedSeconds += seconds;
        return;
    }
    const auto whole = static_cast<time_t>(seconds);
    timespec left{whole, static_cast<long>((seconds - static_cast<double>(whole)) * 1e9)};
    nanosleep(&left, nullptr);
}

Instrument& Instrument::instance()
{
    static Instrument instrument;
    return instrument;
}

Instrument::Instrument()
    : batteries{makeBattery('R', "OB20260317-R"), makeBattery('L', "OB20260317-L")},
      authRegisters(makeAuthRegisters())
{
}

Instrument::~Instrument()
{
    for (const auto& [device, pic] : pics) {
        pic.reportMemory();
    }
}

void Instrument::sendToPic(int device, int command, const Bytes& payload)
{
    auto pic = pics.try_emplace(device, device).first;
    const PicBootloader::Answer answer = pic->second.handle(command, payload);
    if (!answer.block.empty()) {
        replies.push_back({now() + answer.delaySeconds, answer.block});
    }
}

} // namespace simulator
