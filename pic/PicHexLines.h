#pragma once

#include <cstddef>
#include <cstring>
#include <string>

/// The lines of a PIC HEX file, kept as they were read, so that what is sent is what was checked.
class PicHexLines {
public:
    /// Keeps a NUL-terminated line. Throws a constant string if there are more than 16 MiB then.
    void append(const char* line)
    {
        const std::size_t length = std::strlen(line);
        characters += length;
        if (characters > mostCharacters) {
            throw "HEX file of more than 16 MiB";
        }
        text.append(line, length + 1);
    }

    /// Hands each line to `handle`, NUL-terminated, until it returns false. Returns whether it took
    /// all of them.
    template <class Handle>
    bool forEach(Handle handle) const
    {
        for (std::size_t i = 0; i < text.size(); i += std::strlen(&text[i]) + 1) {
            if (!handle(&text[i])) {
                return false;
            }
        }
        return true;
    }

private:
    static constexpr std::size_t mostCharacters = 16 << 20;

    std::string text; ///< each line ends in a NUL
    std::size_t characters = 0;
};
