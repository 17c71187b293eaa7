#include "tests/FirmwareFiles.h"
#include "tests/ToolRun.h"

#include <algorithm>
#include <csignal>
#include <iostream>
#include <map>
#include <regex>

// Good runs are repeated with each of their calls failing in turn, by each kind of failure that
// fits it, and with the process killed right behind it.

namespace {

std::vector<std::string> kindsOfFailure(const std::string& call)
{
    static const std::map<std::string, std::vector<std::string>> kinds{
        {"read", {"error=5", "short"}},
        {"write", {"error=5", "short"}},
        {"select", {"error=4", "timeout"}},
        {"Pic_Update_Comm_Tx", {"throw=x", "throw-other", "false"}},
        {"Ipad_Auth_Chip_Tx", {"throw=x", "throw-other", "false"}},
        {"Ipad_Auth_Chip_Rx", {"throw=x", "throw-other", "false", "count=0"}}};
    const auto found = kinds.find(call.substr(0, call.find('(')));
    return found != kinds.end() ? found->second : std::vector<std::string>{"error=5"};
}

/// What a failure that the tool does not judge may bring about, besides a failed run.
enum Course {
    asIfGood,  ///< all is sent, as in the good run
    endsThere, ///< nothing more is sent, and the status is 0
    leavesOut, ///< some of what the good run sends is missing, and the status is 0
};

/// Calls whose result the tool does not examine, or judges more gently than by failing.
struct Exception {
    const char* reason;
    Course course;
    const char* failure; ///< pattern of "LAST COMMAND | CALL = GOOD RESULT | KIND"
};

const std::vector<Exception> exceptions{
    {"reports go to standard output instead", asIfGood, R"(\| fopen\(p,)"},
    {"a failing progress file never stops a run", asIfGood, R"(\| (write|fsync|close)\(p[,)])"},
    {"a stream goes on behind a short count", asIfGood,
     R"(\| (read\([\w.]+\.hex,|write\([\w./]+\.hex\.bin,).*(short|count=0))"},
    {"a stream that has brought something is asked again", asIfGood,
     R"(\| read\(fw\.hex, \d+\) = (?!3000).*error=5)"},
    {"what can't be removed is no obstacle, or can't be opened", asIfGood, R"(\| unlink\()"},
    {"whoever programs an image checks the whole of it first", asIfGood,
     R"(\| (write|lseek)\(fw\.hex\.bin,.*error=5)"},
    {"the result of the write is the driver's answer", asIfGood, R"(\| fsync\(/dev/arm-program\))"},
    {"all is done by then", asIfGood, R"(\| close\()"},
    {"draining never fails an update", asIfGood,
     R"(^ \| (select|read)\(/dev/arm-comms, (0\.0+|10)\))"},
    {"a GPS PIC that can't be asked gets no update", endsThere,
     R"(\(5, [67], +\| (select|read|Pic_Update_Comm_Tx)\((?!kt))"},
    {"for the update a read error is the end of the file", leavesOut,
     R"(\(\d, [245], .* \| read\([\w.]+\.hex,.*error=5)"},
    {"nobody waits for the result", asIfGood, R"(\| Ipad_Auth_Chip_Tx\(.*false)"},
    {"what is in the buffer is shown, whatever the chip says", asIfGood,
     R"(\| Ipad_Auth_Chip_Rx\(\d+, 1\) \| (false|count=0))"},
    {"a chip without a certificate is no failure", endsThere,
     R"(\| Ipad_Auth_Chip_Rx\(48, 2\) \| false)"},
};

const Exception* findException(const std::string& failure)
{
    const auto found = std::find_if(exceptions.begin(), exceptions.end(), [&](const auto& row) {
        return std::regex_search(failure, std::regex(row.failure));
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

bool isPrefix(const std::vector<std::string>& part, const std::vector<std::string>& whole)
{
    return part.size() <= whole.size() && std::equal(part.begin(), part.end(), whole.begin());
}

struct GoodRun {
    std::string name;
    std::string arguments;
    std::string script;
};

class FailingCallsTest : public ToolTest, public testing::WithParamInterface<GoodRun> {
protected:
    FailingCallsTest()
    {
        write("fw.bin", makeImage(0x08000000, data));
        write("fw.hex", hexRows(0x08000000, data) + hexEnd);
        write("kt4100_gps_v8.hex", hexRows(0x800, data.substr(0, 20)) + hexEnd);
        write("orvel_base_user_3_1_20.hex",
              hexRows(0x800, data.substr(0, 100)) + hexRows(0x300000, data.substr(0, 14)) + hexEnd);
    }

    ToolResult runAnew(const std::string& failure)
    {
        for (const char* name : {"p", "fw.hex.bin", "volatile/fw.hex.bin"}) {
            std::filesystem::remove(folder / name);
        }
        ++runs;
        return run(GetParam().arguments, GetParam().script + "set fail \"" + failure + "\"\n");
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
        EXPECT_TRUE(result.calls[number - 1].ends_with("(injected)")) << result.calls[number - 1];
        EXPECT_TRUE(result.status == 0 || result.status == failed) << result.status;
        expectSound(result);
        auto opened = result.callsOf({"open(", "fopen("});
        std::erase_if(opened, [](const std::string& open) { return !open.ends_with(" = 0"); });
        EXPECT_EQ(opened.size(), result.callsOf({"close("}).size());
        const Exception* const exception = findException(failure);
        const auto sent = sentIn(result.calls);
        const auto all = sentIn(good.calls);
        const Course course = exception != nullptr ? exception->course : endsThere;
        EXPECT_TRUE(course == leavesOut || isPrefix(sent, all));
        if (exception == nullptr) {
            EXPECT_EQ(result.status, failed);
        } else {
            isExceptionNeeded[exception] |= result.status == 0;
        }
        if (course != leavesOut && (exception == nullptr || result.status == 0)) {
            EXPECT_EQ(sent.size(), (course == endsThere ? before : all).size());
        }
    }

    void killBehind(std::size_t number)
    {
        SCOPED_TRACE("killed behind " + good.calls[number - 1]);
        const ToolResult result = runAnew(std::to_string(number) + " kill");
        EXPECT_EQ(result.status, endedBy(SIGKILL));
        EXPECT_EQ(result.calls.size(), number);
        EXPECT_TRUE(isPrefix(sentIn(result.calls), sentIn(good.calls)));
        expectSound(result);
    }

    /// Whatever has happened: only a run that has sent all says so, and an image that would be
    /// programmed is whole.
    void expectSound(const ToolResult& result) const
    {
        if (std::regex_search(read("p") + result.output, std::regex("(^|\n|Progress: )100\n"))) {
            EXPECT_TRUE(sentIn(result.calls) == sentIn(good.calls) && result.status != failed);
        }
        const std::string left = read("fw.hex.bin");
        EXPECT_TRUE(left.size() < packetSize || left.substr(4, 4) == words({0}) || left == image);
    }

    const std::string data = makeData(2 * chunkSize);
    ToolResult good;
    std::string image;
    int runs = 0;
    std::map<const Exception*, bool> isExceptionNeeded;
};

TEST_P(FailingCallsTest, AreNotMistakenForSuccess)
{
    good = runAnew("none");
    ASSERT_EQ(good.status, 0) << good.output << good.errors;
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
    std::cout << runs << " runs of " << GetParam().arguments << "\n";
}

const char* const shortReads = "fw.hex:read count=3000\n";

INSTANTIATE_TEST_SUITE_P(
    Of, FailingCallsTest,
    testing::Values(GoodRun{"ProgrammingAnImage", "--program-vimbra fw.bin --progress-file p", ""},
                    GoodRun{"ProgrammingAHexFile", "--program-vimbra fw.hex", shortReads},
                    GoodRun{"ConvertingAHexFile", "--firmware-hex fw.hex", shortReads},
                    GoodRun{"UpdatingABatteryPack", "--program-pic orvel_base_user_3_1_20.hex",
                            "/dev/arm-comms:read hex=01\n"
                            "orvel_base_user_3_1_20.hex:read count=200 ok ok count=200\n"},
                    GoodRun{"UpdatingTheGpsBoard", "--program-pic kt4100_gps_v8.hex", ""},
                    GoodRun{"ReadingTheAuthenticationChip", "--comm-listen",
                            "Ipad_Auth_Chip_Rx ok ok ok ok ok ok ok ok hex=00C8\n"}),
    [](const auto& run) { return run.param.name; });

} // namespace
