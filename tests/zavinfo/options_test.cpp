// SPDX-License-Identifier: MIT
#include "zavinfo/options.h"

#include <gmock/gmock.h>

namespace zavinfo::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

Options parse(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "zavinfo");
    std::vector<char*> pointers;
    for (std::string& argument : arguments) {
        pointers.push_back(argument.data());
    }
    const int count = static_cast<int>(pointers.size());
    pointers.push_back(nullptr);
    return parse_options(count, pointers.data());
}

TEST(Options, AskForTheTreeByDefault) {
    const Options options = parse({});
    EXPECT_EQ(options.output, Output::tree);
    EXPECT_EQ(options.parts, all_parts());
    EXPECT_TRUE(options.asks_disks);
    EXPECT_EQ(options.fault, "");
}

TEST(Options, NameAnOutput) {
    EXPECT_EQ(parse({"--check"}).output, Output::check);
    EXPECT_EQ(parse({"--metrics"}).output, Output::metrics);
    EXPECT_EQ(parse({"--help"}).output, Output::help);
    EXPECT_EQ(parse({"--version"}).output, Output::version);
    EXPECT_EQ(parse({"--explain", "-411"}).code, "-411");
    EXPECT_THAT(parse({"--json", "shares", "disks"}).parts, ElementsAre(Part::disks, Part::shares));
    EXPECT_THAT(parse({"shares", "--json"}).parts, ElementsAre(Part::shares));
    EXPECT_EQ(parse({"--json"}).parts, all_parts());
    EXPECT_EQ(parse({"--page", "x.html"}).path, "x.html");
    EXPECT_EQ(parse({"--preflight"}).output, Output::preflight);
    EXPECT_FALSE(parse({"--preflight"}).is_json);
    EXPECT_TRUE(parse({"--json", "--preflight"}).is_json);
    EXPECT_EQ(parse({"--preflight", "--json"}).output, Output::preflight);
}

TEST(Options, SetLimits) {
    const Options options =
        parse({"--check", "-w", "80", "--critical=95", "--timeout", "5", "--no-smart"});
    EXPECT_EQ(options.limits.warning, 80);
    EXPECT_EQ(options.limits.critical, 95);
    EXPECT_EQ(options.time_limit.count(), 5);
    EXPECT_FALSE(options.asks_disks);
}

TEST(Options, WatchWithoutAskingTheDisks) {
    EXPECT_EQ(parse({"--watch"}).interval.count(), 2);
    EXPECT_FALSE(parse({"--watch"}).asks_disks);
    EXPECT_EQ(parse({"--watch=7"}).interval.count(), 7);
}

TEST(Options, AreRefusedWhenTheyAreNotUnderstood) {
    EXPECT_THAT(parse({"--bogus"}).fault, HasSubstr("not understood"));
    EXPECT_THAT(parse({"--explain"}).fault, HasSubstr("not understood"));
    EXPECT_THAT(parse({"disks"}).fault, HasSubstr("'disks' belongs to no option"));
    EXPECT_THAT(parse({"--json", "flowers"}).fault, HasSubstr("no part 'flowers'"));
    EXPECT_THAT(parse({"--json", "--check"}).fault, HasSubstr("do not go together"));
    EXPECT_THAT(parse({"--page", "x", "--json"}).fault, HasSubstr("do not go together"));
    EXPECT_THAT(parse({"--preflight", "--check"}).fault, HasSubstr("do not go together"));
    EXPECT_THAT(parse({"--json", "--watch"}).fault, HasSubstr("do not go together"));
    for (const char* percent : {"101", "-1", "9x", ""}) {
        EXPECT_THAT(parse({"-w", percent}).fault, HasSubstr("no percentage")) << percent;
    }
    EXPECT_THAT(parse({"--watch=0"}).fault, HasSubstr("no number of seconds"));
    EXPECT_THAT(parse({"--timeout", "x"}).fault, HasSubstr("no number of seconds"));
}

TEST(Options, TellAPluginsReaderOfAFault) {
    EXPECT_EQ(parse({"--bogus", "--check"}).output, Output::check);
}

TEST(Parts, AreTakenWithWhatTheyAreLinkedWith) {
    EXPECT_EQ(what_for(all_parts(), true), unsigned{ZAV_ALL});
    EXPECT_EQ(what_for(all_parts(), false), unsigned{ZAV_ALL & ~ZAV_SMART});
    EXPECT_EQ(what_for({Part::services}, true), unsigned{ZAV_SERVICES});
    EXPECT_EQ(what_for({Part::shares}, true), what_for({Part::arrays}, true));
    EXPECT_EQ(what_for({Part::disks}, true), what_for({Part::arrays}, true) | ZAV_SMART);
}

TEST(Usage, NamesEveryPart) {
    for (const PartName& part : part_names) {
        EXPECT_THAT(usage_text(), HasSubstr(std::string(part.name)));
    }
}

} // namespace
} // namespace zavinfo::test
