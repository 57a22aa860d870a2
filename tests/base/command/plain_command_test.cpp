// SPDX-License-Identifier: MIT
// The commands that are started without a shell: those to which a shell would add nothing.
#include "base/command.h"

#include <gmock/gmock.h>

namespace zav {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> words_of(std::string_view text) {
    const auto command = parse_plain_command(text);
    return command ? command->words : std::vector<std::string>{"(for the shell)"};
}

bool is_plain(std::string_view text) {
    return parse_plain_command(text).has_value();
}

TEST(PlainCommand, IsSplitAtBlanks) {
    EXPECT_THAT(words_of("/sbin/mdadm -S /dev/md1"), ElementsAre("/sbin/mdadm", "-S", "/dev/md1"));
}

TEST(PlainCommand, BlanksInARowSeparateOnce) {
    EXPECT_THAT(words_of("  /sbin/mdadm -C  /dev/md1  "),
                ElementsAre("/sbin/mdadm", "-C", "/dev/md1"));
}

TEST(PlainCommand, MayHoldEveryCharacterThatMeansItselfToAShell) {
    constexpr const char* word =
        "/ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_-+./:,=@%";
    EXPECT_THAT(words_of(std::string("/bin/tool ") + word), ElementsAre("/bin/tool", word));
}

TEST(PlainCommand, TakesItsOutputRedirectionsInTheirOrder) {
    const auto command =
        parse_plain_command("/bin/tool -a > /tmp/x.AbC123 -b 2>> /dev/null > /tmp/y");
    ASSERT_TRUE(command);
    EXPECT_THAT(command->words, ElementsAre("/bin/tool", "-a", "-b"));
    ASSERT_EQ(command->redirections.size(), 3U);
    const auto is = [&](std::size_t at, int descriptor, bool append, const char* path) {
        const auto& one = command->redirections[at];
        return one.descriptor == descriptor && one.append == append && one.path == path;
    };
    EXPECT_TRUE(is(0, 1, false, "/tmp/x.AbC123"));
    EXPECT_TRUE(is(1, 2, true, "/dev/null"));
    EXPECT_TRUE(is(2, 1, false, "/tmp/y"));
}

TEST(PlainCommand, NeedsNoRedirection) {
    EXPECT_THAT(parse_plain_command("/bin/tool")->redirections, IsEmpty());
}

TEST(PlainCommand, NamesItsProgramByAPathSoThatItCanBeNoBuiltin) {
    for (const char* name : {"tool", "exit", "cd", "echo", "test", "kill", "exec", ".", ":", "set",
                             "while", "time", "mdadm", "caT", "cats"}) {
        EXPECT_FALSE(is_plain(name)) << name;
        EXPECT_FALSE(is_plain(std::string(name) + " 3")) << name;
    }
}

TEST(PlainCommand, MayBeACatWithoutAPath) {
    EXPECT_THAT(words_of("cat /proc/mdstat"), ElementsAre("cat", "/proc/mdstat"));
}

TEST(PlainCommand, DoesNotBeginWithAnAssignment) {
    EXPECT_FALSE(is_plain("A=/bin/x /bin/tool"));
    EXPECT_FALSE(is_plain("PATH=/tmp /bin/tool"));
    EXPECT_FALSE(is_plain("/bin/a=b"));
    EXPECT_TRUE(is_plain("/bin/tool bs=512"));
}

TEST(PlainCommand, IsNotEmpty) {
    EXPECT_FALSE(is_plain(""));
    EXPECT_FALSE(is_plain("   "));
    EXPECT_FALSE(is_plain("2>> /dev/null"));
    EXPECT_FALSE(is_plain("> /tmp/x"));
}

TEST(PlainCommand, HasAFileForEachRedirection) {
    EXPECT_FALSE(is_plain("/bin/tool >"));
    EXPECT_FALSE(is_plain("/bin/tool > "));
    EXPECT_FALSE(is_plain("/bin/tool 2>>"));
    EXPECT_FALSE(is_plain("/bin/tool > 2>> /dev/null"));
    EXPECT_FALSE(is_plain("/bin/tool > > /tmp/x"));
    EXPECT_FALSE(is_plain("/bin/tool > $HOME"));
    EXPECT_FALSE(is_plain("/bin/tool > &1"));
}

TEST(PlainCommand, HasNoOtherRedirection) {
    for (const char* redirection :
         {">> /tmp/x", "1> /tmp/x", "2> /tmp/x", "1>> /tmp/x", "3>> /tmp/x", "< /tmp/x", "<< x",
          "<> /tmp/x", ">| /tmp/x", "&> /tmp/x", ">& 2", "2>&1", ">/tmp/x", "2>>/tmp/x", "a>/tmp/x",
          "a2>> /tmp/x"}) {
        EXPECT_FALSE(is_plain(std::string("/bin/tool ") + redirection)) << redirection;
    }
}

class CharacterForTheShell : public testing::TestWithParam<int> {
  protected:
    [[nodiscard]] static std::string character() {
        return std::string(1, static_cast<char>(GetParam()));
    }
};

TEST_P(CharacterForTheShell, IsRefusedWhereverItStands) {
    for (const std::string& text :
         {"/bin/to" + character() + "ol a", "/bin/tool " + character(), "/bin/tool a" + character(),
          "/bin/tool " + character() + "a", "/bin/tool a > /tmp/x" + character(),
          "/bin/tool a" + character() + "b 2>> /dev/null", character() + "/bin/tool"}) {
        EXPECT_FALSE(is_plain(text)) << text;
    }
}

// Every byte except the blank and those without a special meaning.
std::vector<int> bytes_for_the_shell() {
    const std::string plain = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"
                              "_-+./:,=@% ";
    std::vector<int> bytes;
    for (int byte = 0; byte < 256; ++byte) {
        if (plain.find(static_cast<char>(byte)) == std::string::npos) {
            bytes.push_back(byte);
        }
    }
    return bytes;
}

INSTANTIATE_TEST_SUITE_P(PlainCommand, CharacterForTheShell,
                         testing::ValuesIn(bytes_for_the_shell()),
                         [](const auto& byte) { return "Byte" + std::to_string(byte.param); });

// A command of this length, before " 2>> /dev/null" is appended.
std::string of_length(std::size_t length) {
    const std::string start = "/bin/tool ";
    return start + std::string(length - start.size(), 'x');
}

TEST(CommandRunWhole, CommandsOfUpTo241CharactersAre) {
    for (std::size_t length = 20; length <= 241; ++length) {
        EXPECT_TRUE(is_run_whole(of_length(length))) << length;
    }
}

TEST(CommandRunWhole, CommandsWhoseErrorsOnlyGoToAnotherFileAre) {
    for (const std::size_t length : {242U, 243U, 244U, 247U, 248U}) {
        EXPECT_TRUE(is_run_whole(of_length(length))) << length;
    }
}

TEST(CommandRunWhole, CommandsWithADirectoryForTheirErrorsAreNot) {
    for (const std::size_t length : {245U, 246U, 249U}) {
        EXPECT_FALSE(is_run_whole(of_length(length))) << length;
    }
}

TEST(CommandRunWhole, CommandsWithHalfARedirectionAreNot) {
    for (const std::size_t length : {250U, 251U, 252U}) {
        EXPECT_FALSE(is_run_whole(of_length(length))) << length;
    }
}

TEST(CommandRunWhole, ACommandWithOneMoreArgumentIsNot) {
    EXPECT_FALSE(is_run_whole(of_length(253)));
}

TEST(CommandRunWhole, CommandsThatJustFitAre) {
    EXPECT_TRUE(is_run_whole(of_length(254)));
    EXPECT_TRUE(is_run_whole(of_length(255)));
}

TEST(CommandRunWhole, LongerCommandsAreCut) {
    for (const std::size_t length : {256U, 257U, 1000U}) {
        EXPECT_FALSE(is_run_whole(of_length(length))) << length;
    }
}

} // namespace
} // namespace zav
