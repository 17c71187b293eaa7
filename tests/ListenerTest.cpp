#include "tests/FirmwareFiles.h"
#include "tests/ToolRun.h"

#include <csignal>
#include <sys/resource.h>
#include <sys/select.h>
#include <unistd.h>

namespace {

constexpr std::uint32_t keyTag = 0xfeedbe01; // that of GPS data, too
constexpr std::uint32_t valueTag = 0xfeedbe02;
constexpr std::uint32_t batteryTag = 0xfeedbe03;
constexpr std::uint32_t dlsTag = 0xfeedbe04;

std::string record(std::uint32_t tag, const std::string& payload)
{
    return words({tag, static_cast<std::uint32_t>(payload.size())}) + payload;
}

std::string key(std::uint32_t code, std::uint32_t state = 0)
{
    return record(keyTag, words({code, 5, state}));
}

std::string keyText(int code, int state = 0)
{
    return "Key: " + std::to_string(code) + " state: " + std::to_string(state) + " time: 5\n";
}

struct Listener {
    std::string option, device, head; ///< the head is what it prints first
};

const Listener events{"--event-listen", "/dev/arm-events", "Running task: Arm-event test\n"};
const Listener sensors{"--sensor-listen", "/dev/arm-sensors", "Running task: Arm-sensor test\n"};
const Listener tty{"--tty-listen", "/dev/ttyARM0", "Running task: Arm-tty test\n"};

class ListenerTest : public ToolTest {
protected:
    /// Listens until all blocks are delivered, and expects this output behind the task's name.
    void listen(const Listener& listener, const std::vector<std::string>& blocks,
                const std::string& script, const std::string& text, int status = endedBy + SIGTERM)
    {
        std::string reads = "\n" + listener.device + ":read";
        for (const std::string& block : blocks) {
            reads += " hex=" + toHex(block);
        }
        result = run(listener.option, script + reads);
        EXPECT_TRUE(result.gave(listener.head + text, status));
    }

