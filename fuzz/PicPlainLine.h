#pragma once

#include "fuzz/FuzzTarget.h"

#include <vector>

/// A line of a PIC HEX file, read digit by digit.
struct PicPlainLine {
    std::vector<std::uint8_t> bytes;
    std::string failure; ///< empty if there is none

    PicPlainLine(const std::string& line, std::size_t most)
    {
        if (line.empty() || line[0] != ':') {
            failure = "Invalid start character in HEX file.";
            return;
        }
        int high = -1;
        for (std::size_t i = 1; bytes.size() < most && (i < line.size() || high != -1); ++i) {
            const char character = i < line.size() ? line[i] : '\0';
            if (character == '\r' || character == '\n') {
                return;
            }
            const int digit = plainDigit(character);
            if (digit == -1) {
                failure = "Invalid byte format in data";
                return;
            }
            if (high != -1) {
                bytes.push_back(static_cast<std::uint8_t>(high * 16 + digit));
            }
            high = high != -1 ? -1 : digit;
        }
    }
};
