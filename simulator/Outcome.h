#pragma once

#include "simulator/Bytes.h"

#include <map>
#include <optional>

namespace simulator {

/// How a call ends: fields separated by commas, each NAME or NAME=VALUE. Without any fields, and
/// with "ok", the call takes its ordinary course.
class Outcome {
public:
    Outcome() = default;

    /// `text` is one in which `findOutcomeFault` finds nothing.
    explicit Outcome(const std::string& text);

    [[nodiscard]] bool has(const std::string& name) const { return fields.contains(name); }
    [[nodiscard]] std::string text(const std::string& name) const
    {
        return has(name) ? fields.at(name) : "";
    }
    [[nodiscard]] long long number(const std::string& name, long long fallback) const;
    [[nodiscard]] Bytes bytes(const std::string& name) const { return fromHex(text(name)); }

private:
    std::map<std::string, std::string> fields;
};

/// A whole number, decimal, or hexadecimal behind 0x; nothing if the text is anything else.
std::optional<long long> parseNumber(const std::string& text);

/// Whether there is a call with this key: PATH:NAME for one on a file, NAME for any other.
bool isCallKey(const std::string& key);

/// What is wrong with an outcome of the call with this key, or of any if the key is empty; empty if
/// nothing is.
std::string findOutcomeFault(const std::string& key, const std::string& text);

} // namespace simulator
