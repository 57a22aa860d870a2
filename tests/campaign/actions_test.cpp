// SPDX-License-Identifier: MIT
// The table of actions: it has all of them, and each does undisturbed what its row says.
#include "actions.h"
#include "applets/applets.h"

#include <gmock/gmock.h>
#include <set>

namespace zav::test {
namespace {

// How a run must end that returns the code.
int status_of(int code) {
    return code & 0xff;
}

class EachAction : public testing::TestWithParam<size_t> {};

TEST_P(EachAction, DoesUndisturbedWhatItsRowSays) {
    const Action& action = actions()[GetParam()];
    SCOPED_TRACE(action.name);
    Appliance appliance(action.model);
    prepare(action, appliance);
    const State before = appliance.state();

    const Result run = appliance.run(action.arguments);

    EXPECT_EQ(run.exit_status, action.status)
        << run.out << testing::PrintToString(appliance.logged());
    EXPECT_THAT(appliance.leftovers(), testing::IsEmpty());
    const State after = appliance.state();
    for (const std::string& path : differences(before, after)) {
        EXPECT_TRUE(!path.starts_with("/etc/") || action.may_change_file(path)) << path;
        EXPECT_FALSE(action.is_listing()) << path;
    }

    const Result again = appliance.run(action.arguments);

    EXPECT_EQ(again.exit_status, status_of(action.again)) << again.out;
    EXPECT_THAT(appliance.leftovers(), testing::IsEmpty());
    if (action.again == 0) {
        EXPECT_THAT(differences(after, appliance.state()), testing::IsEmpty());
    }
}

INSTANTIATE_TEST_SUITE_P(Actions, EachAction, testing::Range(size_t{0}, actions().size()),
                         [](const auto& row) {
                             std::string name = actions()[row.param].name;
                             std::erase(name, '-');
                             return name;
                         });

// The options that choose what a command does: those that are modes, and what hotspare and mdmanage
// choose with -a and -r.
std::set<std::string> modes_of(const Applet& applet) {
    std::set<std::string> modes;
    for (const option* at = applet.options.long_options; at->name != nullptr; ++at) {
        const std::string name = at->name;
        if (name != "detail" && name != "fg-init") {
            modes.insert("--" + name);
        }
    }
    if (std::string(applet.name) == "mdmanage") {
        modes.insert({"-a", "-r"});
    }
    return modes;
}

TEST(TableOfActions, HasEachActionOfEachCommand) {
    for (const Applet& applet : applets()) {
        std::set<std::string> missing = modes_of(applet);
        EXPECT_THAT(missing, testing::Not(testing::IsEmpty())) << applet.name;
        for (const Action& action : actions()) {
            if (action.arguments[0] == applet.name) {
                missing.erase(action.arguments[1]);
            }
        }
        EXPECT_THAT(missing, testing::IsEmpty()) << applet.name;
    }
}

TEST(TableOfActions, HasNoNameTwice) {
    std::set<std::string> names;
    for (const Action& action : actions()) {
        EXPECT_TRUE(names.insert(action.name).second) << action.name;
    }
}

} // namespace
} // namespace zav::test
