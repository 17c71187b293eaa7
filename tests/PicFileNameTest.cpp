#include "pic/PicFileName.h"
#include "tests/ToolRun.h"

#include <utility>

namespace {

/// "DEVICE: VERSION, VERSION, VERSION", or "refused".
std::string parse(const std::string& path)
{
    const auto name = parsePicFileName(path);
    return name ? std::to_string(name->device) + ": " + std::to_string(name->versions[0]) + ", " +
                      std::to_string(name->versions[1]) + ", " + std::to_string(name->versions[2])
                : "refused";
}

TEST(PicFileName, TellsDeviceAndVersions)
{
    const std::string dots(174, '.');
    const std::string name = "orvel_base_user_1_2_3.hex";
    const std::vector<std::pair<std::string, std::string>> cases{
        {"/media/usb/orvel_base_user_3_1_20.hex", "1: 3, 1, 20"},
        {"orvel_interface_user_12_0_7.hex", "2: 12, 0, 7"},
        {"orvel_charger_user_5_0_2.hex", "3: 5, 0, 2"},
        {"orvel_charger_user_5_0_.hex", "3: 5, 0, 0"},
        {"orvel_interface_base_user_1_2_3.hex", "1: 1, 2, 3"},
        {"base_orvel_charger_user_1_2_3.hex", "3: 1, 2, 3"},
        {"orvel_base_user_1_2_3.hex.bak", "1: 1, 2, 3"},
        {"a.hex/orvel_base_user_1_2_3", "1: 1, 2, 3"},
        {"orvel_base_user_-1_70000_ +9x.hex", "1: 65535, 4464, 9"},
        {"orvel_base_user_x_0x1F_010.hex", "1: 0, 0, 10"},
        {"orvel_base_user_99999999999999999999_-99999999999999999999_1.hex", "1: 65535, 0, 1"},
        {"orvel_base_user_2147483653_-4294967297_4294967299.hex", // as long as the platform's long
         sizeof(long) == 8 ? "1: 5, 65535, 3" : "1: 65535, 0, 65535"},
        {"kt4100_gps_v7.hex", "5: 7, 0, 0"},
        {"kt4100_gps_v2_10.hex", "5: 2, 10, 0"},
        {"kt4100_gps_v2_10_3_4.hex", "5: 2, 10, 3"},
        {"orvel_base_user_1_2_3/kt4100_gps_v9.hex", "5: 9, 0, 0"},
        {"&*%PROBE&*%", "255: 0, 0, 0"},
        {dots + name, "1: 1, 2, 3"},
        {".hex." + dots + "orvel_base_user_1_2_3456", "1: 1, 2, 0"},
    };
    for (const auto& [path, result] : cases) {
        EXPECT_EQ(parse(path), result) << path;
    }
    EXPECT_EQ(parse("." + dots + name), "refused");
    EXPECT_EQ(parse(""), "refused");
    for (const std::string& path : splitLines(
             "orvel_charger_user_5.hex\norvel_charger_user_5_0.hex\nuser_orvel_base_1_2_3.hex\n"
             "orvel_user_base_1_2_3.hex\norvel_shoe_user_1_2_3.hex\norvel_base_1_2_3.hex\n"
             "orvelbase_user_1_2_3.hex\nOrvel_base_user_1_2_3.hex\norvel_baseuser_1_2_3.hex\n"
             "orvel_interfac_user_1_2_3.hex\norvel_charge_user_1_2_3.hex\n"
             "orvel_base_user1_2_3_4.hex\norvel_base_user_1_2_3hex\norvel_base_user_1_2_3.HEX\n"
             "orvel_base_user_1_2_3.he\nkt4100_gps_7.hex\nkt4100_gps_V7.hex\nkt4100_gpsv7.hex\n"
             "kt4100-gps_v7.hex\n_v1_kt4100_gps.hex\nkt4100_gps/orvel_base_user_1_2_3.hex\n"
             "./&*%PROBE&*%\n&*%PROBE&*% ")) {
        EXPECT_EQ(parse(path), "refused") << path;
    }
}

} // namespace
