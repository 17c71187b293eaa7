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
        {"write", {"error=5", "short", "count=0"}},
        {"select", {"error=4", "timeout"}},
        {"Pic_Update_Comm_Tx", {"throw=x", "throw-other", "false"}},
        {"Ipad_Auth_Chip_Tx", {"throw=x", "throw-other", "false"}},
        {"Ipad_Auth_Chip_Rx", {"throw=x", "throw-other", "false", "count=0"}},
    };
    const auto found = kinds.find(call.substr(0, call.find('(')));
    return found != kinds.end() ? found->second : std::vector<std::string>{"error=5"};
}

/// What a failure that the tool does not judge may bring about, besides a failed run.
enum class Course {
    asIfGood,  ///< all is sent, as in the good run
    endsThere, ///< nothing more is sent, and the status is 0
    leavesOut, ///< some of what the good run sends is missing, and the status is 0
};

/// Calls whose result the tool does not examine, or judges more gently than by failing.
struct Exception {
    const char* failure; ///< pattern of "LAST COMMAND | CALL = GOOD RESULT | KIND"
    Course course;
    const char* reason;
};

const std::vector<Exception> exceptions{
    {R"(.*\| fopen\(p,.*)", Course::asIfGood, "reports go to standard output instead"},
    {R"(.*\| (write|fsync|close)\(p[,)].*)", Course::asIfGood,
     "a failing progress file never stops a run"},
    {R"(.*\| (read\([\w.]+\.hex,|write\([\w./]+\.hex\.bin,).*(short|count=0))", Course::asIfGood,
     "a stream goes on behind a short count"},
    {R"(.*\| read\(fw\.hex, \d+\) = (?!3000).*error=5)", Course::asIfGood,
     "a stream that has something left is asked once more"},
    {R"(.*\| (write|lseek)\(fw\.hex\.bin,.*error=5)", Course::asIfGood,
     "whoever programs an image checks the whole of it first"},
    {R"(.*\| fsync\(/dev/arm-program\).*)", Course::asIfGood,
     "the result of the write is the driver's answer"},
    {R"(.*\| close\(.*)", Course::asIfGood, "all is done by then"},
    {R"( \| (select|read)\(/dev/arm-comms, (0\.0+|10)\) .*)", Course::asIfGood,
     "draining never fails an update"},
    {R"(.*\(5, [67], \) \| (select|read|Pic_Update_Comm_Tx)\(.*)", Course::endsThere,
     "a GPS PIC that can't be asked gets no update"},
    {R"(.*\(\d, [245], .* \| read\([\w.]+\.hex,.*error=5)", Course::leavesOut,
     "for the update a read error is the end of the file"},
    {R"(.*\| Ipad_Auth_Chip_Tx\(.*false)", Course::asIfGood, "nobody waits for its result"},
    {R"(.*\| Ipad_Auth_Chip_Rx\(\d+, 1\) \| (false|count=0))", Course::asIfGood,
     "what is in the buffer is shown, whatever the chip says"},
    {R"(.*\| Ipad_Auth_Chip_Rx\(48, 2\) \| false)", Course::endsThere,
     "a chip without a certificate is no failure"},
};

const Exception* findException(const std::string& failure)
{
    const auto found = std::find_if(exceptions.begin(), exceptions.end(), [&](const auto& row) {
        return std::regex_match(failure, std::regex(row.failure));
    });
    return found != exceptions.end() ? &*found : nullptr;
}

/// A line of a trace without its result.
std::string withoutResult(const std::string& line)
{
    return std::regex_replace(line, std::regex(R"(\)( = .*| \(injected\)))"), ")");
}

/// What reached the device, packet by packet and command by command.
std::vector<std::string> sentIn(const std::vector<std::string>& calls)
{
    std::vector<std::string> sent;
    for (const std::string& line : ToolResult{"", "", 0, calls}.callsOf(
             {"write(/dev/arm-program", "Pic_Update_Comm_Tx", "Ipad_Auth_Chip"})) {
        sent.push_back(withoutResult(line));
    }
    return sent;
}

bool isPrefix(const std::vector<std::string>& part, const std::vector<std::string>& whole)
{
    return part.size() <= whole.size() && std::equal(part.begin(), part.end(), whole.begin());
}

