// SPDX-License-Identifier: MIT
#include "zavinfo/json.h"
#include "zavinfo/records.h"
#include "zavinfo/validate.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace zavinfo::test {
namespace {

using Json = nlohmann::json;
using testing::HasSubstr;

Json json_of(Records& records, const Parts& parts = all_parts()) {
    return Json::parse(json_text(records.view(), parts, 1700000000));
}

TEST(JsonOutput, HasNamesInPlaceOfIndices) {
    Records records;
    const Json json = json_of(records);
    EXPECT_EQ(json["disks"][0]["array"], "md0");
    EXPECT_EQ(json["arrays"][0]["members"][1]["disk"], "sdb");
    EXPECT_EQ(json["arrays"][0]["group"], "data");
    EXPECT_EQ(json["groups"][0]["volumes"][0]["array"], "md0");
    EXPECT_EQ(json["groups"][0]["volumes"][0]["disk"], nullptr);
    EXPECT_EQ(json["groups"][0]["pools"], Json({"/dev/data/films"}));
    EXPECT_EQ(json["pools"][0]["filesystem"], "/dev/data/films");
    EXPECT_EQ(json["filesystems"][0]["shares"], Json({"films"}));
    EXPECT_EQ(json["shares"][0]["disks"], Json({"sda", "sdb"}));
    EXPECT_EQ(json["shares"][0]["pool"], "/dev/data/films");
}

TEST(JsonOutput, HasFiguresAsNumbersAndStatesAsTexts) {
    Records records;
    const Json json = json_of(records);
    EXPECT_EQ(json["schema"], 1);
    EXPECT_EQ(json["taken_at"], 1700000000);
    EXPECT_EQ(json["disks"][0]["size_bytes"], 100 * gib);
    EXPECT_EQ(json["disks"][0]["temperature_celsius"], 33);
    EXPECT_EQ(json["disks"][0]["attributes"][0]["raw"], 12);
    EXPECT_EQ(json["disks"][0]["attributes"][0]["when_failed"], nullptr);
    EXPECT_EQ(json["disks"][2]["hotspare"], true);
    EXPECT_EQ(json["arrays"][0]["state"], "clean");
    EXPECT_EQ(json["arrays"][0]["rebuild_done"], nullptr);
    EXPECT_EQ(json["filesystems"][0]["used_bytes"], 10 * gib);
    EXPECT_EQ(json["services"][1]["running"], false);
    EXPECT_EQ(json["health"]["fans"][1], Json({{"name", "fan2"}, {"rpm", 2380}}));
    EXPECT_EQ(json["health"]["memory_percent"], 50);
}

TEST(JsonOutput, HasNullForWhatIsNotKnown) {
    Records records = every_state();
    const Json json = json_of(records);
    EXPECT_EQ(json["services"][2], Json({{"name", "ftp"}, {"running", nullptr}}));
    EXPECT_EQ(json["disks"][3]["temperature_celsius"], nullptr);
    EXPECT_EQ(json["health"]["memory_percent"], nullptr);
    EXPECT_EQ(json["health"]["host_name"], nullptr);
}

TEST(JsonOutput, TellsARebuild) {
    Records records;
    records.arrays[0].rebuild = {1, 0.126, 7650};
    EXPECT_EQ(json_of(records)["arrays"][0]["rebuild_done"], 0.126);
    EXPECT_EQ(json_of(records)["arrays"][0]["rebuild_seconds_left"], 7650);
    records.arrays[0].rebuild.seconds_left = -1;
    EXPECT_EQ(json_of(records)["arrays"][0]["rebuild_seconds_left"], nullptr);
}

TEST(JsonOutput, NamesADiskWithoutANameByItsPlace) {
    Records records;
    records.disks[1].name = "";
    const Json json = json_of(records);
    EXPECT_EQ(json["disks"][1]["id"], "0:2");
    EXPECT_EQ(json["disks"][1]["name"], nullptr);
    EXPECT_EQ(json["shares"][0]["disks"], Json({"sda", "0:2"}));
}

TEST(JsonOutput, HasThePartsThatAreAskedForAlone) {
    Records records;
    const Json json = json_of(records, {Part::shares});
    EXPECT_TRUE(json.contains("shares"));
    EXPECT_TRUE(json.contains("failures"));
    EXPECT_EQ(json.size(), 5);
}

TEST(JsonOutput, KeepsNetworkDisksApart) {
    Records records = every_state();
    const Json json = json_of(records);
    EXPECT_EQ(json["filesystems"].size(), 4);
    EXPECT_EQ(json["netdisks"].size(), 3);
    EXPECT_FALSE(json["netdisks"][0].contains("pool"));
}

TEST(JsonOutput, SuitsItsSchema) {
    Records well;
    EXPECT_EQ(schema_faults(json_text(well.view(), all_parts(), 0)), "");
    Records states = every_state();
    EXPECT_EQ(schema_faults(json_text(states.view(), all_parts(), 0)), "");
    for (const PartName& part : part_names) {
        EXPECT_EQ(schema_faults(json_text(states.view(), {part.part}, 0)), "") << part.name;
    }
    EXPECT_EQ(schema_faults(json_text({}, {Part::disks}, 0)), "");
}

TEST(JsonOutput, IsRefusedByTheSchemaWhenAFieldDiffers) {
    Records records;
    Json json = json_of(records);
    json["disks"][0]["size_bytes"] = "100 GiB";
    EXPECT_THAT(schema_faults(json.dump()), HasSubstr("$.disks[0].size_bytes"));
    json = json_of(records);
    json["arrays"][0].erase("level");
    json["shares"][0]["more"] = 1;
    EXPECT_THAT(schema_faults(json.dump()), HasSubstr("'level' is a required property"));
    EXPECT_THAT(schema_faults(json.dump()), HasSubstr("'more' was unexpected"));
}

} // namespace
} // namespace zavinfo::test
