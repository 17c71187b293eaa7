#include "tests/FirmwareFiles.h"
#include "tests/ToolRun.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <random>

namespace {

std::string record(std::uint32_t tag, const std::string& payload)
{
    return words({tag, static_cast<std::uint32_t>(payload.size())}) + payload;
}

constexpr std::uint32_t keyTag = 0xfeedbe01;
constexpr std::uint32_t valueTag = 0xfeedbe02;
constexpr std::uint32_t batteryTag = 0xfeedbe03;
constexpr std::uint32_t dlsTag = 0xfeedbe04;

std::string key(std::uint32_t code, std::uint32_t state = 0)
{
    return record(keyTag, words({code, 5, state}));
}

std::string keyText(int code, int state = 0)
{
    return "Key: " + std::to_string(code) + " state: " + std::to_string(state) + " time: 5\n";
}

/// Listens until all blocks are delivered. Returns the output behind the name of the task.
class ListenerTest : public ToolTest {
protected:
    std::string listen(const std::vector<std::string>& blocks, const std::string& script = "")
    {
        std::string reads = device + ":read error=" + std::to_string(EAGAIN);
        for (const std::string& block : blocks) {
            reads += " hex=" + toHex(block);
        }
        // The first read finds nothing, which a listener survives.
        result = run(option, reads + "\n" + script);
        EXPECT_EQ(result.output.substr(0, head.size()), head);
        return result.output.substr(head.size());
    }

