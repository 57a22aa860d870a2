// SPDX-License-Identifier: MIT
// The table of what the commands need against what the library has, and what is told of it.
#include "platform/models.h"
#include "platform/services.h"
#include "zavinfo/preflight.h"
#include "zavinfo/validate.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <iterator>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>

namespace zavinfo::test {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using Names = std::set<std::string>;

std::string text_of_file(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// What the first group of a pattern matches in any header of lib/sources.
Names in_sources(const char* pattern) {
    const std::regex expression(pattern);
    Names names;
    for (const auto& entry : std::filesystem::directory_iterator(ZAV_TEST_SOURCES)) {
        if (entry.path().extension() == ".h") {
            const std::string text = text_of_file(entry.path());
            for (std::sregex_iterator at(text.begin(), text.end(), expression), end; at != end;
                 ++at) {
                names.insert((*at)[1]);
            }
        }
    }
    return names;
}

Names names_of(NeedKind kind) {
    Names names;
    for (const Need& need : needs()) {
        if (need.kind == kind) {
            names.insert(need.name);
        }
    }
    return names;
}

// The programs of all command texts, with what their first word stands for.
Names programs_of_sources() {
    Names programs = in_sources(R"(char \w+_command\[\] =\s*"([^ "]+))");
    EXPECT_EQ(programs.erase("%s"), 1); // the mount, by what the actions give it
    EXPECT_EQ(programs.erase("/etc/init.d/%s"), 1);
    for (const zav::Service& service : zav::services()) {
        programs.insert(std::string("/etc/init.d/") + service.script);
    }
    programs.merge(Names{"mount", "/bin/mount"});
    for (const char* tool : {"xfs_repair", "reiserfsck"}) {
        EXPECT_EQ(programs.erase(std::string("%s/") + tool), 1) << tool;
        for (const zav::Model& model : zav::known_models()) {
            programs.insert(std::string(model.family->repair_directory) + "/" + tool);
        }
    }
    return programs;
}

TEST(Needs, HaveTheProgramsOfTheCommandsAndNoOthers) {
    Names programs = names_of(NeedKind::program);
    EXPECT_EQ(programs.erase("/bin/sh"), 1); // runs the texts
    EXPECT_EQ(programs, programs_of_sources());
    EXPECT_EQ(programs.size(), 45);
}

// The contracts of the tools in zavbox-tools(7): the first word of each command.
TEST(Needs, HaveTheToolsOfTheManual) {
    const std::string page =
        std::regex_replace(text_of_file(ZAV_TEST_TOOLS_MANUAL), std::regex(R"(\\f[BIRP]|\\&)"), "");
    Names tools;
    const std::regex block(R"(\n\.nf\n([^]*?)\n\.fi)");
    const std::regex command(R"((?:^|\n)(\S+))");
    for (std::sregex_iterator at(page.begin(), page.end(), block), end; at != end; ++at) {
        const std::string commands = (*at)[1];
        for (std::sregex_iterator line(commands.begin(), commands.end(), command); line != end;
             ++line) {
            tools.insert(std::regex_replace(line->str(1), std::regex(R"(\\-)"), "-"));
        }
    }
    for (const char* pattern : {"/etc/init.d/script", "folder/xfs_repair", "folder/reiserfsck"}) {
        EXPECT_EQ(tools.erase(pattern), 1) << pattern;
    }
    const Names programs = names_of(NeedKind::program);
    for (const std::string& tool : tools) {
        EXPECT_TRUE(programs.contains(tool)) << tool;
    }
    EXPECT_GT(tools.size(), 35);
}

// Some are made by whoever writes the first line into them, or are there while a service runs.
TEST(Needs, HaveTheFilesOfTheSources) {
    const Names made_when_missing = {"/etc/exports",          "/etc/exports_recy",
                                     "/etc/samba/smb.conf",   "/etc/samba/smb_recy.conf",
                                     "/etc/sharefolder.conf", "/tmp/mdname.test",
                                     "/etc/vsftpd_user.xml",  "/proc/net/iet/volume"};
    Names files = in_sources(R"(char\* \w+_path = "([^"]+)\")");
    files.merge(in_sources(R"(_command\[\] = "cat (/\S+) >)"));
    for (const char* below_a_directory : {"/proc/scsi/mvSata/%s", "/run/zavbox/mvSata/%s"}) {
        EXPECT_EQ(files.erase(below_a_directory), 1) << below_a_directory;
    }
    Names known = names_of(NeedKind::file);
    known.insert(made_when_missing.begin(), made_when_missing.end());
    for (const std::string& file : files) {
        EXPECT_TRUE(known.contains(file)) << file;
    }
    EXPECT_GT(files.size(), 10);
    const Names directories = names_of(NeedKind::directory);
    EXPECT_TRUE(directories.contains("/proc/scsi/mvSata"));
    EXPECT_TRUE(directories.contains("/etc/lvm/backup"));
}

TEST(Needs, AreToldInFull) {
    const Names commands = {"diskmanage", "disksmart", "mdmanage",    "vgmanage", "lvmanage",
                            "fsmanage",   "netmanage", "sharemanage", "zavinfo"};
    Names names;
    for (const Need& need : needs()) {
        EXPECT_TRUE(names.insert(need.name).second) << need.name;
        EXPECT_THAT(need.without, testing::EndsWith(".")) << need.name;
        EXPECT_NE(std::string_view(need.remedy), "") << need.name;
        const json row = json::parse(preflight_json({{&need, Found::missing}}, "", 0))["preflight"];
        for (const std::string command : row[0]["commands"]) {
            EXPECT_TRUE(commands.contains(command)) << need.name << " " << command;
        }
        EXPECT_EQ(need.kind == NeedKind::kernel, *need.word != '\0') << need.name;
        EXPECT_EQ(need.probe.argument != nullptr, need.probe.fault != nullptr) << need.name;
    }
}

TEST(Needs, AreThoseOfTheModel) {
    for (const zav::Model& model : zav::known_models()) {
        const ModelTraits traits = traits_of(model.name);
        EXPECT_EQ(traits.is_server, model.family->name_prefix == "KOR") << model.name;
        EXPECT_EQ(traits.makes_reiserfs, model.fs_type == "reiserfs") << model.name;
        EXPECT_EQ(traits.saves_with_xconf, model.save_tool == zav::SaveTool::xconf) << model.name;
        EXPECT_EQ(traits.has_power_tool, model.power == zav::PowerSource::tool) << model.name;
        EXPECT_EQ(traits.has_raid_controller, model.has_raid_controller) << model.name;
        EXPECT_EQ(traits.repairs_shares_locally,
                  model.share_repair == zav::ShareRepair::local_reiserfsck)
            << model.name;
    }
}

// The tools that a model runs are those that it is said to need.
TEST(Needs, HaveTheRepairToolsOfEachModel) {
    const auto is_needed = [](const char* name, const ModelTraits& traits) {
        const auto row = std::ranges::find(needs(), std::string_view(name), [](const Need& need) {
            return std::string_view(need.name);
        });
        return row != needs().end() && (row->is_needed == nullptr || row->is_needed(traits));
    };
    for (const zav::Model& model : zav::known_models()) {
        const ModelTraits traits = traits_of(model.name);
        const bool is_xfs = model.fs_type == "xfs";
        const std::string repair =
            std::string(model.family->repair_directory) + (is_xfs ? "/xfs_repair" : "/reiserfsck");
        EXPECT_TRUE(is_needed(repair.c_str(), traits)) << model.name;
        const char* of_shares =
            model.share_repair == zav::ShareRepair::xfs_repair         ? "/usr/local/bin/xfs_repair"
            : model.share_repair == zav::ShareRepair::local_reiserfsck ? "/usr/local/bin/reiserfsck"
                                                                       : "/sbin/reiserfsck";
        EXPECT_TRUE(is_needed(of_shares, traits)) << model.name;
    }
}

const Need& need_with(Lack lack) {
    return *std::ranges::find(needs(), lack, &Need::lack);
}

TEST(PreflightOutput, EndsWithTheWorst) {
    const NeedState silent{&need_with(Lack::silent), Found::missing};
    const NeedState data{&need_with(Lack::data), Found::wrong};
    const NeedState fails{&need_with(Lack::fails), Found::missing};
    const NeedState present{&need_with(Lack::data), Found::present};
    const NeedState unneeded{&need_with(Lack::data), Found::unneeded};
    EXPECT_EQ(preflight_status({present, unneeded}), 0);
    EXPECT_EQ(preflight_status({present, fails}), 1);
    EXPECT_EQ(preflight_status({silent, fails}), 2);
    EXPECT_EQ(preflight_status({fails, data}), 2);
}

TEST(PreflightOutput, TellsTheWorstFirst) {
    const NeedState fails{&need_with(Lack::fails), Found::missing};
    const NeedState data{&need_with(Lack::data), Found::missing};
    const std::string text = preflight_text({fails, data}, "KOR7206H");
    EXPECT_THAT(
        text, testing::StartsWith("Model KOR7206H: 2 things that the commands need are missing or "
                                  "wrong.\n\nmissing  /usr/local/bin/diskformat\n"));
    EXPECT_THAT(text, HasSubstr("  Effect:   commands end as if all were well, and data is at "
                                "risk\n  Needed:   diskmanage, "));
}

} // namespace
} // namespace zavinfo::test
