#include "simulator/Script.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iomanip>
#include <sstream>

namespace simulator {

namespace {

std::vector<std::string> split(const std::string& text, char separator)
{
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, separator);) {
        parts.push_back(part);
    }
    return parts;
}

const char* environment(const char* name)
{
    const char* const value = std::getenv(name);
    return value != nullptr ? value : "";
}

} // namespace

Outcome::Outcome(const std::string& text)
{
    for (const std::string& field : split(text, ',')) {
        const std::size_t equals = field.find('=');
        fields[field.substr(0, equals)] =
            equals == std::string::npos ? "" : field.substr(equals + 1);
    }
}

std::string Outcome::text(const std::string& name) const
{
    const auto field = fields.find(name);
    return field != fields.end() ? field->second : "";
}

long Outcome::number(const std::string& name, long fallback) const
{
    return has(name) ? std::strtol(text(name).c_str(), nullptr, 0) : fallback;
}

std::vector<long> Outcome::numbers(const std::string& name) const
{
    std::vector<long> values;
    for (const std::string& part : split(text(name), ':')) {
        values.push_back(std::strtol(part.c_str(), nullptr, 0));
    }
    return values;
}

Bytes Outcome::bytes(const std::string& name) const
{
    const std::string digits = text(name);
    Bytes values;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
        values.push_back(
            static_cast<std::uint8_t>(std::strtoul(digits.substr(i, 2).c_str(), nullptr, 16)));
    }
    return values;
}

int Outcome::error() const
{
    constexpr int lastError = 133;
    const std::string wanted = text("error");
    for (int error = 1; error <= lastError; ++error) {
        const char* const name = strerrorname_np(error);
        if (name != nullptr && wanted == name) {
            return error;
        }
    }
    return 0;
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
        words >> std::quoted(key);
        std::string word;
        if (key == "set" && words >> word) {
            words >> std::quoted(settings[word]);
            continue;
        }
        while (words >> std::quoted(word)) {
            outcomes[key].push_back(word);
        }
    }
}

std::optional<Outcome> Script::next(const std::string& key)
{
    if (!hasMore(key)) {
        return std::nullopt;
    }
    const std::string text = outcomes[key].front();
    outcomes[key].pop_front();
    return text == "ok" ? std::nullopt : std::optional<Outcome>(text);
}

bool Script::hasMore(const std::string& key) const
{
    const auto queue = outcomes.find(key);
    return queue != outcomes.end() && !queue->second.empty();
}

std::string Script::setting(const std::string& name, const std::string& fallback) const
{
    const auto found = settings.find(name);
    return found != settings.end() ? found->second : fallback;
}

void trace(const std::string& line)
{
    static std::ofstream file(environment("VIMBRA_SIM_TRACE"));
    file << line << std::endl;
}

void report(const std::string& line)
{
    std::fprintf(stderr, "[simulated instrument] %s\n", line.c_str());
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
