#pragma once

#include <gtest/gtest.h>
#include <string>
#include <tuple>
#include <vector>

/// A table of cases. The first field of a row says what it is about.
template <class... Fields>
using Rows = std::vector<std::tuple<const char*, Fields...>>;

inline constexpr int failed = 255;

/// Status of a run that a signal ended, less the signal's number.
inline constexpr int endedBy = 128;

/// Whether two texts are equal; "[...]", once in the expected one, stands for any text. If they are
/// not, shows where they first differ and how the actual one ends, a few characters of each.
testing::AssertionResult isSame(const std::string& actual, const std::string& expected);

/// What one run of the tool left behind.
struct ToolResult {
    std::string output;
    std::string errors; ///< standard error, that of the simulated instrument included
    int status;         ///< exit status; 128 + signal if one ended the run
    std::vector<std::string> calls;

    /// Whether the run printed just this, as for `isSame`, and ended with this status.
    testing::AssertionResult gave(const std::string& text, int exitStatus = 0) const;

    /// The calls that begin with one of the texts.
    std::vector<std::string> callsOf(const std::vector<std::string>& beginnings) const;
};

/// Runs the built tool in a folder of its own, on the simulated instrument. A run that has not
/// ended after two minutes is killed, with all that it started, and fails the test.
class ToolTest : public testing::Test {
protected:
    ToolTest();
    void TearDown() override;

    /// `arguments` are words of the shell, so redirections can stand among them. `script` is what
    /// the simulated instrument reads; no pause is really waited for.
    ToolResult run(const std::string& arguments, const std::string& script = "") const;

    /// The wait status of a command of the shell in the folder.
    int shell(const std::string& command) const;

    void write(const std::string& name, const std::string& content) const;

    /// The content of a file, or "(no file)".
    std::string read(const std::string& name) const;

    const std::string folder;
};

std::vector<std::string> splitLines(const std::string& text);
