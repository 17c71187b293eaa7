#include "tests/FirmwareFiles.h"
#include "tests/ToolRun.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <fnmatch.h>
#include <map>

// Good runs are repeated with each of their calls failing in turn, by each kind of failure that
// fits it, and with the process killed right behind it.

namespace {

using Kinds = std::vector<std::string>;

Kinds kindsOfFailure(const std::string& call)
{
    static const std::map<std::string, Kinds> kinds{
        {"read", {"error=5", "short"}},
        {"write", {"error=5", "short"}},
        {"select", {"error=4", "timeout"}},
        {"Pic_Update_Comm_Tx", {"throw=x", "throw-other", "false"}},
        {"Ipad_Auth_Chip_Tx", {"throw=x", "throw-other", "false"}},
        {"Ipad_Auth_Chip_Rx", {"throw=x", "throw-other", "false", "count=0"}}};
    const auto found = kinds.find(call.substr(0, call.find('(')));
    return found != kinds.end() ? found->second : Kinds{"error=5"};
}

/// Calls whose result the tool does not examine, or judges more gently than by failing.
struct Exception {
    const char* reason;
    bool endsThere;      ///< nothing more is sent; otherwise all is, as in the good run
    const char* failure; ///< pattern of "LAST COMMAND | CALL = GOOD RESULT | KIND"
};

const std::vector<Exception> exceptions{
    {"reports go to standard output instead", false, "*| fopen(p,*"},
    {"a failing progress file never stops a run", false, "*| @(write|fsync|close)(p[,)]*"},
    {"a stream goes on behind a short count", false, "*| read(*.hex,*short"},
    {"as it does here", false, "*| write(*.hex.bin,*short"},
    {"a stream that has brought something is asked again", false,
     "*| read(fw.hex, *) = !(3000) | error=5"},
    {"whoever programs an image checks the whole of it first", false,
     "*| @(write|lseek)(fw.hex.bin,*error=5"},
    {"where there is nothing, nothing has to be removed", false, "*| unlink(*fw.hex.bin)*"},
    {"the result of the write is the driver's answer", false, "*| fsync(/dev/arm-program)*"},
    {"all is done by then", false, "*| close(*"},
    {"draining never fails an update", false, " | @(select|read)(/dev/arm-comms, @(0.0*|10))*"},
    {"a GPS PIC that can't be asked gets no update", true,
     R"(*\(5, [67], * | @(select|read|Pic_Update_Comm_Tx)\([!k]*)"},
    {"nobody waits for the result", false, "*| Ipad_Auth_Chip_Tx(*false"},
    {"what is in the buffer is shown, whatever the chip says", false,
     "*| Ipad_Auth_Chip_Rx(*, 1) | @(false|count=0)"},
    {"a chip without a certificate is no failure", true, "*| Ipad_Auth_Chip_Rx(48, 2) | false"},
};

const Exception* findException(const std::string& failure)
{
    const auto found = std::find_if(exceptions.begin(), exceptions.end(), [&](const auto& row) {
        return fnmatch(row.failure, failure.c_str(), FNM_EXTMATCH) == 0;
    });
    return found != exceptions.end() ? &*found : nullptr;
}

/// What reached the device, packet by packet and command by command: the calls without results.
std::vector<std::string> sentIn(const std::vector<std::string>& calls)
{
    std::vector<std::string> sent = ToolResult{"", "", 0, calls}.callsOf(
        {"write(/dev/arm-program", "Pic_Update_Comm_Tx", "Ipad_Auth_Chip"});
    for (std::string& call : sent) {
        call.resize(call.find(')'));
    }
    return sent;
}

using GoodRun = std::array<std::string, 3>; // its name, its arguments, its script

class FailingCallsTest : public ToolTest, public testing::WithParamInterface<GoodRun> {
protected:
    FailingCallsTest()
    {
        write("fw.bin", imageOf({{0x08000000, data}}));
        write("fw.hex", hexRows(0x08000000, data) + hexEnd);
        write("kt4100_gps_v8.hex", hexRows(0x800, data.substr(0, 20)) + hexEnd);
        write("orvel_base_user_3_1_20.hex",
              hexRows(0x800, data.substr(0, 100)) + hexRows(0x300000, data.substr(0, 14)) + hexEnd);
    }

    ToolResult runAnew(const std::string& failure)
    {
        for (const char* name : {"/p", "/fw.hex.bin", "/volatile/fw.hex.bin"}) {
            std::remove((folder + name).c_str());
        }
        return run(GetParam()[1], GetParam()[2] + "set fail \"" + failure + "\"\n");
    }

