#include "simulator/Script.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iomanip>
#include <sstream>

namespace simulator {

namespace {

const char* environment(const char* name)
{
    const char* const value = std::getenv(name);
    return value != nullptr ? value : "";
}

} // namespace

Outcome::Outcome(const std::string& text)
{
    std::istringstream stream(text);
    for (std::string field; std::getline(stream, field, ',');) {
        const std::string name = field.substr(0, field.find('='));
        fields[name] = field.size() > name.size() ? field.substr(name.size() + 1) : "";
    }
}

std::string Outcome::text(const std::string& name) const
{
    return has(name) ? fields.at(name) : "";
}

long Outcome::number(const std::string& name, long fallback) const
{
    return has(name) ? std::strtol(text(name).c_str(), nullptr, 0) : fallback;
}

Bytes Outcome::bytes(const std::string& name) const
{
    const std::string digits = text(name);
    Bytes values;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
        values.push_back(static_cast<std::uint8_t>(std::stoul(digits.substr(i, 2), nullptr, 16)));
    }
    return values;
}

Script& Script::instance()
{
    static Script script;
    return script;
}

Script::Script()
{
    std::ifstream file(environment("VIMBRA_SIM_SCRIPT"));
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        std::string key;
        std::string word;
        words >> std::quoted(key);
        if (key == "set" && words >> word) {
            words >> std::quoted(settings[word]);
            continue;
        }
        while (words >> std::quoted(word)) {
            outcomes[key].push_back(word);
        }
    }
}

Outcome Script::next(const std::string& key)
{
    if (!hasMore(key)) {
        return Outcome("");
    }
    Outcome outcome(outcomes[key].front());
    outcomes[key].pop_front();
    return outcome;
}

bool Script::hasMore(const std::string& key) const
{
    return mentions(key) && !outcomes.at(key).empty();
}

std::string Script::setting(const std::string& name, const std::string& fallback) const
{
    return settings.contains(name) ? settings.at(name) : fallback;
}

void trace(const std::string& line)
{
    static std::ofstream file(environment("VIMBRA_SIM_TRACE"));
    file << line << std::endl;
}

void report(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    std::fputs("[simulated instrument] ", stderr);
    std::vfprintf(stderr, format, arguments); // NOLINT(clang-analyzer-valist.Uninitialized)
    std::fputs("\n", stderr);
    va_end(arguments);
}

std::string toHex(const std::uint8_t* bytes, std::size_t count)
{
    constexpr const char* digits = "0123456789abcdef";
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        text += digits[bytes[i] >> 4];
        text += digits[bytes[i] & 0xF];
    }
    return text;
}

std::uint32_t crc32(const Bytes& bytes)
{
    constexpr std::uint32_t polynomial = 0xEDB88320;
    std::uint32_t crc = 0xFFFFFFFF;
    for (const std::uint8_t byte : bytes) {
        crc ^= byte;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc >> 1) ^ ((crc & 1) != 0 ? polynomial : 0);
        }
    }
    return ~crc;
}

} // namespace simulator
