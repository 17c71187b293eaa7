#include "listeners/ArmSensorTestTask.h"

#include <array>
#include <cstdio>

namespace {

void printUnknown(std::uint32_t tag)
{
    std::printf("Unknown sensor data: 0x%08X\n", tag);
}

void handleGpsData(RecordListener& /*listener*/, const ArmEntries& entries)
{
    if (entries.count() == 0) {
        printUnknown(gpsDataTag);
    }
    for (std::size_t i = 0; i < entries.count(); ++i) {
        std::printf("Gps Data Recv. Len = %d\n", entries.at<DataEntry>(i).length);
        std::puts("Gonna do some GPS parsing soon.");
    }
}

constexpr std::array<RecordListener::Handler, 1> handlers{{
    {gpsDataTag, sizeof(DataEntry), handleGpsData},
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
