#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <vector>

namespace simulator {

using Bytes = std::vector<std::uint8_t>;

/// How a call ends: fields separated by commas, each NAME or NAME=VALUE. Without any fields, the
/// call takes its ordinary course.
class Outcome {
public:
    explicit Outcome(const std::string& text);

    bool has(const std::string& name) const { return fields.contains(name); }
    bool succeeds() const { return !has("false"); }
    std::string text(const std::string& name) const;
    long number(const std::string& name, long fallback) const;
    Bytes bytes(const std::string& name) const; ///< hexadecimal

private:
    std::map<std::string, std::string> fields;
};

/// What is to happen in a run. The file that VIMBRA_SIM_SCRIPT names has one line per call key, the
/// key and the outcomes of its calls in order (docs/simulator.md), or "set NAME VALUE". Calls
/// beyond the last outcome, or without any, take their ordinary course.
class Script {
public:
    static Script& instance();

    /// The next outcome for the key, or the ordinary one.
    Outcome next(const std::string& key);

    bool mentions(const std::string& key) const { return outcomes.contains(key); }
    bool hasMore(const std::string& key) const;
    std::string setting(const std::string& name, const std::string& fallback) const;

private:
    Script();

    std::map<std::string, std::deque<std::string>> outcomes;
    std::map<std::string, std::string> settings;
};

/// Appends one line to the file that VIMBRA_SIM_TRACE names, if it does.
void trace(const std::string& line);

/// Tells the user on standard error what the simulated instrument does. `printf` format.
[[gnu::format(printf, 1, 2)]] void report(const char* format, ...);

std::string toHex(const std::uint8_t* bytes, std::size_t count);

/// CRC-32 as `gzip` and `crc32` compute it.
std::uint32_t crc32(const Bytes& bytes);

} // namespace simulator
