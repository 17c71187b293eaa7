#include "tests/FirmwareFiles.h"
#include "tests/ToolRun.h"

#include <array>
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

/// What a listener is called, where it listens and what it prints first.
using Listener = std::array<std::string, 3>;

const Listener events{"--event-listen", "/dev/arm-events", "Running task: Arm-event test\n"};
const Listener sensors{"--sensor-listen", "/dev/arm-sensors", "Running task: Arm-sensor test\n"};
const Listener tty{"--tty-listen", "/dev/ttyARM0", "Running task: Arm-tty test\n"};

class ListenerTest : public ToolTest {
protected:
    /// Listens until all blocks are delivered. Returns the output behind the name of the task.
    std::string listen(const Listener& listener, const std::vector<std::string>& blocks,
                       const std::string& script = "")
    {
        const auto& [option, device, head] = listener;
        std::string reads = "\n" + device + ":read";
        for (const std::string& block : blocks) {
            reads += " hex=" + toHex(block);
        }
        result = run(option, script + reads);
        EXPECT_TRUE(result.output.starts_with(head)) << result.output;
        return result.output.substr(std::min(head.size(), result.output.size()));
    }

    ToolResult result;
};

TEST_F(ListenerTest, PrintsEveryKindOfEvent)
{
    const std::string battery = fromHex("00286BEE4EF60102FFFFFFFF010002000300"
                                        "0400FFFFEEEE0A0000000B0000000C000000EEEEEEEE");
    const std::string batteryText =
        "charge:4000000000\ncharge_perc:78\ntemperature:246\nvoltage_sense:513\n"
        "current_sense:4294967295\ncell_1_voltage:1\ncell_2_voltage:2\ncell_3_voltage:3\n"
        "cell_4_voltage:4\ncell_5_voltage:65535\ntime_up:10\ndischrg_time:11\nchrg_time:12\n";
    const std::string noBattery = "Error Dumping Bat Events. No Records\n";
    const Rows<std::string, std::string> cases{
        {"keys", record(keyTag, words({1, 2, 3, 0xFFFFFFFF, 0x80000000, 0xFFFFFFFE}) + "xxxxxx"),
         "Key: 1 state: 3 time: 2\nKey: -1 state: -2 time: -2147483648\n"},
        {"17 bits of key, state and length",
         key(0x10006) + key(6, 0x10000) + words({keyTag, 0x10004}) + words({1, 5, 1}),
         keyText(0x10006) + keyText(6, 0x10000) + keyText(1, 1)},
        {"sensor and counter", record(valueTag, words({1, 0, 1, 7, 2, 0xFFFFFFFD})),
         "Magnetic sensor: Open\nMagnetic sensor: Close\nCount changed: -3\n"},
        {"faults", record(valueTag, words({3, 0x38, 3, 0xFFFFFFC7, 3, 0x80000010})),
         "Fault code: 0x38\n\tVideo Loss\n\tVideo Recover\n\tPower Critical\n"
         "Fault code: 0xffffffc7\nFault code: 0x80000010\n\tVideo Recover\n"},
        {"batteries", record(batteryTag, battery + battery),
         "Right Battery information\n" + batteryText + "Left Battery information\n" + batteryText},
        {"no battery", record(batteryTag, std::string(79, 'x')), noBattery},
        {"battery cut short", record(batteryTag, battery + battery).substr(0, 87), noBattery},
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
    EXPECT_TRUE(isSame(listen(events, blocks), expected));
    EXPECT_EQ(result.status, endedBy + SIGTERM);
    EXPECT_EQ(result.callsOf({"ZeroReelCount"}).size(), 0);
}

TEST_F(ListenerTest, WaitsPausesAndReadsInTurn)
{
    EXPECT_EQ(listen(events, {"12345678"},
                     "/dev/arm-events:read error=11\n/dev/arm-events:select ok error=4 timeout"),
              "Did not read enough bytes, only: 8\nSelect timed out\n");
    EXPECT_EQ(result.calls,
              splitLines("open(/dev/arm-events, 2048) = 0\nGetMagSensorState()\nGetReelState()\n"
                         "GetKeyPadState()\nGetLcdEnabled()\nselect(/dev/arm-events, none) = 1\n"
                         "usleep(100000) = 0\nread(/dev/arm-events, 4096) = EAGAIN\n"
                         "select(/dev/arm-events, none) = EINTR\nusleep(100000) = 0\n"
                         "read(/dev/arm-events, 4096) = 8\nselect(/dev/arm-events, none) = 0\n"
                         "close(/dev/arm-events) = 0\n"));
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(result.errors.starts_with(
        "[Video] Arm-event read error: Resource temporarily unavailable\n"));
}

TEST_F(ListenerTest, ActsOnReleasedKeys)
{
    const std::string vertical = "Setting vertical display ";
    const std::string horizontal = "Setting horizontal display ";
    EXPECT_EQ(listen(events,
                     {key(6) + key(7) + key(9) + key(11) + key(12) + key(12) + key(13) + key(16) +
                      key(16) + key(8) + key(12, 1)},
                     "GetMagSensorState value=1\n"
                     "GetReelState sonde=1\n"
                     "GetKeyPadState leds=22222,false\n"
                     "GetLcdRotations vertical=0,horizontal=0 vertical=1,horizontal=0\n"
                     "SetReelSondeState false\n"
                     "SetLcdEnabled throw=stuck\n"),
              keyText(6) + keyText(7) + horizontal + "normal...\n" + keyText(9) + vertical +
                  "flipped...\n" + keyText(11) + vertical + "normal...\n" + keyText(12) +
                  keyText(12) + keyText(13) + horizontal + "flipped...\n" + keyText(16) +
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
        EXPECT_EQ(listen(events, {key(12) + key(16)}, script), output + keyText(12) + keyText(16))
            << what;
        EXPECT_EQ(result.callsOf({"Set"}), splitLines(calls)) << what;
    }
}

TEST_F(ListenerTest, LeavesOtherExceptionsToTheProgram)
{
    for (const char* call :
         {"GetMagSensorState", "GetReelState", "GetKeyPadState", "ZeroReelCount", "GetLcdRotations",
          "SetLcdRotation", "SetReelSondeState", "SetLedStates", "GetBatInfo"}) {
        const std::string output =
            listen(events, {key(6) + key(7) + key(12) + record(batteryTag, "x")},
                   std::string(call) + " throw=x");
        EXPECT_TRUE(output.ends_with("Caught unknown error\n")) << call;
        EXPECT_EQ(result.status, failed) << call;
        EXPECT_TRUE(result.calls.back().starts_with(call)) << call; // the device stays open
    }
}

/// A descriptor that is too high to be waited for is as good as none.
TEST_F(ListenerTest, EndsWhereItsDeviceCannotBeOpened)
{
    for (const auto& [option, device, head] : {events, sensors, tty}) {
        EXPECT_EQ(run(option, device + ":open error=2").status, failed) << device;
    }
    const rlimit limit{FD_SETSIZE + 100, FD_SETSIZE + 100};
    setrlimit(RLIMIT_NOFILE, &limit);
    const int lowest = dup(STDOUT_FILENO); // the tool inherits it and those that follow
    while (static_cast<unsigned int>(dup(STDOUT_FILENO)) < FD_SETSIZE - 1) {
    }
    EXPECT_EQ(listen(tty, {}), "Failed opening /dev/ttyARM0\n");
    EXPECT_EQ(result.calls.size(), 2); // and closes it
    closefrom(lowest);
}

TEST_F(ListenerTest, PrintsGpsDataAndUnknownRecords)
{
    const auto entry = [](std::uint32_t length) { return words({length}) + std::string(256, 'x'); };
    const std::string parsing = "Gonna do some GPS parsing soon.\n";
    const std::string gps = record(keyTag, entry(0x10052) + entry(0xFFFFFFFF) + "x");
    EXPECT_EQ(listen(sensors,
                     {gps + record(0xfeedbe02, "x") + record(keyTag, std::string(259, 'x')),
                      record(0x0000000A, ""), record(0x0000000A, "x"), gps.substr(0, 300)},
                     "/dev/arm-sensors:read error=11"),
              "Gps Data Recv. Len = 65618\n" + parsing + "Gps Data Recv. Len = -1\n" + parsing +
                  "Unknown sensor data: 0xFEEDBE02\nUnknown sensor data: 0xFEEDBE01\n"
                  "Did not read enough bytes, only: 8\nUnknown sensor data: 0x0000000A\n"
                  "Gps Data Recv. Len = 65618\n" +
                  parsing);
    EXPECT_TRUE(result.errors.starts_with("Arm-sensor read error: "));
    EXPECT_EQ(result.calls[0], "open(/dev/arm-sensors, 2048) = 0");
}

TEST_F(ListenerTest, PrintsBluetoothBytesInLinesOfSixteen)
{
    const std::string heading = "Got some BT TTY data\n";
    const std::string four = "0xAB 0xAB 0xAB 0xAB ";
    const std::string line = four + four + four + four + "\n";
    EXPECT_EQ(listen(tty, {std::string(20, '\xAB'), std::string(32, '\xAB'), ""},
                     "/dev/ttyARM0:read error=11\n"
                     "/dev/ttyARM0:select ok timeout ok error=4 ok end"),
              "Timed out waiting for BT TTY data\n" + heading + line + four + "\n" + heading +
                  line + line + heading);
    EXPECT_EQ(result.status, endedBy + SIGTERM);
    EXPECT_TRUE(result.errors.starts_with("Arm-tty read error: "));
    EXPECT_TRUE(read("trace").starts_with(
        "open(/dev/ttyARM0, 2050) = 0\nselect(/dev/ttyARM0, 1.000000) = 1\n"
        "read(/dev/ttyARM0, 4096) = EAGAIN\nsleep(1) = 0\nselect(/dev/ttyARM0, 1.000000) = 0\n"
        "select(/dev/ttyARM0, 1.000000) = 1\nread(/dev/ttyARM0, 4096) = 20\n"));
}

} // namespace
