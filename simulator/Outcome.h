#pragma once

#include "simulator/Bytes.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace simulator {

/// How a call ends: fields separated by commas, each NAME or NAME=VALUE. Without any fields, and
/// with "ok", the call takes its ordinary course.
class Outcome {
public:
    Outcome() = default;

    /// `text` is one in which `findOutcomeFault` finds nothing.
    explicit Outcome(const std::string& text);

    bool has(const std::string& name) const { return fields.contains(name); }
    bool isOrdinary() const { return fields.empty() || has("ok"); }
    bool succeeds() const { return !has("false"); }
    std::string text(const std::string& name) const;
    long long number(const std::string& name, long long fallback) const;
    Bytes bytes(const std::string& name) const { return fromHex(text(name)); }

    /// Whether the call knows all the fields.
    bool fits(const std::string& call) const;

private:
    std::map<std::string, std::string> fields;
};

/// A whole number, decimal, or hexadecimal behind 0x; nothing if the text is anything else.
std::optional<long long> parseNumber(const std::string& text);

/// An operation of the common library; a call on a file, whose key is PATH:NAME; or a pause.
enum class CallKind { libraryOperation, fileCall, pause };

/// Nothing if no call has this name.
std::optional<CallKind> kindOfCall(std::string_view name);

/// What is wrong with the text of an outcome; empty if nothing is. `call` is the name of the call
/// that is to end so, or empty for any.
std::string findOutcomeFault(const std::string& call, const std::string& text);

} // namespace simulator
