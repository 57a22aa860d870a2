// SPDX-License-Identifier: MIT
#include "platform/models.h"

#include <gtest/gtest.h>
#include <optional>
#include <set>
#include <string_view>

namespace zav::test {
namespace {

struct Model {
    std::string_view name;
    int fans;
};

constexpr Model models[] = {
    {"KOR7206LB", 7},   {"KOR7206L", 6},    {"KOR7206G", 6}, {"KOR7206H", 6}, {"KOR7206L_BS", 6},
    {"KOR7206G_BS", 6}, {"KOR7206H_BS", 6}, {"VEL7206P", 7}, {"VEL7206X", 6}, {"VEL7205X", 6},
    {"VEL7205E", 6},    {"VEL7205P", 8},    {"VEL7205U", 6}, {"VEL7205A", 6},
};

TEST(FanCount, OfEveryModel) {
    for (const Model& model : models) {
        EXPECT_EQ(fan_count(model.name), model.fans) << model.name;
    }
}

TEST(FanCount, OfAnUnknownModelIsNothing) {
    EXPECT_EQ(fan_count(""), std::nullopt);
    EXPECT_EQ(fan_count("KOR7206"), std::nullopt);
    EXPECT_EQ(fan_count("VEL7204P"), std::nullopt);
}

TEST(FanCount, ComparesExactly) {
    EXPECT_EQ(fan_count("kor7206lb"), std::nullopt);
    EXPECT_EQ(fan_count("KOR7206LB "), std::nullopt);
    EXPECT_EQ(fan_count("KOR7206LBX"), std::nullopt);
    EXPECT_EQ(fan_count(" VEL7205U"), std::nullopt);
}

TEST(ServerFamily, IsWhatBeginsWithKor) {
    for (const Model& model : models) {
        EXPECT_EQ(is_server_family(model.name), model.name[0] == 'K') << model.name;
    }
    EXPECT_TRUE(is_server_family("KOR"));
    EXPECT_TRUE(is_server_family("KORX")) << "known or not";
}

TEST(ServerFamily, IsNothingElse) {
    EXPECT_FALSE(is_server_family(""));
    EXPECT_FALSE(is_server_family("KO"));
    EXPECT_FALSE(is_server_family("kor7206L"));
    EXPECT_FALSE(is_server_family("XKOR7206L"));
}

TEST(FileSystemType, IsReiserfsOnFourModelsAndXfsOnAllOthers) {
    const std::set<std::string_view> reiserfs = {"VEL7205E", "VEL7205P", "KOR7206LB", "VEL7206P"};
    for (const Model& model : models) {
        EXPECT_EQ(fs_type_of(model.name), reiserfs.contains(model.name) ? "reiserfs" : "xfs")
            << model.name;
    }
}

TEST(FileSystemType, OfAnUnknownModelIsXfs) {
    for (const char* model : {"", "VEL7205", "vel7205e", "VEL7205EX", " VEL7206P", "VEL7206P "}) {
        EXPECT_EQ(fs_type_of(model), "xfs") << model;
    }
}

TEST(ControllerModel, IsVEL7205U) {
    EXPECT_EQ(controller_model, "VEL7205U");
}

} // namespace
} // namespace zav::test
