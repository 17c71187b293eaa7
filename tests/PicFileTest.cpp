#include "pic/PicFileName.h"
#include "pic/PicHexRecord.h"
#include "tests/FirmwareFiles.h"

#include <gtest/gtest.h>

namespace {

TEST(PicFileName, TellsDeviceAndVersions)
{
    struct Case {
        std::string path;
        int device; ///< -1: refused
        std::array<std::uint16_t, 3> versions;
    };
    const std::string dots(150, '.');
    const std::vector<Case> cases{
        {"/media/usb/orvel_base_user_3_1_20.hex", 1, {3, 1, 20}},
        {"orvel_interface_user_12_0_7.hex", 2, {12, 0, 7}},
        {"orvel_charger_user_5_0_2.hex", 3, {5, 0, 2}},
        {"orvel_charger_user_5_0.hex", -1, {}},
        {"orvel_charger_user_5_0_.hex", 3, {5, 0, 0}},
        {"orvel_interface_base_user_1_2_3.hex", 1, {1, 2, 3}},
        {"base_orvel_charger_user_1_2_3.hex", 3, {1, 2, 3}},
        {"orvel_user_base_1_2_3.hex", -1, {}},
        {"orvel_shoe_user_1_2_3.hex", -1, {}},
        {"orvel_base_1_2_3.hex", -1, {}},
        {"orvel_base_user_-1_70000_ +9x.hex", 1, {65535, 4464, 9}},
        {"orvel_base_user_x_1_2.hex", 1, {0, 1, 2}},
        {"orvel_base_user_1_2_3.HEX", -1, {}},
        {"orvel_base_user_1_2_3.hex.bak", 1, {1, 2, 3}},
        {"a.hex/orvel_base_user_1_2_3", 1, {1, 2, 3}},
        {"kt4100_gps_v7.hex", 5, {7, 0, 0}},
        {"kt4100_gps_v2_10_3.hex", 5, {2, 10, 3}},
        {"kt4100_gps_v2_10_3_4.hex", 5, {2, 10, 3}},
        {"kt4100_gps_7.hex", -1, {}},
        {"orvel_base_user_1_2_3/kt4100_gps_v9.hex", 5, {9, 0, 0}},
        {"kt4100_gps/orvel_base_user_1_2_3.hex", -1, {}},
        {"&*%PROBE&*%", 255, {0, 0, 0}},
        {"./&*%PROBE&*%", -1, {}},
        {"", -1, {}},
        {dots + "orvel_base_user_1_2_3.hex", 1, {1, 2, 3}},
        {dots + std::string(24, '.') + "orvel_base_user_1_2_3.hex", 1, {1, 2, 3}},
        {dots + std::string(25, '.') + "orvel_base_user_1_2_3.hex", -1, {}},
        {".hex" + dots + std::string(25, '.') + "orvel_base_user_1_2_3456", 1, {1, 2, 0}},
    };
    for (const Case& row : cases) {
        const auto name = parsePicFileName(row.path);
        EXPECT_EQ(name ? name->device : -1, row.device) << row.path;
        if (name) {
            EXPECT_EQ(name->versions, row.versions) << row.path;
        }
    }
}

/// The bytes that a line gives, in hexadecimal, or the error.
std::string decode(const std::string& line, int max = maxPicRecordBytes)
{
    std::array<std::uint8_t, maxPicRecordBytes> out{};
    int count = -1;
    try {
        decodeHexLine(line.c_str(), static_cast<int>(line.size()), out.data(), &count, max);
    } catch (const char* text) {
        return text;
    }
    return toHex(std::string(out.begin(), out.begin() + count));
}

TEST(PicHexLine, DecodesPairsUpToTheLineEnd)
{
    const std::string badStart = "Invalid start character in HEX file.";
    const std::string badByte = "Invalid byte format in data";
    struct Case {
        std::string line;
        std::string result;
    };
    const std::vector<Case> cases{
        {":00aB7f\n", "00ab7f"},
        {":00aB7f\r\n", "00ab7f"},
        {":00aB7f", "00ab7f"},
        {":0\n", ""},
        {":\n", ""},
        {":", ""},
        {":00a\n", "00"},
        {":00a\r\n", "00"},
        {":00a", badByte},
        {":0", badByte},
        {"", badStart},
        {"\n", badStart},
        {" :00\n", badStart},
        {":0 0\n", badByte},
        {":0g\n", badByte},
        {":00:\n", badByte},
        {":00\n11", "00"},
    };
    for (const Case& row : cases) {
        EXPECT_EQ(decode(row.line), row.result) << row.line;
    }
    EXPECT_EQ(decode(":001122", 2), "0011");
    EXPECT_EQ(decode(":" + std::string(199, '0')), badByte);
    EXPECT_EQ(decode(":" + std::string(200, '0') + "zz"), std::string(200, '0'));
    int count = 0;
    EXPECT_THROW(decodeHexLine(":00", 3, nullptr, &count, 1), const char*);
}

} // namespace
