// SPDX-License-Identifier: MIT
// Temperature and fans, from the status file of the model's family.
#include "fixtures/status_root.h"

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// Both status files with both keys; each value names its place.
void add_temperatures(PrivateRoot& root) {
    root.file(server_state, "[status]\n\ttemp = server\n\ttemp(cpu) = server cpu\n"
                            "[misc]\n\ttemp = wrong\n\ttemp(cpu) = wrong\n");
    root.file(other_state, "[misc]\n\ttemp = other\n\ttemp(cpu) = other cpu\n"
                           "[status]\n\ttemp = wrong\n\ttemp(cpu) = wrong\n");
}

struct ModelTemperature {
    const char* model;
    const char* text;
};

void PrintTo(const ModelTemperature& each, std::ostream* out) {
    *out << each.model;
}

class TemperatureOfModel : public testing::TestWithParam<ModelTemperature> {};

TEST_P(TemperatureOfModel, ComesFromItsOwnSource) {
    StatusRoot root(GetParam().model);
    add_temperatures(root);
    EXPECT_EQ(read_status(root, tmp_get), gives(0, GetParam().text));
    EXPECT_THAT(root.log(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    All, TemperatureOfModel,
    testing::Values(
        ModelTemperature{"KOR7206LB", "server"}, ModelTemperature{"KOR7206L", "server cpu"},
        ModelTemperature{"KOR7206G", "server cpu"}, ModelTemperature{"KOR7206H", "server cpu"},
        ModelTemperature{"KOR7206L_BS", "server cpu"},
        ModelTemperature{"KOR7206G_BS", "server cpu"},
        ModelTemperature{"KOR7206H_BS", "server cpu"}, ModelTemperature{"GENERIC", "server cpu"},
        ModelTemperature{"KOR", "server cpu"}, // the first three characters decide
        ModelTemperature{"KOR7206LBX", "server cpu"}, ModelTemperature{"VEL7205P", "other"},
        ModelTemperature{"VEL7206P", "other cpu"}, ModelTemperature{"VEL7206X", "other cpu"},
        ModelTemperature{"VEL7205X", "other cpu"}, ModelTemperature{"VEL7205E", "other cpu"},
        ModelTemperature{"VEL7205U", "other cpu"}, ModelTemperature{"VEL7205A", "other cpu"},
        ModelTemperature{"kor7206l", "other cpu"}, ModelTemperature{"KO", "other cpu"}),
    [](const auto& each) { return std::string(each.param.model); });

TEST(Temperature, OfAnEmptyModelIsThatOfTheOtherFamily) {
    StatusRoot root;
    root.file("/etc/nas_base.conf", "[product]\n\ttype =\n");
    add_temperatures(root);
    EXPECT_EQ(read_status(root, tmp_get), gives(0, "other cpu"));
}

TEST(Temperature, IsCutToTheBuffer) {
    StatusRoot root("VEL7205P");
    add_temperatures(root);
    EXPECT_EQ(read_status(root, tmp_get, 3), gives(0, "ot"));
}

TEST(Temperature, MissingStatusFileFailsWithItsCode) {
    StatusRoot root("VEL7205A");
    EXPECT_EQ(read_status(root, tmp_get), gives(-1010, old_text));
    EXPECT_THAT(root.log_texts(),
                ElementsAre(failure_line("tmp_get", -1010, "No such file or directory")));
}

TEST(Temperature, MissingKeyFails) {
    StatusRoot root("VEL7205A");
    root.file(other_state, "[misc]\n\ttemp = 40\n");
    EXPECT_EQ(read_status(root, tmp_get).code, -1010);
}

TEST(Temperature, OfTheServerFamilyIsNotLookedUpInTheOtherFile) {
    StatusRoot root("KOR7206L");
    add_temperatures(root);
    root.remove(server_state);
    EXPECT_EQ(read_status(root, tmp_get).code, -1010);
}

TEST(Temperature, UnreadableModelIsReturnedAsItIs) {
    StatusRoot root;
    add_temperatures(root);
    EXPECT_EQ(read_status(root, tmp_get), gives(-1001, old_text));
    EXPECT_THAT(root.log_texts(), ElementsAre(failure_line("devmodel_get", -1001, ".*"),
                                              failure_line("tmp_get", -1001, ".*")));
}

TEST(Temperature, WithoutABufferFails) {
    StatusRoot root("VEL7205A");
    add_temperatures(root);
    EXPECT_EQ(code_without_buffer(root, tmp_get), -1010);
}

/// A status file's section with fans 1 to `count`, fan N turning at N000.
std::string fans(const std::string& section, int count) {
    std::string text = "[" + section + "]\n";
    for (int fan = 1; fan <= count; ++fan) {
        text += "\tfan" + std::to_string(fan) + " = " + std::to_string(fan * 1000) + "\n";
    }
    return text;
}

Reading read_fans(PrivateRoot& root) {
    return read_status(
        root, [](char* buffer, std::size_t) { return fan_speed_get(buffer); }, ZAV_FAN_SPEED_SIZE);
}

struct ModelFans {
    const char* model;
    int count;
};

void PrintTo(const ModelFans& each, std::ostream* out) {
    *out << each.model;
}

class FanSpeedsOfModel : public testing::TestWithParam<ModelFans> {};

TEST_P(FanSpeedsOfModel, AreThoseOfAsManyFansAsItHas) {
    StatusRoot root(GetParam().model);
    const bool is_server = std::string(GetParam().model).starts_with("KOR");
    root.file(is_server ? server_state : other_state, fans(is_server ? "status" : "misc", 9));
    std::string expected;
    for (int fan = 1; fan <= GetParam().count; ++fan) {
        expected +=
            (fan > 1 ? ",fan" : "fan") + std::to_string(fan) + ":" + std::to_string(fan * 1000);
    }
    EXPECT_EQ(read_fans(root), gives(0, expected));
    EXPECT_THAT(root.log(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(All, FanSpeedsOfModel,
                         testing::Values(ModelFans{"KOR7206LB", 7}, ModelFans{"KOR7206L", 6},
                                         ModelFans{"KOR7206G", 6}, ModelFans{"KOR7206H", 6},
                                         ModelFans{"KOR7206L_BS", 6}, ModelFans{"KOR7206G_BS", 6},
                                         ModelFans{"KOR7206H_BS", 6}, ModelFans{"VEL7206P", 7},
                                         ModelFans{"VEL7206X", 6}, ModelFans{"VEL7205X", 6},
                                         ModelFans{"VEL7205E", 6}, ModelFans{"VEL7205P", 8},
                                         ModelFans{"VEL7205U", 6}, ModelFans{"VEL7205A", 6},
                                         ModelFans{"GENERIC", 0}),
                         [](const auto& each) { return std::string(each.param.model); });

TEST(FanSpeeds, MissingFansAreLeftOut) {
    StatusRoot root("VEL7205A");
    root.file(other_state, "[misc]\n\tfan0 = 1\n\tfan2 = 2000\n\tfan5 = 5000\n");
    EXPECT_EQ(read_fans(root), gives(0, "fan2:2000,fan5:5000"));
    EXPECT_THAT(root.log(), IsEmpty());
}

TEST(FanSpeeds, AreCutToSevenCharactersEach) {
    StatusRoot root("VEL7205A");
    root.file(other_state, "[misc]\n\tfan1 = 1234567\n\tfan2 = 12345678\n");
    EXPECT_EQ(read_fans(root), gives(0, "fan1:1234567,fan2:1234567"));
}

TEST(FanSpeeds, OfAllFansAtTheirLongestFit) {
    StatusRoot root("VEL7205P");
    std::string state = "[misc]\n";
    std::string expected;
    for (const char fan : std::string("12345678")) {
        state += std::string("\tfan") + fan + " = 999999999\n";
        expected += std::string(expected.empty() ? "fan" : ",fan") + fan + ":9999999";
    }
    root.file(other_state, state);
    EXPECT_EQ(read_fans(root), gives(0, expected));
}

TEST(FanSpeeds, OfAMissingStatusFileAreNone) {
    StatusRoot root("KOR7206L");
    root.file(other_state, fans("misc", 6));
    EXPECT_EQ(read_fans(root), gives(0, ""));
}

TEST(FanSpeeds, OfAnUnknownModelFailAndEmptyTheBuffer) {
    StatusRoot root("KOR9999");
    root.file(server_state, fans("status", 6));
    EXPECT_EQ(read_fans(root), gives(-1009, ""));
    EXPECT_THAT(root.log_texts(), ElementsAre(failure_line("fan_speed_get", -1009, ".*")));
}

TEST(FanSpeeds, OfAnUnreadableModelFailWithTheModelsCode) {
    StatusRoot root;
    root.file(other_state, fans("misc", 6));
    EXPECT_EQ(read_fans(root), gives(-1001, ""));
    EXPECT_THAT(root.log_texts(), ElementsAre(failure_line("devmodel_get", -1001, ".*"),
                                              failure_line("fan_speed_get", -1001, ".*")));
}

TEST(FanSpeeds, WithoutABufferFail) {
    StatusRoot root("VEL7205A");
    EXPECT_EQ(root.call([] { return fan_speed_get(nullptr); }).returned, -1009);
    EXPECT_THAT(root.log_texts(), ElementsAre(failure_line("fan_speed_get", -1009, ".*")));
}

} // namespace
} // namespace zav::test
