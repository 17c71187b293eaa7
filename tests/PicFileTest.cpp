#include "pic/PicFileName.h"
#include "pic/PicHexRecord.h"
#include "tests/FirmwareFiles.h"

#include <gtest/gtest.h>

namespace {

TEST(PicFileName, TellsDeviceAndVersions)
{
    struct Case {
        std::string path;
        int device = -1; ///< -1: refused
        std::array<std::uint16_t, 3> versions{};
    };
    const std::string dots(150, '.');
    const std::string name = "orvel_base_user_1_2_3.hex";
    constexpr bool isLong64 = sizeof(long) == 8;
    const std::vector<Case> cases{
        {"/media/usb/orvel_base_user_3_1_20.hex", 1, {3, 1, 20}},
        {"orvel_interface_user_12_0_7.hex", 2, {12, 0, 7}},
        {"orvel_charger_user_5_0_2.hex", 3, {5, 0, 2}},
        {"orvel_charger_user_5_0.hex"},
        {"orvel_charger_user_5.hex"},
        {"orvel_charger_user_5_0_.hex", 3, {5, 0, 0}},
        {"orvel_interface_base_user_1_2_3.hex", 1, {1, 2, 3}},
        {"base_orvel_charger_user_1_2_3.hex", 3, {1, 2, 3}},
        {"user_orvel_base_1_2_3.hex"},
        {"orvel_user_base_1_2_3.hex"},
        {"orvel_shoe_user_1_2_3.hex"},
        {"orvel_base_1_2_3.hex"},
        {"orvelbase_user_1_2_3.hex"},
        {"Orvel_base_user_1_2_3.hex"},
        {"orvel_baseuser_1_2_3.hex"},
        {"orvel_interfac_user_1_2_3.hex"},
        {"orvel_charge_user_1_2_3.hex"},
        {"orvel_base_user1_2_3_4.hex"},
        {"orvel_base_user_1_2_3hex"},
        {"orvel_base_user_1_2_3.HEX"},
        {"orvel_base_user_1_2_3.he"},
        {"orvel_base_user_1_2_3.hex.bak", 1, {1, 2, 3}},
        {"a.hex/orvel_base_user_1_2_3", 1, {1, 2, 3}},
        {"orvel_base_user_-1_70000_ +9x.hex", 1, {65535, 4464, 9}},
        {"orvel_base_user_x_0x1F_2.hex", 1, {0, 0, 2}},
        {"orvel_base_user_99999999999999999999_-99999999999999999999_010.hex", 1, {65535, 0, 10}},
        {"orvel_base_user_2147483653_-4294967297_4294967299.hex",
         1,
         {isLong64 ? std::uint16_t{5} : std::uint16_t{65535},
          isLong64 ? std::uint16_t{65535} : std::uint16_t{0},
          isLong64 ? std::uint16_t{3} : std::uint16_t{65535}}},
        {"kt4100_gps_v7.hex", 5, {7, 0, 0}},
        {"kt4100_gps_v2_10.hex", 5, {2, 10, 0}},
        {"kt4100_gps_v2_10_3_4.hex", 5, {2, 10, 3}},
        {"kt4100_gps_7.hex"},
        {"kt4100_gps_V7.hex"},
        {"kt4100_gpsv7.hex"},
        {"kt4100-gps_v7.hex"},
        {"_v1_kt4100_gps.hex"},
        {"orvel_base_user_1_2_3/kt4100_gps_v9.hex", 5, {9, 0, 0}},
        {"kt4100_gps/orvel_base_user_1_2_3.hex"},
        {"&*%PROBE&*%", 255},
        {"./&*%PROBE&*%"},
        {"&*%PROBE&*% "},
        {""},
        {dots + std::string(24, '.') + name, 1, {1, 2, 3}},
        {dots + std::string(25, '.') + name},
        {".hex" + dots + std::string(25, '.') + "orvel_base_user_1_2_3456", 1, {1, 2, 0}},
    };
    for (const Case& row : cases) {
        const auto parsed = parsePicFileName(row.path);
        EXPECT_EQ(parsed ? parsed->device : -1, row.device) << row.path;
        EXPECT_EQ(parsed ? parsed->versions : row.versions, row.versions) << row.path;
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
    const std::vector<std::pair<std::string, std::string>> cases{
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
        {":" + std::string(199, '0'), badByte},
        {":" + std::string(200, '0') + "zz", std::string(200, '0')},
    };
    for (const auto& [line, result] : cases) {
        EXPECT_EQ(decode(line), result) << line;
    }
    EXPECT_EQ(decode(":001122", 2), "0011");
    int count = 0;
    EXPECT_THROW(decodeHexLine(":00", 3, nullptr, &count, 1), const char*);
}

} // namespace
