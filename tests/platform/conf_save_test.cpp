// SPDX-License-Identifier: MIT
// The tool that saves a changed configuration item, and the messages when it fails.
#include "fixtures/library.h"
#include "platform/conf_save.h"
#include "private_root.h"

#include <gmock/gmock.h>
#include <string>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr char xconf[] = "/usr/local/bin/xconf";
constexpr char nasconf[] = "/usr/local/bin/nasconf";

class ConfSave : public testing::Test {
  protected:
    ConfSave() {
        root_.tool(xconf).any().optional();
        root_.tool(nasconf).any().optional();
    }

    void model(const std::string& text) {
        root_.file("/etc/sys_info", "[product]\n\ttype = " + text + "\n");
    }

    Result save(const char* item = "share") {
        return root_.call([item] { return conf_save(item); });
    }

    // Messages, without the empty line after each.
    std::vector<std::string> messages() const {
        std::vector<std::string> texts;
        if (root_.exists("/var/log/log.libzav")) {
            for (const LogLine& line : root_.log()) {
                texts.push_back(line.text);
            }
        }
        return texts;
    }

    PrivateRoot root_;
};

class ConfSaveTool : public ConfSave,
                     public testing::WithParamInterface<std::pair<const char*, const char*>> {};

INSTANTIATE_TEST_SUITE_P(
    OfEachModel, ConfSaveTool,
    testing::Values(std::pair("KOR7206LB", xconf), std::pair("KOR7206L", xconf),
                    std::pair("KOR7206G", xconf), std::pair("KOR7206H", xconf),
                    std::pair("KOR7206L_BS", xconf), std::pair("KOR7206G_BS", xconf),
                    std::pair("KOR7206H_BS", xconf), std::pair("VEL7206P", xconf),
                    std::pair("VEL7206X", nasconf), std::pair("VEL7205X", nasconf),
                    std::pair("VEL7205E", nasconf), std::pair("VEL7205P", nasconf),
                    std::pair("VEL7205U", nasconf), std::pair("VEL7205A", nasconf),
                    std::pair("KOR", xconf), std::pair("KORnew", xconf),
                    std::pair("GENERIC", xconf), std::pair("VEL7206PX", nasconf),
                    std::pair("VEL7206", nasconf), std::pair("kor7206L", nasconf),
                    std::pair("unknown", nasconf)),
    [](const auto& test) { return std::string(test.param.first); });

TEST_P(ConfSaveTool, GetsTheItem) {
    model(GetParam().first);
    const Result result = save();
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(result.commands, ElementsAre(std::string(GetParam().second) +
                                             " -s share > /dev/null 2>> /dev/null"));
    EXPECT_THAT(messages(), IsEmpty());
    EXPECT_EQ(result.out + result.err, "");
}

TEST_F(ConfSave, ModelMayStandInTheOtherFile) {
    root_.file("/etc/nas_base.conf", "[product]\ntype = KOR7206L\n");
    const Result result = save();
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(result.commands_without_redirection(),
                ElementsAre("/usr/local/bin/xconf -s share"));
}

TEST_F(ConfSave, EmptyModelIsAnyOther) {
    model("");
    root_.file("/etc/nas_base.conf", "[product]\ntype =\n");
    const Result result = save();
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(result.commands_without_redirection(),
                ElementsAre("/usr/local/bin/nasconf -s share"));
}

TEST_F(ConfSave, PassesTheItemAsItIs) {
    model("VEL7205P");
    EXPECT_THAT(save("/etc/samba/smb.conf").commands_without_redirection(),
                ElementsAre("/usr/local/bin/nasconf -s /etc/samba/smb.conf"));
}

TEST_F(ConfSave, UnreadableModelSavesNothingAndReturnsTheGettersCode) {
    const Result result = save();
    EXPECT_EQ(result.returned, -1001);
    EXPECT_THAT(result.commands, IsEmpty());
}

TEST_F(ConfSave, UnreadableModelIsLoggedByTheGetterAndAtLine28) {
    save();
    ASSERT_THAT(messages(), SizeIs(2));
    EXPECT_THAT(messages()[0], HasSubstr("devmodel_get:"));
    EXPECT_EQ(messages()[1], "conf_save:28 return -1001 with No such file or directory");
    EXPECT_EQ(root_.log()[1].level, "ERROR");
    EXPECT_THAT(root_.log()[1].raw, testing::EndsWith("directory\n\n"));
}

TEST_F(ConfSave, FailedToolIsLoggedAndGivesMinus11000) {
    model("VEL7205P");
    root_.tool(nasconf).any().exits(3);
    const Result result = save();
    EXPECT_EQ(result.returned, -11000);
    ASSERT_THAT(messages(), SizeIs(1));
    EXPECT_THAT(messages()[0],
                testing::MatchesRegex("system\\(\"/usr/local/bin/nasconf -s share > /dev/null\"\\) "
                                      "return normal with exit\\(3\\) for '.*'"));
}

TEST_F(ConfSave, FailedToolOfTheServerFamilyIsLoggedToo) {
    model("KOR7206L");
    root_.tool(xconf).any().exits(1);
    EXPECT_EQ(save().returned, -11000);
    ASSERT_THAT(messages(), SizeIs(1));
    EXPECT_THAT(messages()[0],
                testing::StartsWith("system(\"/usr/local/bin/xconf -s share > /dev/null\") return "
                                    "normal with exit(1) for '"));
}

TEST_F(ConfSave, ToolKilledByASignalFails) {
    model("VEL7205P");
    root_.tool(nasconf).any().killed_by(SIGKILL);
    EXPECT_EQ(save().returned, -11000);
    ASSERT_THAT(messages(), SizeIs(1));
    EXPECT_THAT(messages()[0], HasSubstr("\") return unnormal with exit(0) for '"));
}

TEST_F(ConfSave, WhatTheToolPrintsIsNotSeen) {
    model("VEL7205P");
    root_.tool(nasconf).any().prints("saved\n").complains("warning\n");
    const Result result = save();
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out + result.err, "");
}

TEST(ConfSaveWithoutTools, MissingToolIsExit127) {
    PrivateRoot root;
    root.file("/etc/sys_info", "[product]\ntype = VEL7205P\n");
    EXPECT_EQ(root.call([] { return conf_save("share"); }).returned, -11000);
    ASSERT_THAT(root.log(), SizeIs(1));
    EXPECT_THAT(root.log()[0].text, HasSubstr("return normal with exit(127) for '"));
}

} // namespace
} // namespace zav::test
