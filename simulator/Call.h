#pragma once

#include "simulator/Outcome.h"

#include <cerrno>
#include <string>

namespace simulator {

/// One call of the program, to libc or to the common library. Every call is counted, takes its
/// outcome from the script, and is one line of the trace; so the line's number is the call's.
class Call {
public:
    /// `key` is that of the script; `text` is how the trace shows the call.
    Call(const std::string& key, const std::string& text);

    /// Sends the process the signal that it is to get behind this call.
    ~Call();
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    const Outcome& outcome() const { return planned; }

    /// Traces a call without a result, as those of the library are.
    void show() const { showAs(text); }

    /// Traces the call with its result; -1 stands for the error in errno, which is kept.
    template <class Result>
    Result end(Result result) const
    {
        const int error = errno;
        showAs(text + " = " + (result == -1 ? nameError(error) : std::to_string(result)));
        errno = error;
        return result;
    }

    /// Fails with the scripted error, or does what `action` does. Traces the call.
    template <class Action>
    auto perform(Action action) const -> decltype(action())
    {
        if (!planned.has("error")) {
            return end(action());
        }
        errno = static_cast<int>(planned.number("error", 0));
        return end(static_cast<decltype(action())>(-1));
    }

private:
    static std::string nameError(int error);
    void showAs(const std::string& line) const;

    std::string text;
    Outcome planned;
    bool isInjected = false;
};

} // namespace simulator