    ToolResult result;
};

TEST_F(ListenerTest, PrintsEveryKindOfEvent)
{
    const auto battery = [](char percent) {
        return fromHex("00286BEE") + percent +
               fromHex("F60102FFFFFFFF0100020003000400FFFFEEEE0A0000000B0000000C000000EEEEEEEE");
    };
    const auto batteryText = [](const char* side, int percent) {
        return std::string(side) +
               " Battery information\ncharge:4000000000\ncharge_perc:" + std::to_string(percent) +
               "\ntemperature:246\nvoltage_sense:513\ncurrent_sense:4294967295\n"
               "cell_1_voltage:1\ncell_2_voltage:2\ncell_3_voltage:3\ncell_4_voltage:4\n"
               "cell_5_voltage:65535\ntime_up:10\ndischrg_time:11\nchrg_time:12\n";
    };
    const std::string noBattery = "Error Dumping Bat Events. No Records\n";
    const Rows<std::string, std::string> cases{
        {"keys", record(keyTag, words({1, 2, 3, 0xFFFFFFFF, 0x80000000, 0xFFFFFFFE}) + "xxxxxx"),
         "Key: 1 state: 3 time: 2\nKey: -1 state: -2 time: -2147483648\n"},
        {"17 bits", key(0x10006) + key(6, 0x10000) + words({keyTag, 0x10004}) + words({1, 5, 1}),
         keyText(0x10006) + keyText(6, 0x10000) + keyText(1, 1)},
        {"sensor and counter", record(valueTag, words({1, 0, 1, 7, 2, 0xFFFFFFFD})),
         "Magnetic sensor: Open\nMagnetic sensor: Close\nCount changed: -3\n"},
        {"faults", record(valueTag, words({3, 0x38, 3, 0xFFFFFFCF, 3, 0x80000010})),
         "Fault code: 0x38\n\tVideo Loss\n\tVideo Recover\n\tPower Critical\n"
         "Fault code: 0xffffffcf\n\tVideo Loss\nFault code: 0x80000010\n\tVideo Recover\n"},
        {"batteries", record(batteryTag, battery(1) + battery(2) + battery(3) + battery(4)),
         batteryText("Right", 1) + batteryText("Left", 2) + batteryText("Right", 3) +
             batteryText("Left", 4)},
        {"no battery", record(batteryTag, std::string(79, 'x')), noBattery},
        {"battery cut short", words({batteryTag, 80}) + std::string(79, 'x'), noBattery},
        {"DLS", record(dlsTag, words({0x123456FF, 0xFFFFFFFF, 1, 2})),
         "id:255\nstate:4294967295\nid:1\nstate:2\n"},
        {"one DLS", record(dlsTag, words({7, 8})), "id:7\nstate:8\n"},
        {"no DLS", record(dlsTag, "xxxx"), "Error Dumping DLS Events. No Records\n"},
        {"no whole value, unknown tag",
         record(valueTag, "xxxxxxx") + record(0xfeedbe05, "x") + key(1, 1), keyText(1, 1)},
        {"a header at the end", key(1, 1) + words({batteryTag, 0}), keyText(1, 1)},
        {"headers alone", words({batteryTag, 0, batteryTag, 0}), noBattery},
        {"a header in front of a byte", words({batteryTag, 0}) + "x", noBattery},
        {"a header alone", "12345678", "Did not read enough bytes, only: 8\n"},
        {"no bytes", "", "Did not read enough bytes, only: 0\n"},
        {"unknown value", record(valueTag, words({0x10001, 0xFFFFFFFF})) + record(5, "") + "abcd",
         "*************** Unhandled key/value 65537:-1 *******************\n"
         "****************Maybe broken?: 28\n"
         "02 be ed fe 08 00 00 00 \n01 00 01 00 ff ff ff ff \n05 00 00 00 00 00 00 00 \n"
         "61 62 63 64 \n*****************************************\n"},
        {"an endless record", words({keyTag, 0xFFFFFFF8, 1, 5, 1}) + "x", keyText(1, 1)},
    };
    std::vector<std::string> blocks;
    std::string expected;
    for (const auto& [what, block, text] : cases) {
        blocks.push_back(block);
        expected += text;
    }
    listen(events, blocks, "", expected);
    EXPECT_EQ(result.callsOf({"ZeroReelCount"}).size(), 0);
}

TEST_F(ListenerTest, WaitsPausesAndReadsInTurn)
{
    listen(events, {"12345678"},
           "/dev/arm-events:read error=11\n/dev/arm-events:select ok error=4 timeout",
           "Did not read enough bytes, only: 8\nSelect timed out\n", 0);
    EXPECT_TRUE(isSame(read("trace"),
                       "open(/dev/arm-events, 2048) = 0\nGetMagSensorState()\nGetReelState()\n"
                       "GetKeyPadState()\nGetLcdEnabled()\nselect(/dev/arm-events, none) = 1\n"
                       "usleep(100000) = 0\nread(/dev/arm-events, 4096) = EAGAIN\n"
                       "select(/dev/arm-events, none) = EINTR\nusleep(100000) = 0\n"
                       "read(/dev/arm-events, 4096) = 8\nselect(/dev/arm-events, none) = 0\n"
                       "close(/dev/arm-events) = 0\n"));
    EXPECT_EQ(result.errors, "[Video] Arm-event read error: Resource temporarily unavailable\n");
}

TEST_F(ListenerTest, ActsOnReleasedKeys)
{
    const std::string vertical = "Setting vertical display ";
    const std::string horizontal = "Setting horizontal display ";
    listen(events,
           {key(6) + key(7) + key(9) + key(11) + key(12) + key(12) + key(13) + key(16) + key(16) +
            key(8) + key(12, 1)},
           "GetMagSensorState value=1\nGetReelState sonde=1\nGetKeyPadState leds=22222,false\n"
           "GetLcdRotations vertical=0,horizontal=0 vertical=1,horizontal=0\n"
           "SetReelSondeState false\nSetLcdEnabled throw=stuck\n",
           keyText(6) + keyText(7) + horizontal + "normal...\n" + keyText(9) + vertical +
               "flipped...\n" + keyText(11) + vertical + "normal...\n" + keyText(12) + keyText(12) +
               keyText(13) + horizontal + "flipped...\n" + keyText(16) +
               "Failed changing LCD state!!!!!!!!!!! stuck\n" + keyText(16) + keyText(8) +
               keyText(12, 1));
    EXPECT_EQ(result.callsOf({"Zero", "Set", "GetLcd"}),
              splitLines("ZeroReelCount()\nGetLcdRotations()\nSetLcdRotation(0, 1)\n"
                         "GetLcdRotations()\nSetLcdRotation(0, 0)\nGetLcdRotations()\n"
                         "SetLcdRotation(1, 0)\nSetReelSondeState(0)\nSetReelSondeState(1)\n"
                         "SetLedStates(2:2:2:1:2:)\nGetLcdRotations()\nSetLcdRotation(1, 0)\n"
                         "SetLcdEnabled(0)\nSetLcdEnabled(1)\n"));
}

TEST_F(ListenerTest, StartsWithWhatTheLibraryTells)
{
    const std::string dark = "Failed reading/changing LCD state!!!!!!!!!!! dark\n";
    const std::string on = "SetLcdEnabled(1)\n";
    const std::string sondeOn = "SetReelSondeState(1)\n";
    const Rows<std::string, std::string, std::string> cases{
        {"display off", "GetLcdEnabled value=0", "",
         on + sondeOn + "SetLedStates(0:0:0:1:0:0:)\n" + on},
        {"display unknown", "GetLcdEnabled throw=dark\nGetKeyPadState leds=1111", dark,
         sondeOn + "SetLedStates(1:1:1:1:)\n" + on},
        {"display stuck", "GetLcdEnabled value=0\nSetLcdEnabled throw=dark\nGetReelState sonde=1",
         dark, on + "SetReelSondeState(0)\nSetLedStates(0:0:0:0:0:0:)\n" + on},
        {"no sonde LED", "GetKeyPadState leds=111", "", sondeOn + on},
        {"no keypad", "GetKeyPadState false,unfilled\nGetReelState unfilled", "", sondeOn + on},
    };
    for (const auto& [what, script, output, calls] : cases) {
        SCOPED_TRACE(what);
        listen(events, {key(12) + key(16)}, script, output + keyText(12) + keyText(16));
        EXPECT_EQ(result.callsOf({"Set"}), splitLines(calls));
    }
}

TEST_F(ListenerTest, LeavesOtherExceptionsToTheProgram)
{
    for (const std::string call :
         {"GetMagSensorState", "GetReelState", "GetKeyPadState", "ZeroReelCount", "GetLcdRotations",
          "SetLcdRotation", "SetReelSondeState", "SetLedStates", "GetBatInfo", "GetLcdEnabled",
          "SetLcdEnabled"}) {
        SCOPED_TRACE(call);
        listen(events, {key(6) + key(7) + key(12) + record(batteryTag, "x") + key(16)},
               call + (call.ends_with("LcdEnabled") ? " throw-other" : " throw=x"),
               "[...]Caught unknown error\n", failed);
        EXPECT_TRUE(isSame(result.calls.back(), call + "([...])")); // the device stays open
    }
}

/// A descriptor that is too high to be waited for is as good as none.
TEST_F(ListenerTest, EndsWhereItsDeviceCannotBeOpened)
{
    for (const Listener& listener : {events, sensors}) {
        const std::string& device = listener.device;
        listen(listener, {}, device + ":open error=2", "Failed openinig " + device + "\n", failed);
    }
    const rlimit limit{FD_SETSIZE + 100, FD_SETSIZE + 100};
    setrlimit(RLIMIT_NOFILE, &limit);
    const int lowest = dup(STDOUT_FILENO); // the tool inherits it and those that follow
    while (static_cast<unsigned int>(dup(STDOUT_FILENO)) < FD_SETSIZE - 1) {
    }
    listen(tty, {}, "", "Failed opening /dev/ttyARM0\n", failed);
    EXPECT_EQ(result.calls.size(), 2); // and closes it
    closefrom(lowest);
}

TEST_F(ListenerTest, PrintsGpsDataAndUnknownRecords)
{
    const auto entry = [](std::uint32_t length) { return words({length}) + std::string(256, 'x'); };
    const std::string parsing = "Gonna do some GPS parsing soon.\n";
    const std::string gps = record(keyTag, entry(0x10052) + entry(0xFFFFFFFF) + "x");
    listen(sensors,
           {gps + record(0xfeedbe02, "x") + record(keyTag, std::string(259, 'x')),
            record(0x0000000A, ""), record(0x0000000A, "x"), gps.substr(0, 300)},
           "/dev/arm-sensors:read error=11",
           "Gps Data Recv. Len = 65618\n" + parsing + "Gps Data Recv. Len = -1\n" + parsing +
               "Unknown sensor data: 0xFEEDBE02\nUnknown sensor data: 0xFEEDBE01\n"
               "Did not read enough bytes, only: 8\nUnknown sensor data: 0x0000000A\n"
               "Gps Data Recv. Len = 65618\n" +
               parsing);
    EXPECT_TRUE(isSame(result.errors, "Arm-sensor read error: [...]"));
    EXPECT_EQ(result.calls[0], "open(/dev/arm-sensors, 2048) = 0");
}

TEST_F(ListenerTest, PrintsBluetoothBytesInLinesOfSixteen)
{
    const std::string heading = "Got some BT TTY data\n";
    const std::string four = "0xAB 0xAB 0xAB 0xAB ";
    const std::string line = four + four + four + four + "\n";
    listen(tty, {std::string(20, '\xAB'), std::string(32, '\xAB'), ""},
           "/dev/ttyARM0:read error=11\n"
           "/dev/ttyARM0:select ok timeout ok error=4 ok end",
           "Timed out waiting for BT TTY data\n" + heading + line + four + "\n" + heading + line +
               line + heading);
    EXPECT_TRUE(isSame(result.errors, "Arm-tty read error: [...]"));
    EXPECT_TRUE(isSame(
        read("trace"),
        "open(/dev/ttyARM0, 2050) = 0\nselect(/dev/ttyARM0, 1.000000) = 1\n"
        "read(/dev/ttyARM0, 4096) = EAGAIN\nsleep(1) = 0\nselect(/dev/ttyARM0, 1.000000) = 0\n"
        "select(/dev/ttyARM0, 1.000000) = 1\nread(/dev/ttyARM0, 4096) = 20\n[...]"));
}

} // namespace