/// The paths of what the calls open, or close, in alphabetical order.
std::vector<std::string> pathsOf(const std::vector<std::string>& calls, const char* pattern)
{
    std::vector<std::string> paths;
    for (std::smatch match; const std::string& call : calls) {
        if (std::regex_match(call, match, std::regex(pattern))) {
            paths.push_back(match.str(1));
        }
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

class FailingCallsTest : public ToolTest {
protected:
    FailingCallsTest()
    {
        write("fw.bin", makeImage(0x08000000, data));
        write("fw.hex", hexRows(0x08000000, data) + hexEnd);
    }

    void failEachCall(const std::string& toolArguments, const std::string& instrument = "")
    {
        arguments = toolArguments;
        script = instrument;
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
            EXPECT_TRUE(isNeeded) << "each of these failures fails the run: " << exception->failure;
        }
        std::cout << runs << " runs of " << arguments << "\n";
    }

private:
    ToolResult runAnew(const std::string& failure)
    {
        for (const char* name : {"p", "fw.hex.bin", "volatile/fw.hex.bin"}) {
            std::filesystem::remove(folder / name);
        }
        ++runs;
        return run(arguments, script + "set fail \"" + failure + "\"\n");
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
        EXPECT_EQ(pathsOf(result.calls, R"(f?open\((.*), .*\) = 0)"),
                  pathsOf(result.calls, R"(close\((.*)\) = .*)"));

        const Exception* const exception = findException(failure);
        const auto sent = sentIn(result.calls);
        const bool isEnd = sent == before;
        if (exception == nullptr) {
            EXPECT_EQ(result.status, failed);
            EXPECT_TRUE(isEnd) << "sent behind it: " << testing::PrintToString(sent.back());
        } else if (result.status == 0) {
            EXPECT_TRUE(exception->course == Course::leavesOut ||
                        sent ==
                            (exception->course == Course::endsThere ? before : sentIn(good.calls)))
                << exception->reason;
        }
        EXPECT_TRUE(isPrefix(sent, sentIn(good.calls)) ||
                    (exception != nullptr && exception->course == Course::leavesOut));
        if (exception != nullptr) {
            isExceptionNeeded[exception] |= result.status == 0;
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
        const bool isCompleted = ("\n" + read("p") + result.output).find("\n100\n") != npos ||
                                 result.output.find("Progress: 100\n") != npos;
        if (isCompleted) {
            EXPECT_EQ(sentIn(result.calls), sentIn(good.calls));
            EXPECT_NE(result.status, failed);
        }
        const std::string left = read("fw.hex.bin");
        const bool isRefused = left.size() < packetSize || left.substr(4, 4) == words({0});
        EXPECT_TRUE(isRefused || left == image);
    }

    static constexpr std::size_t npos = std::string::npos;
    const std::string data = makeData(2 * chunkSize);
    std::string arguments;
    std::string script;
    ToolResult good;
    std::string image;
    int runs = 0;
    std::map<const Exception*, bool> isExceptionNeeded;
};

TEST_F(FailingCallsTest, OfProgrammingAnImage)
{
    failEachCall("--program-vimbra fw.bin --progress-file p");
}

TEST_F(FailingCallsTest, OfProgrammingAHexFile)
{
    failEachCall("--program-vimbra fw.hex", "fw.hex:read count=3000\n");
}

TEST_F(FailingCallsTest, OfConvertingAHexFile)
{
    failEachCall("--firmware-hex fw.hex", "fw.hex:read count=3000\n");
}

TEST_F(FailingCallsTest, OfUpdatingABatteryPack)
{
    write("orvel_base_user_3_1_20.hex",
          hexRows(0x800, std::string(100, 'r')) + hexRows(0x300000, std::string(14, 'c')) + hexEnd);
    failEachCall("--program-pic orvel_base_user_3_1_20.hex",
                 "/dev/arm-comms:read hex=01\n"
                 "orvel_base_user_3_1_20.hex:read count=200 ok ok count=200\n");
}

TEST_F(FailingCallsTest, OfUpdatingTheGpsBoard)
{
    write("kt4100_gps_v8.hex", hexRows(0x800, std::string(100, 'r')) + hexEnd);
    failEachCall("--program-pic kt4100_gps_v8.hex");
}

TEST_F(FailingCallsTest, OfReadingTheAuthenticationChip)
{
    failEachCall("--comm-listen");
}

} // namespace
