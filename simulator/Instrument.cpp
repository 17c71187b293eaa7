#include "simulator/Instrument.h"

#include "listeners/ArmRecord.h"
#include "simulator/Channels.h"
#include "simulator/Clock.h"
#include "simulator/Report.h"
#include "simulator/Script.h"

#include <cstdio>
#include <string>

namespace simulator {

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
    const std::string& behaviour = Script::instance().setting("pic");
    if (behaviour == "silent") {
        return;
    }
    const double arrival = now() + (behaviour == "late" ? lateSeconds : 0);
    replies.push_back(
        {arrival, makeDataRecord(picReplyTag, answerOfPic(device, command, payload))});
}

Bytes Instrument::answerOfPic(int device, int command, const Bytes& payload)
{
    if (!PicBootloader::exists(device)) {
        report("there is no PIC with the code %d", device);
        return {PicBootloader::refusedStatus};
    }
    return pics.try_emplace(device, device).first->second.answer(command, payload);
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
