#pragma once

#include "simulator/Outcome.h"

#include <cerrno>

namespace simulator {

/// One call of the program, to libc or to the common library. Every call is counted, takes its
/// outcome from the script, and is one line of the trace; so the line's number is the call's.
class Call {
public:
    /// `key` is that of the script: PATH:NAME for a call on a file, NAME for any other.
    explicit Call(const std::string& key, const std::string& arguments = "");

    /// Sends the process the signal that it is to get behind this call.
    ~Call();
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    [[nodiscard]] const Outcome& outcome() const { return planned; }

    /// Traces the call, with the result if it has one.
    void show(const std::string& result = "") const;

    /// Fails with the scripted error, or does what `action` does. Traces the call with its result;
    /// -1 stands for the error in errno, which is kept.
    template <class Action>
    auto perform(Action action) -> decltype(action())
    {
        const bool fails = planned.has("error");
        const auto result = fails ? decltype(action())(-1) : action();
        const int error = fails ? static_cast<int>(planned.number("error", 0)) : errno;
        show(" = " + (result == -1 ? nameError(error) : std::to_string(result)));
        errno = error;
        return result;
    }

private:
    static std::string nameError(int error);

    std::string text;
    Outcome planned;
    bool isInjected = false;
};

} // namespace simulator