    std::string option = "--event-listen";
    std::string device = "/dev/arm-events";
    std::string head = "Running task: Arm-event test\n";
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
    const std::string batteries =
        "Right Battery information\n" + batteryText + "Left Battery information\n" + batteryText;
    struct Case {
        std::string block;
        std::string output;
    };
    const std::vector<Case> cases{
        {record(keyTag, words({1, 2, 3, 0xFFFFFFFF, 0x80000000, 0xFFFFFFFE}) + "xxxxxx"),
         "Key: 1 state: 3 time: 2\nKey: -1 state: -2 time: -2147483648\n"},
        {record(valueTag, words({1, 0, 1, 7, 2, 0xFFFFFFFD})),
         "Magnetic sensor: Open\nMagnetic sensor: Close\nCount changed: -3\n"},
        {record(valueTag, words({3, 0x38, 3, 0x40, 3, 0x80000010})),
         "Fault code: 0x38\n\tVideo Loss\n\tVideo Recover\n\tPower Critical\nFault code: 0x40\n"
         "Fault code: 0x80000010\n\tVideo Recover\n"},
        {record(batteryTag, battery + battery), batteries},
        {record(batteryTag, std::string(79, 'x')), "Error Dumping Bat Events. No Records\n"},
        {record(dlsTag, words({0x123456FF, 0xFFFFFFFF, 1, 2})),
         "id:255\nstate:4294967295\nid:1\nstate:2\n"},
        {record(dlsTag, "xxxx"), "Error Dumping DLS Events. No Records\n"},
        {record(valueTag, "xxxxxxx") + record(0xfeedbe05, "x") + key(1, 1), keyText(1, 1)},
        {"12345678", "Did not read enough bytes, only: 8\n"},
        {"", "Did not read enough bytes, only: 0\n"},
        {record(batteryTag, battery + battery).substr(0, 87),
         "Error Dumping Bat Events. No Records\n"},
        {words({keyTag, 0xFFFFFFF8, 1, 5, 1}) + "x", keyText(1, 1)},
    };
    std::vector<std::string> blocks;
    std::string expected;
    for (const Case& row : cases) {
        blocks.push_back(row.block);
        expected += row.output;
    }
    EXPECT_EQ(listen(blocks), expected);
    EXPECT_EQ(result.status, endedBy(SIGTERM));
}

TEST_F(ListenerTest, DumpsABlockWithAnUnknownValue)
{
    EXPECT_EQ(
        listen({record(valueTag, words({7, 0xFFFFFFFF})) + record(5, "") + "abcd", key(1, 1)}),
        "*************** Unhandled key/value 7:-1 *******************\n"
        "****************Maybe broken?: 28\n"
        "02 be ed fe 08 00 00 00 \n"
        "07 00 00 00 ff ff ff ff \n"
        "05 00 00 00 00 00 00 00 \n"
        "61 62 63 64 \n"
        "*****************************************\n" +
            keyText(1, 1));
}

TEST_F(ListenerTest, WaitsPausesAndReadsInTurn)
{
    listen({"12345678"}, "/dev/arm-events:select ok error=4 timeout\n");
    const std::vector<std::string> expected{"open(/dev/arm-events, 2048) = 0",
                                            "GetMagSensorState()",
                                            "GetReelState()",
                                            "GetKeyPadState()",
                                            "GetLcdEnabled()",
                                            "select(/dev/arm-events, none) = 1",
                                            "usleep(100000) = 0",
                                            "read(/dev/arm-events, 4096) = EAGAIN",
                                            "select(/dev/arm-events, none) = EINTR",
                                            "usleep(100000) = 0",
                                            "read(/dev/arm-events, 4096) = 8",
                                            "select(/dev/arm-events, none) = 0",
                                            "close(/dev/arm-events) = 0"};
    EXPECT_EQ(result.calls, expected);
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(result.output.ends_with("only: 8\nSelect timed out\n")) << result.output;
    EXPECT_NE(
        result.errors.find(std::string("[Video] Arm-event read error: ") + std::strerror(EAGAIN)),
        std::string::npos);
}

TEST_F(ListenerTest, ActsOnReleasedKeys)
{
    const std::string vertical = "Setting vertical display ";
    const std::string horizontal = "Setting horizontal display ";
    EXPECT_EQ(listen({key(6) + key(7) + key(9) + key(11) + key(12) + key(12) + key(13) + key(16) +
                      key(16) + key(8) + key(12, 1)},
                     "GetMagSensorState value=1\n"
                     "GetReelState sonde=1\n"
                     "GetKeyPadState leds=22222\n"
                     "GetLcdRotations vertical=0,horizontal=0 vertical=1,horizontal=0\n"
                     "SetReelSondeState false\n"
                     "SetLcdEnabled throw=stuck\n"),
              keyText(6) + keyText(7) + horizontal + "normal...\n" + keyText(9) + vertical +
                  "flipped...\n" + keyText(11) + vertical + "normal...\n" + keyText(12) +
                  keyText(12) + keyText(13) + horizontal + "flipped...\n" + keyText(16) +
                  "Failed changing LCD state!!!!!!!!!!! stuck\n" + keyText(16) + keyText(8) +
                  keyText(12, 1));
    const std::vector<std::string> expected{
        "ZeroReelCount()",          "GetLcdRotations()",    "SetLcdRotation(0, 1)",
        "GetLcdRotations()",        "SetLcdRotation(0, 0)", "GetLcdRotations()",
        "SetLcdRotation(1, 0)",     "SetReelSondeState(0)", "SetReelSondeState(1)",
        "SetLedStates(2:2:2:1:2:)", "GetLcdRotations()",    "SetLcdRotation(1, 0)",
        "SetLcdEnabled(0)",         "SetLcdEnabled(1)"};
    EXPECT_EQ(result.callsOf({"Zero", "Set", "GetLcd"}), expected);
}

TEST_F(ListenerTest, LeavesAKeypadWithoutTheSondeLedAlone)
{
    listen({key(12)}, "GetKeyPadState leds=111\n");
    EXPECT_EQ(result.callsOf({"SetLed", "SetReelSonde"}),
              std::vector<std::string>{"SetReelSondeState(1)"});
}

TEST_F(ListenerTest, SwitchesTheDisplayOnAtTheStart)
{
    listen({}, "GetLcdEnabled value=0\n");
    EXPECT_EQ(result.callsOf({"SetLcdEnabled"}), std::vector<std::string>{"SetLcdEnabled(1)"});
    const std::string failure = "Failed reading/changing LCD state!!!!!!!!!!! dark\n";
    EXPECT_EQ(listen({key(16)}, "GetLcdEnabled throw=dark\n"), failure + keyText(16));
    EXPECT_EQ(result.callsOf({"SetLcdEnabled"}), std::vector<std::string>{"SetLcdEnabled(1)"});
    EXPECT_EQ(listen({}, "GetLcdEnabled value=0\nSetLcdEnabled throw=dark\n"), failure);
}

TEST_F(ListenerTest, LeavesOtherExceptionsToTheProgram)
{
    for (const char* call :
         {"GetMagSensorState", "GetReelState", "GetKeyPadState", "ZeroReelCount", "GetLcdRotations",
          "SetLcdRotation", "SetReelSondeState", "SetLedStates", "GetBatInfo"}) {
        const std::string output = listen({key(6) + key(7) + key(12) + record(batteryTag, "x")},
                                          std::string(call) + " throw=x\n");
        EXPECT_TRUE(output.ends_with("Caught unknown error\n")) << call;
        EXPECT_EQ(result.status, failed) << call;
        EXPECT_TRUE(result.lastCall().starts_with(call)) << call; // the device stays open
    }
}

TEST_F(ListenerTest, SurvivesRandomBlocks)
{
    std::mt19937 generator(7);
    const auto random = [&] { return static_cast<std::uint32_t>(generator()); };
    std::vector<std::string> blocks;
    for (int round = 0; round < 300; ++round) {
        std::string block;
        while (block.size() < random() % 400) {
            std::string part = record(keyTag + random() % 5, makeData(random() % 120, random()));
            part[4] = static_cast<char>(random() % 4 == 0 ? random() : part[4]);
            part[7] = static_cast<char>(random() % 16 == 0 ? random() : part[7]);
            block += part;
        }
        blocks.push_back(block);
    }
    listen(blocks);
    EXPECT_EQ(result.status, endedBy(SIGTERM)) << result.errors.substr(0, 2000);
}

class SensorListenerTest : public ListenerTest {
protected:
    SensorListenerTest()
    {
        option = "--sensor-listen";
        device = "/dev/arm-sensors";
        head = "Running task: Arm-sensor test\n";
    }
};

TEST_F(SensorListenerTest, PrintsGpsDataAndUnknownRecords)
{
    const auto entry = [](std::uint32_t length) { return words({length}) + std::string(256, 'x'); };
    const std::string parsing = "Gonna do some GPS parsing soon.\n";
    const std::string gps = record(0xfeedbe01, entry(82) + entry(0xFFFFFFFF) + "x");
    EXPECT_EQ(listen({gps + record(0xfeedbe02, "x") + record(0xfeedbe01, std::string(259, 'x')),
                      record(0x0000000A, ""), record(0x0000000A, "x"), gps.substr(0, 300)}),
              "Gps Data Recv. Len = 82\n" + parsing + "Gps Data Recv. Len = -1\n" + parsing +
                  "Unknown sensor data: 0xFEEDBE02\nUnknown sensor data: 0xFEEDBE01\n"
                  "Did not read enough bytes, only: 8\nUnknown sensor data: 0x0000000A\n"
                  "Gps Data Recv. Len = 82\n" +
                  parsing);
    EXPECT_NE(result.errors.find("Arm-sensor read error: "), std::string::npos);
    EXPECT_EQ(result.calls[0], "open(/dev/arm-sensors, 2048) = 0");
    EXPECT_EQ(listen({}, "/dev/arm-sensors:open error=13\n"), "Failed openinig /dev/arm-sensors\n");
    EXPECT_EQ(result.status, failed);
}

class TtyListenerTest : public ListenerTest {
protected:
    TtyListenerTest()
    {
        option = "--tty-listen";
        device = "/dev/ttyARM0";
        head = "Running task: Arm-tty test\n";
    }
};

TEST_F(TtyListenerTest, PrintsBytesInLinesOfSixteen)
{
    const std::string heading = "Got some BT TTY data\n";
    std::string line;
    for (int i = 0; i < 16; ++i) {
        line += "0xAB ";
    }
    line += "\n";
    EXPECT_EQ(listen({std::string(20, '\xAB'), std::string(32, '\xAB'), ""},
                     "/dev/ttyARM0:select ok timeout ok error=4 ok end\n"),
              "Timed out waiting for BT TTY data\n" + heading + line + "0xAB 0xAB 0xAB 0xAB \n" +
                  heading + line + line + heading);
    EXPECT_EQ(result.status, endedBy(SIGTERM));
    EXPECT_NE(result.errors.find("Arm-tty read error: "), std::string::npos);
    const std::vector<std::string> expected{
        "open(/dev/ttyARM0, 2050) = 0",       "select(/dev/ttyARM0, 1.000000) = 1",
        "read(/dev/ttyARM0, 4096) = EAGAIN",  "sleep(1) = 0",
        "select(/dev/ttyARM0, 1.000000) = 0", "select(/dev/ttyARM0, 1.000000) = 1",
        "read(/dev/ttyARM0, 4096) = 20"};
    EXPECT_EQ(std::vector<std::string>(result.calls.begin(), result.calls.begin() + 7), expected);
    EXPECT_EQ(listen({}, "/dev/ttyARM0:open error=2\n"), "Failed opening /dev/ttyARM0\n");
    EXPECT_EQ(result.status, failed);
}

} // namespace