    void failCall(std::size_t number, const std::string& kind)
    {
        const auto index = static_cast<std::ptrdiff_t>(number);
        const auto before = sentIn({good.calls.begin(), good.calls.begin() + index});
        const std::string failure = (before.empty() ? "" : before.back().substr(0, 60)) + " | " +
                                    good.calls[number - 1].substr(0, 60) + " | " + kind;
        SCOPED_TRACE(failure);
        const ToolResult result = runAnew(std::to_string(number) + " " + kind);
        ASSERT_GE(result.calls.size(), number);
        const std::string mark = kind == "error=5" ? " = EIO (injected)" : " (injected)";
        EXPECT_TRUE(result.calls[number - 1].ends_with(mark)) << result.calls[number - 1];
        EXPECT_TRUE(result.status == 0 || result.status == failed) << result.status;
        expectSound(result);
        auto opened = result.callsOf({"open(", "fopen("});
        std::erase_if(opened, [](const std::string& open) { return !open.ends_with(" = 0"); });
        EXPECT_EQ(opened.size(), result.callsOf({"close("}).size());
        const Exception* const exception = findException(failure);
        if (exception == nullptr) {
            EXPECT_EQ(result.status, failed);
            EXPECT_EQ(sentIn(result.calls), before);
        } else if (result.status == 0) {
            isExceptionNeeded[exception] = true;
            EXPECT_EQ(sentIn(result.calls), exception->endsThere ? before : sentIn(good.calls));
        } else {
            isExceptionNeeded.insert({exception, false});
        }
    }

    void killBehind(std::size_t number)
    {
        SCOPED_TRACE("killed behind " + good.calls[number - 1]);
        const ToolResult result = runAnew(std::to_string(number) + " kill");
        EXPECT_EQ(result.status, endedBy + SIGKILL);
        EXPECT_EQ(result.calls.size(), number);
        expectSound(result);
    }

    /// Whatever has happened: what was sent belongs to the good run, only a run that has sent all
    /// says so, and an image that would be programmed is whole.
    void expectSound(const ToolResult& result) const
    {
        auto all = sentIn(good.calls);
        const auto sent = sentIn(result.calls);
        if ((read("p") + result.output).find("100\n") != std::string::npos) {
            EXPECT_TRUE(sent == all && result.status != failed);
        }
        all.resize(std::min(all.size(), sent.size()));
        EXPECT_EQ(sent, all);
        const std::string left = read("fw.hex.bin");
        EXPECT_TRUE(left.size() < packetSize || left.substr(4, 4) == words({0}) || left == image);
    }

    const std::string data = makeData(2 * chunkSize);
    ToolResult good;
    std::string image;
    std::map<const Exception*, bool> isExceptionNeeded;
};

TEST_P(FailingCallsTest, AreNotMistakenForSuccess)
{
    good = runAnew("1 value=1"); // which fits no first call and so changes nothing
    ASSERT_EQ(good.status, 0) << good.output << good.errors;
    EXPECT_FALSE(good.calls[0].ends_with("(injected)")) << good.calls[0];
    image = read("fw.hex.bin");
    for (std::size_t number = 1; number <= good.calls.size(); ++number) {
        for (const std::string& kind : kindsOfFailure(good.calls[number - 1])) {
            failCall(number, kind);
        }
        killBehind(number);
    }
    for (const auto& [exception, isNeeded] : isExceptionNeeded) {
        EXPECT_TRUE(isNeeded) << "superfluous: " << exception->failure;
    }
}

const std::string shortReads = "fw.hex:read count=3000\n";

INSTANTIATE_TEST_SUITE_P(
    Of, FailingCallsTest,
    testing::Values(GoodRun{"ProgrammingAnImage", "--program-vimbra fw.bin --progress-file p", ""},
                    GoodRun{"ProgrammingAHexFile", "--program-vimbra fw.hex", shortReads},
                    GoodRun{"ConvertingAHexFile", "--firmware-hex fw.hex", shortReads},
                    GoodRun{"UpdatingABatteryPack", "--program-pic orvel_base_user_3_1_20.hex",
                            "/dev/arm-comms:read hex=01\n"
                            "orvel_base_user_3_1_20.hex:read count=200\n"},
                    GoodRun{"UpdatingTheGpsBoard", "--program-pic kt4100_gps_v8.hex", ""},
                    GoodRun{"ReadingTheAuthenticationChip", "--comm-listen",
                            "Ipad_Auth_Chip_Rx ok ok ok ok ok ok ok ok hex=00C8\n"}),
    [](const auto& run) { return run.param[0]; });

} // namespace
