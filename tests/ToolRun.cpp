#include "tests/ToolRun.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <poll.h>
#include <spawn.h>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

std::vector<std::string> splitLines(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

testing::AssertionResult isSame(const std::string& actual, const std::string& expected)
{
    if (actual == expected) {
        return testing::AssertionSuccess();
    }
    constexpr std::size_t before = 40;
    constexpr std::size_t shown = 120;
    const auto difference =
        std::mismatch(actual.begin(), actual.end(), expected.begin(), expected.end()).first;
    const auto offset = static_cast<std::size_t>(difference - actual.begin());
    const auto part = [&](const std::string& text) {
        return testing::PrintToString(text.substr(offset - std::min(offset, before), shown));
    };
    return testing::AssertionFailure()
           << "first difference at " << offset << " of " << actual.size() << ", expected "
           << expected.size() << "\n  there is: " << part(actual)
           << "\n  expected: " << part(expected) << "\n";
}

testing::AssertionResult ToolResult::gave(const std::string& text, int exitStatus) const
{
    if (status != exitStatus) {
        return testing::AssertionFailure()
               << "status " << status << ", expected " << exitStatus << "; " << isSame(output, text)
               << errors.substr(0, 1000);
    }
    return isSame(output, text);
}

std::vector<std::string> ToolResult::callsOf(const std::vector<std::string>& beginnings) const
{
    std::vector<std::string> found;
    std::copy_if(calls.begin(), calls.end(), std::back_inserter(found), [&](const auto& call) {
        return std::any_of(beginnings.begin(), beginnings.end(),
                           [&](const auto& beginning) { return call.starts_with(beginning); });
    });
    return found;
}

namespace {

#ifndef VIMBRA_EMULATOR // the command in front of the tool that runs it on this machine
#define VIMBRA_EMULATOR ""
#endif
constexpr const char* emulator = VIMBRA_EMULATOR;
constexpr int highDescriptor = 200;

/// A folder in memory, if there is one: the tool syncs what it writes, and a disk takes its time.
std::filesystem::path findTemporaryFolder()
{
    const std::filesystem::path memory = "/dev/shm";
    return access(memory.c_str(), W_OK) == 0 ? memory : std::filesystem::path(testing::TempDir());
}

/// Waits until every process that holds the write end of the pipe has ended, or the time is up.
bool allEnd(int readEnd, std::chrono::milliseconds limit)
{
    pollfd waiting{readEnd, POLLIN, 0};
    return poll(&waiting, 1, static_cast<int>(limit.count())) == 1;
}

/// Starts a shell in a process group of its own, with one more descriptor, out of the way of the
/// tool's own. A fork would copy the tests' whole address space, which sanitizers make large.
pid_t startShell(std::string command, int inherited)
{
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, inherited, highDescriptor);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
    std::string name = "sh";
    std::string option = "-c";
    const std::array<char*, 4> arguments{name.data(), option.data(), command.data(), nullptr};
    pid_t child = -1;
    EXPECT_EQ(posix_spawn(&child, "/bin/sh", &actions, &attributes, arguments.data(), environ), 0);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    return child;
}

/// Runs a command. Returns its exit status, 128 + signal if one ended it. Fails the test if it has
/// to be killed.
int runShell(const std::string& command, std::chrono::milliseconds limit)
{
    std::array<int, 2> ends{};
    EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
    const pid_t child = startShell(command, ends[1]);
    close(ends[1]);
    if (!allEnd(ends[0], limit)) {
        ADD_FAILURE() << "no end in time: " << command;
        kill(-child, SIGKILL);
    }
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    return WIFSIGNALED(status) ? endedBy(WTERMSIG(status)) : WEXITSTATUS(status);
}

} // namespace

const std::string ToolTest::tool = VIMBRA_TOOL;

ToolTest::ToolTest() : folder(findTemporaryFolder() / ("vimbra-" + std::to_string(getpid())))
{
    std::filesystem::create_directories(folder / "volatile");
}

ToolTest::~ToolTest()
{
    std::filesystem::remove_all(folder);
}

void ToolTest::write(const std::string& name, const std::string& content) const
{
    std::ofstream(folder / name, std::ios::binary) << content;
}

std::string ToolTest::read(const std::string& name) const
{
    std::ifstream file(folder / name, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return file.is_open() ? content.str() : "(no file)";
}

ToolResult ToolTest::run(const std::string& arguments, const std::string& script) const
{
    write("script", "set clock fast\n" + script);
    const std::string environment =
        "VIMBRA_SIM_SCRIPT=script VIMBRA_SIM_TRACE=trace VIMBRA_SIM_VOLATILE=volatile "
        "ASAN_OPTIONS=verify_asan_link_order=0 ";
    const std::string preload = "LD_PRELOAD=" VIMBRA_DEVICE_NODES " ";
    const bool isEmulated = *emulator != '\0'; // which would take the library for its own
    return runCommand(environment +
                      (isEmulated ? std::string(emulator) + " -E " + preload : preload) + "'" +
                      tool + "' " + arguments);
}

ToolResult ToolTest::runPlainly(const std::string& arguments) const
{
    return runCommand(std::string(emulator) + " '" + tool + "' " + arguments);
}

ToolResult ToolTest::runCommand(const std::string& command) const
{
    std::filesystem::remove(folder / "trace");
    // A run that never ends is not to fill the disk.
    const std::string limits = "ulimit -f 20000; cd '" + folder.string() + "' && { ";
    const int status = runShell(limits + command + "; } >output 2>errors </dev/null", timeLimit);
    const std::string trace = read("trace");
    return {read("output"), read("errors"), status, splitLines(trace == "(no file)" ? "" : trace)};
}
