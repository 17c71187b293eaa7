#include "listeners/ArmSensorTestTask.h"

#include <array>
#include <cstdint>
#include <cstdio>

namespace {

void printUnknown(std::uint32_t tag)
{
    std::printf("Unknown sensor data: 0x%08X\n", tag);
}

void handleGpsData(RecordListener& /*listener*/, const ArmEntries<DataEntry>& entries)
{
    if (entries.empty()) {
        printUnknown(gpsDataTag);
    }
    for (const auto entry : entries) {
        std::printf("Gps Data Recv. Len = %d\n", entry.length);
        std::puts("Gonna do some GPS parsing soon.");
    }
}

constexpr std::array<RecordListener::Handler, 1> handlers{{
    RecordListener::handlerOf<DataEntry, handleGpsData>(gpsDataTag),
}};

constexpr RecordListener::Channel sensorChannel{"/dev/arm-sensors", "Arm-sensor read error",
                                                handlers, printUnknown};

} // namespace

ArmSensorTestTask::ArmSensorTestTask() : RecordListener(sensorChannel)
{
}

int ArmSensorTestTask::run()
{
    return openDevice() ? listen() : -1;
}
