// SPDX-License-Identifier: MIT
// What differs between the product models.
#include "platform/models.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <iterator>
#include <optional>
#include <set>
#include <string_view>

namespace zav::test {
namespace {

using Names = std::set<std::string_view>;

const Names known = {"KOR7206LB",   "KOR7206L",    "KOR7206G", "KOR7206H", "KOR7206L_BS",
                     "KOR7206G_BS", "KOR7206H_BS", "VEL7206P", "VEL7206X", "VEL7205X",
                     "VEL7205E",    "VEL7205P",    "VEL7205U", "VEL7205A", "GENERIC"};
const Names unknown = {"",        "KOR",        "KORX",      "KO",        "kor7206lb", "KOR7206LB ",
                       "KOR7206", "KOR7206LBX", "XKOR7206L", "VEL7204P",  "VEL7205",   "vel7205e",
                       "generic", "GENERICX",   "VEL7205EX", " VEL7206P", "VEL7206P ", " VEL7205U"};

TEST(Models, AreThoseThatTheTestsKnow) {
    Names names;
    for (const Model& model : known_models()) {
        EXPECT_TRUE(names.insert(model.name).second) << model.name;
    }
    EXPECT_EQ(names, known);
}

// The models of which a fact holds, unknown ones included.
template <class Holds>
Names models_with(Holds holds) {
    Names found;
    for (const Names& names : {known, unknown}) {
        std::ranges::copy_if(names, std::inserter(found, found.end()),
                             [&](std::string_view name) { return holds(find_model(name)); });
    }
    return found;
}

Names all_but(Names excluded) {
    Names names;
    for (const Names& all : {known, unknown}) {
        std::ranges::set_difference(all, excluded, std::inserter(names, names.end()));
    }
    return names;
}

const Names server_family = {"KOR7206LB",   "KOR7206L",    "KOR7206G", "KOR7206H", "KOR7206L_BS",
                             "KOR7206G_BS", "KOR7206H_BS", "KOR",      "KORX",     "KOR7206LB ",
                             "KOR7206",     "KOR7206LBX",  "GENERIC"};

Names joined(Names names, const Names& others) {
    names.insert(others.begin(), others.end());
    return names;
}

TEST(Models, HaveTheirFans) {
    for (const std::string_view name : known) {
        const int fans = name == "VEL7205P"                          ? 8
                         : name == "KOR7206LB" || name == "VEL7206P" ? 7
                         : name == "GENERIC"                         ? 0
                                                                     : 6;
        EXPECT_EQ(find_model(name).fans, fans) << name;
    }
}

TEST(Models, UnknownOnesHaveNoKnownFans) {
    for (const std::string_view name : unknown) {
        EXPECT_EQ(find_model(name).fans, std::nullopt) << name;
    }
}

TEST(Models, OfTheServerFamilyBeginWithKorKnownOrNotOrAreGeneric) {
    EXPECT_EQ(models_with([](const Model& model) {
                  return model.family->state_path == std::string_view("/var/run/sys_state");
              }),
              server_family);
}

TEST(Models, FamiliesDifferInStateFileAndRepairTools) {
    const ModelFamily& server = *find_model("KOR7206L").family;
    EXPECT_STREQ(server.state_section, "status");
    EXPECT_STREQ(server.repair_directory, "/sbin");
    const ModelFamily& desktop = *find_model("VEL7205X").family;
    EXPECT_STREQ(desktop.state_path, "/tmp/nas_state.conf");
    EXPECT_STREQ(desktop.state_section, "misc");
    EXPECT_STREQ(desktop.repair_directory, "/usr/local/bin");
}

TEST(Models, TwoHaveOneTemperatureSensor) {
    EXPECT_EQ(models_with([](const Model& model) {
                  return model.temperature_key == std::string_view("temp");
              }),
              Names({"KOR7206LB", "VEL7205P"}));
    EXPECT_STREQ(find_model("").temperature_key, "temp(cpu)");
}

TEST(Models, FourMakeReiserfsAndAllOthersXfs) {
    const Names reiserfs = {"VEL7205E", "VEL7205P", "KOR7206LB", "VEL7206P"};
    EXPECT_EQ(models_with([](const Model& model) { return model.fs_type == "reiserfs"; }),
              reiserfs);
    EXPECT_EQ(models_with([](const Model& model) { return model.fs_type == "xfs"; }),
              all_but(reiserfs));
}

TEST(Models, RepairSharesWithTheToolsOfTheirFileSystem) {
    const auto repaired_by = [](ShareRepair repair) {
        return models_with([repair](const Model& model) { return model.share_repair == repair; });
    };
    EXPECT_EQ(repaired_by(ShareRepair::local_reiserfsck), Names({"VEL7205E", "VEL7205P"}));
    EXPECT_EQ(repaired_by(ShareRepair::system_reiserfsck), Names({"VEL7206P", "KOR7206LB"}));
}

TEST(Models, TellTheirPowerFromAFileOrATool) {
    const auto told_by = [](PowerSource source) {
        return models_with([source](const Model& model) { return model.power == source; });
    };
    EXPECT_EQ(told_by(PowerSource::tool), Names({"VEL7205E", "VEL7205P"}));
    Names with_file = joined(server_family, {"VEL7205X", "VEL7206X", "VEL7205U"});
    with_file.erase("GENERIC");
    EXPECT_EQ(told_by(PowerSource::state_file), with_file);
}

TEST(Models, OfTheServerFamilyAndOneMoreSaveWithItsTool) {
    EXPECT_EQ(models_with([](const Model& model) { return model.save_tool == SaveTool::xconf; }),
              joined(server_family, {"VEL7206P"}));
}

TEST(Models, OneHasARaidController) {
    EXPECT_EQ(models_with([](const Model& model) { return model.has_raid_controller; }),
              Names({"VEL7205U"}));
}

} // namespace
} // namespace zav::test
