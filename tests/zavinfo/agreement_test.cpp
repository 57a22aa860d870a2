// SPDX-License-Identifier: MIT
// What zavinfo tells is what the commands' tables show, cell by cell: the judge of the virtual
// appliance looks at a machine of the fixtures.
#include "api/snapshot_machine.h"
#include "base/file.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sys/wait.h>

namespace zavinfo::test {
namespace {

using testing::HasSubstr;
using zav::test::Result;
using zav::test::SnapshotMachine;

constexpr std::array commands = {"diskmanage", "mdmanage",  "vgmanage",   "lvmanage",
                                 "fsmanage",   "netmanage", "sharemanage"};

class Agreement : public testing::Test {
  protected:
    Agreement() {
        EXPECT_NE(::mkdtemp(folder.data()), nullptr);
        machine.bind(ZAV_TEST_ZAVINFO, "/usr/bin/zavinfo");
        // The shares are as large as their pools, which sharemanage --create makes for them.
        const std::string registered = "/etc/sharefolder.conf";
        machine.file(registered, std::regex_replace(machine.read(registered),
                                                    std::regex("size = .*"), "size = 2"));
    }
    ~Agreement() override { std::filesystem::remove_all(folder); }

    std::filesystem::path path_of(const std::string& name) const { return folder + "/" + name; }

    void record_json(const std::string& name) {
        std::ofstream(path_of(name))
            << machine.run({"--json"}, {.argv0 = "zavinfo", .program = "/usr/bin/zavinfo"}).out;
    }

    void record() {
        record_json("before");
        for (const char* command : commands) {
            std::ofstream(path_of(command)) << machine.run({command, "--display"}).out;
        }
        record_json("after");
    }

    // What the judge says; its status behind it.
    std::string judged() const {
        std::FILE* reader = ::popen((ZAV_TEST_AGREE " " + folder).c_str(), "r");
        std::string said;
        std::array<char, 4096> buffer = {};
        while (std::fgets(buffer.data(), buffer.size(), reader) != nullptr) {
            said += buffer.data();
        }
        return said + "status " + std::to_string(WEXITSTATUS(::pclose(reader)));
    }

    SnapshotMachine machine;
    std::string folder = "/tmp/agreement.XXXXXX";
};

TEST_F(Agreement, HoldsForEachCell) {
    // The file systems are this machine's: others fill and empty them meanwhile.
    std::string said;
    for (int attempt = 0; attempt < 5 && !said.ends_with("status 0"); ++attempt) {
        record();
        said = judged();
    }
    EXPECT_THAT(said, HasSubstr("   ok: "));
    EXPECT_THAT(said, testing::EndsWith("status 0"));
}

// The judge sees each cell: it notices when any of them is another, and when a row is missing.
TEST_F(Agreement, IsMissedWhenAnyCellDiffers) {
    record();
    for (const char* command : commands) {
        const std::string text = zav::read_file(path_of(command).c_str()).value_or("");
        const std::size_t rows = text.find('\n', text.find("****")) + 1;
        ASSERT_LT(rows, text.size()) << command << " has no row";
        const std::size_t end = text.find('\n', rows);
        for (std::size_t at = rows; at < end; ++at) {
            if (at != rows && text[at - 1] != '\t') {
                continue;
            }
            std::string other = text;
            other.insert(std::min(at + 1, other.find_first_of("\t\n", at)), "7");
            std::ofstream(path_of(command)) << other;
            EXPECT_THAT(judged(), testing::EndsWith("status 1")) << other.substr(rows, end - rows);
        }
        std::ofstream(path_of(command)) << text.substr(0, rows) << text.substr(end + 1);
        EXPECT_THAT(judged(), HasSubstr(std::string(command) + " has "));
        std::ofstream(path_of(command)) << text;
    }
}

} // namespace
} // namespace zavinfo::test
