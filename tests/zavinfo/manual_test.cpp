// SPDX-License-Identifier: MIT
// The manual page names what there is, and nothing else.
#include "zavinfo/json.h"
#include "zavinfo/metrics.h"
#include "zavinfo/options.h"
#include "zavinfo/records.h"

#include <fstream>
#include <gmock/gmock.h>
#include <iterator>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>

namespace zavinfo::test {
namespace {

using nlohmann::json;
using Names = std::set<std::string>;

std::string text_of_file(const char* path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// The page without its font changes and escapes.
std::string manual() {
    std::string text =
        std::regex_replace(text_of_file(ZAV_TEST_MANUAL), std::regex(R"(\\f[BIRP])"), "");
    return std::regex_replace(text, std::regex(R"(\\-)"), "-");
}

// What the first group of a pattern matches.
Names matches(const std::string& text, const char* pattern) {
    const std::regex expression(pattern);
    Names names;
    for (std::sregex_iterator at(text.begin(), text.end(), expression), end; at != end; ++at) {
        names.insert((*at)[1]);
    }
    return names;
}

// The fields that the page's table below a heading has.
Names fields_of_table(const std::string& heading) {
    const std::string page = manual();
    const std::size_t start = page.find("\n.SS Fields of " + heading + "\n");
    const std::size_t end = page.find("\n.TE", start);
    Names fields = matches(page.substr(start, end - start), R"(\n([a-z_]+)\t)");
    fields.erase("field");
    return fields;
}

Names fields_of_schema(const json& object) {
    Names fields;
    for (const auto& [name, field] : object["properties"].items()) {
        fields.insert(name);
    }
    return fields;
}

TEST(Manual, HasTheFieldsOfTheSchema) {
    const json schema = json::parse(text_of_file(ZAV_TEST_SCHEMA));
    EXPECT_EQ(fields_of_table("the whole"), fields_of_schema(schema));
    const std::map<std::string, std::string> headings = {{"disk", "disks"},
                                                         {"attribute", "attributes, of disks"},
                                                         {"array", "arrays"},
                                                         {"member", "members, of arrays"},
                                                         {"group", "groups"},
                                                         {"volume", "volumes, of groups"},
                                                         {"pool", "pools"},
                                                         {"filesystem", "filesystems"},
                                                         {"netdisk", "netdisks"},
                                                         {"share", "shares"},
                                                         {"service", "services"},
                                                         {"health", "health"},
                                                         {"need", "needs, with --preflight"},
                                                         {"fan", "fans, of health"},
                                                         {"failure", "failures"}};
    for (const auto& [name, object] : schema["$defs"].items()) {
        ASSERT_TRUE(headings.contains(name)) << name;
        EXPECT_EQ(fields_of_table(headings.at(name)), fields_of_schema(object)) << name;
    }
    EXPECT_EQ(headings.size(), schema["$defs"].size());
}

TEST(Manual, HasTheMetrics) {
    Records well;
    well.arrays[0].rebuild = {1, 0.5, 60};
    Names metrics = matches(metrics_text(well.view()), R"(# TYPE (\w+) )");
    Records states = every_state();
    metrics.merge(matches(metrics_text(states.view()), R"(# TYPE (\w+) )"));
    EXPECT_EQ(matches(manual(), R"(\n(zav_\w+)\t)"), metrics);
}

TEST(Manual, HasTheOptionsOfTheUsage) {
    const Names options = matches(usage_text(), R"((--[a-z]+(?:-[a-z]+)*))");
    EXPECT_EQ(matches(manual(), R"((--[a-z]+(?:-[a-z]+)*))"), options);
    EXPECT_EQ(options.size(), 13);
}

} // namespace
} // namespace zavinfo::test
