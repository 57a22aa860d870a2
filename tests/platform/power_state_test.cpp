// SPDX-License-Identifier: MIT
// The power state: from a status file, from the power tool, or from nowhere, by model.
#include "fixtures/status_root.h"

#include <csignal>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr char tool[] = "/usr/local/bin/pwstate";

void add_power(PrivateRoot& root) {
    root.file(server_state, "[status]\n\tpower = server power\n[misc]\n\tpower = wrong\n");
    root.file(other_state, "[misc]\n\tpower = other power\n[status]\n\tpower = wrong\n");
}

struct ModelPower {
    const char* model;
    const char* text;
};

void PrintTo(const ModelPower& each, std::ostream* out) {
    *out << each.model;
}

class PowerFile : public testing::TestWithParam<ModelPower> {};

TEST_P(PowerFile, GivesTheStateAndNoToolIsRun) {
    StatusRoot root(GetParam().model);
    add_power(root);
    root.tool(tool);
    const Reading reading = read_status(root, pwstate_get);
    EXPECT_EQ(reading, gives(0, GetParam().text));
    EXPECT_THAT(reading.commands, IsEmpty());
    EXPECT_THAT(root.log(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Of, PowerFile,
    testing::Values(ModelPower{"KOR7206LB", "server power"}, ModelPower{"KOR7206L", "server power"},
                    ModelPower{"KOR7206H_BS", "server power"}, ModelPower{"KORnew", "server power"},
                    ModelPower{"VEL7205X", "other power"}, ModelPower{"VEL7206X", "other power"},
                    ModelPower{"VEL7205U", "other power"}),
    [](const auto& each) { return std::string(each.param.model); });

class NoPowerSource : public testing::TestWithParam<const char*> {};

TEST_P(NoPowerSource, LeavesTheBufferUntouched) {
    StatusRoot root(GetParam());
    add_power(root);
    root.tool(tool);
    const Reading reading = read_status(root, pwstate_get);
    EXPECT_EQ(reading, gives(0, old_text));
    EXPECT_THAT(reading.commands, IsEmpty());
    EXPECT_THAT(root.log(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Of, NoPowerSource,
                         testing::Values("VEL7206P", "VEL7205A", "VEL7205", "vel7205x", "other"),
                         [](const auto& each) { return std::string(each.param); });

TEST(PowerState, MissingServerFileFailsWithItsCode) {
    StatusRoot root("KOR7206G");
    EXPECT_EQ(read_status(root, pwstate_get), gives(-1002, old_text));
    EXPECT_THAT(root.log_texts(),
                ElementsAre(failure_line("pwstate_get", -1002, "No such file or directory")));
}

TEST(PowerState, MissingKeyFails) {
    StatusRoot root("VEL7205U");
    root.file(other_state, "[misc]\n\ttemp = 1\n");
    EXPECT_EQ(read_status(root, pwstate_get).code, -1002);
}

TEST(PowerState, FromAFileIsCutToTheBuffer) {
    StatusRoot root("VEL7205X");
    add_power(root);
    EXPECT_EQ(read_status(root, pwstate_get, 6), gives(0, "other"));
}

TEST(PowerState, UnreadableModelIsReturnedAsItIs) {
    StatusRoot root;
    EXPECT_EQ(read_status(root, pwstate_get), gives(-1001, old_text));
    EXPECT_THAT(root.log_texts(), ElementsAre(failure_line("devmodel_get", -1001, ".*"),
                                              failure_line("pwstate_get", -1001, ".*")));
}

TEST(PowerState, WithoutABufferFailsWhereThereIsASource) {
    StatusRoot file("VEL7205X");
    add_power(file);
    EXPECT_EQ(code_without_buffer(file, pwstate_get), -1002);
    StatusRoot with_tool("VEL7205E");
    with_tool.tool(tool).any().prints("Power: on\n");
    EXPECT_EQ(code_without_buffer(with_tool, pwstate_get), -1003);
}

class PowerTool : public testing::Test {
  public:
    /// The getter's result for an output of the tool.
    Reading reading_of(const std::string& output, std::size_t size = 64) {
        root.tool(tool).on(tool).prints(output);
        return read_status(root, pwstate_get, size);
    }
    StatusRoot root{"VEL7205E"};
};

TEST_F(PowerTool, GivesTheStateOfBothModelsThatHaveIt) {
    for (const char* model : {"VEL7205E", "VEL7205P"}) {
        root.model(model);
        const Reading reading = reading_of("Power state: normal\n");
        EXPECT_EQ(reading, gives(0, "normal")) << model;
        EXPECT_THAT(reading.commands,
                    ElementsAre("/usr/local/bin/pwstate > /tmp/pwstat.XXXXXX 2>> /dev/null"));
        EXPECT_THAT(root.log(), IsEmpty());
        EXPECT_THAT(root.tmp(), IsEmpty());
    }
}

TEST_F(PowerTool, TextAfterTheLastColonCounts) {
    EXPECT_EQ(reading_of("power:left: on, right: off\n"), gives(0, "off"));
}

TEST_F(PowerTool, LeadingWhiteSpaceIsSkipped) {
    EXPECT_EQ(reading_of("power:\t \f one supply\n"), gives(0, "one supply"));
}

TEST_F(PowerTool, LineWithoutAColonIsTakenWhole) {
    EXPECT_EQ(reading_of("  normal\n"), gives(0, "normal"));
}

TEST_F(PowerTool, OnlyTheFirstLineCounts) {
    EXPECT_EQ(reading_of("power: on\nlater: off\n"), gives(0, "on"));
}

TEST_F(PowerTool, NothingAfterTheColonIsAnEmptyState) {
    EXPECT_EQ(reading_of("power:\n"), gives(0, ""));
}

TEST_F(PowerTool, StateIsCutToTheBuffer) {
    EXPECT_EQ(reading_of("power: normal\n", 4), gives(0, "nor"));
}

TEST_F(PowerTool, CarriageReturnAndMissingNewlineDoNoHarm) {
    EXPECT_EQ(reading_of("power: on\r\n"), gives(0, "on"));
    EXPECT_EQ(reading_of("power: off"), gives(0, "off"));
}

TEST_F(PowerTool, AMegabyteOfOutputIsCutAtALineBuffer) {
    root.tool(tool).any().does("busybox head -c 1000000 /dev/zero | busybox tr '\\0' y");
    EXPECT_EQ(read_status(root, pwstate_get, 4096), gives(0, std::string(255, 'y')));
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST_F(PowerTool, EmptyOutputIsUnreadable) {
    EXPECT_EQ(reading_of(""), gives(-1003, old_text));
    EXPECT_THAT(root.log_texts(), ElementsAre(failure_line("pwstate_get", -1003, ".*")));
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST_F(PowerTool, OutputThatIsGoneIsUnreadable) {
    root.tool(tool).any().does("rm /tmp/pwstat.*");
    EXPECT_EQ(read_status(root, pwstate_get), gives(-1003, old_text));
    EXPECT_THAT(root.log_texts(),
                ElementsAre(failure_line("pwstate_get", -1003, "No such file or directory")));
}

TEST_F(PowerTool, FailureIsLoggedTwiceAndItsOutputNotUsed) {
    root.tool(tool).any().prints("power: on\n").exits(3);
    EXPECT_EQ(read_status(root, pwstate_get), gives(-11000, old_text));
    EXPECT_THAT(root.log_texts(),
                ElementsAre(testing::MatchesRegex(
                                "system\\(\"/usr/local/bin/pwstate > /tmp/pwstat\\.[^ ]{6}\"\\) "
                                "return normal with exit\\(3\\) for '.*'"),
                            failure_line("pwstate_get", -11000, ".*")));
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST_F(PowerTool, DeathBySignalIsAFailure) {
    root.tool(tool).any().killed_by(SIGKILL);
    EXPECT_EQ(read_status(root, pwstate_get).code, -11000);
    EXPECT_THAT(root.log_texts().front(), testing::HasSubstr("return unnormal with exit(0)"));
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST_F(PowerTool, MissingToolIsAFailure) {
    EXPECT_EQ(read_status(root, pwstate_get).code, -11000);
    EXPECT_THAT(root.log_texts().front(), testing::HasSubstr("return normal with exit(127)"));
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST_F(PowerTool, NoPlaceForItsOutputIsAFailure) {
    root.tool(tool);
    root.read_only("/tmp");
    const Reading reading = read_status(root, pwstate_get);
    EXPECT_EQ(reading.code, -11000);
    EXPECT_THAT(reading.commands, IsEmpty());
}

} // namespace
} // namespace zav::test
