// SPDX-License-Identifier: MIT
// What is made of a command's table when the command is compiled.
#include "applets/applet_table.h"

#include <gtest/gtest.h>

namespace zav::test {
namespace {

int run(int argc, char** /*argv*/) {
    return argc;
}

constexpr OptionRow options[] = {
    {.letter = 'A', .name = "add", .role = Role::mode, .ways = {{"", "adds"}, {"-n x", " all"}}},
    {.letter = 'v', .name = "verbose", .help = "say more"},
    {.letter = 'z', .role = Role::only_shown, .help = "nothing"},
    {.letter = 'B', .role = Role::mode, .needs = "nv", .ways = {{"this", "is B"}}},
    {.letter = 'n',
     .name = "name",
     .argument = Argument::comment,
     .refuses = "vA",
     .help = "a name"},
    {.letter = 'C', .role = Role::open_mode},
    {.letter = 'D', .role = Role::mode},
};

constexpr AppletTable table = {
    .name = "name",
    .main = run,
    .install_location = usr_bin,
    .options = options,
    .ways_order = "BA",
    .summary = "does this",
    .help_order = "nzv",
};

constexpr Applet example = applet_of<table>();

TEST(TableOfAnApplet, GivesTheDispatcherItsNameMainFunctionAndPlace) {
    EXPECT_STREQ(example.name, "name");
    EXPECT_EQ(example.main, run);
    EXPECT_EQ(example.install_location, 3U);
}

TEST(TableOfAnApplet, GivesTheBitsInTheOrderOfTheOptions) {
    static_assert(option_bit(options, 'A') == 0x1);
    static_assert(option_bit(options, 'v') == 0x2);
    static_assert(option_bit(options, 'B') == 0x4, "what is only shown has no bit");
    static_assert(option_bit(options, 'n') == 0x8);
    EXPECT_STREQ(example.options.short_options, "AvBn:CD");
}

TEST(TableOfAnApplet, MakesModesNeededAndExcludeEachOther) {
    EXPECT_STREQ(example.options.rules, "A:B:C:D:A--BD:B--AD:B?nv:n--vA:D--AB:");
}

TEST(TableOfAnApplet, HasNoRuleForOptionsThatAreFree) {
    static constexpr OptionRow free[] = {{.letter = 'a'}, {.letter = 'b'}};
    static constexpr AppletTable of_free = {"x", run, 0, free, "", "", ""};
    EXPECT_STREQ(applet_of<of_free>().options.rules, "");
    EXPECT_STREQ(applet_of<of_free>().options.short_options, "ab");
}

TEST(TableOfAnApplet, LetsASingleModeExcludeNothing) {
    static constexpr OptionRow single[] = {{.letter = 'S', .role = Role::mode}};
    static constexpr AppletTable of_single = {"x", run, 0, single, "", "", ""};
    EXPECT_STREQ(applet_of<of_single>().options.rules, "S:");
}

TEST(TableOfAnApplet, GivesTheLongOptionsAndARecordOfZeros) {
    const option* all = example.options.long_options;
    EXPECT_STREQ(all[0].name, "add");
    EXPECT_EQ(all[0].has_arg, no_argument);
    EXPECT_EQ(all[0].val, 'A');
    EXPECT_STREQ(all[1].name, "verbose");
    EXPECT_STREQ(all[2].name, "name");
    EXPECT_EQ(all[2].has_arg, required_argument);
    EXPECT_EQ(all[2].flag, nullptr);
    EXPECT_EQ(all[2].val, 'n');
    EXPECT_EQ(all[3].name, nullptr);
    EXPECT_EQ(all[3].val, 0);
}

TEST(TableOfAnApplet, GivesTheUsageInOrdersOfItsOwn) {
    EXPECT_STREQ(example.usage, "\n"
                                "-B this\t\tis B\n"
                                "--add\t\tadds\n"
                                "--add -n x\t\t all\n"
                                "\n"
                                "does this\n"
                                "Options:\n"
                                " --name\t\ta name\n"
                                " -z\t\tnothing\n"
                                " --verbose\t\tsay more");
}

} // namespace
} // namespace zav::test
