// SPDX-License-Identifier: MIT
#include "standin/command_text.h"
#include "standin/rule_format.h"

#include <gmock/gmock.h>

namespace zav::test {
namespace {

using testing::ElementsAre;

TEST(CommandText, LosesItsRedirectionsOnly) {
    EXPECT_EQ(without_redirections("/sbin/mdadm -D /dev/md1 > /tmp/x 2>> /dev/null"),
              "/sbin/mdadm -D /dev/md1");
    EXPECT_EQ(without_redirections("a  b >/x c 2>&1"), "a  b c");
    EXPECT_EQ(without_redirections("a md2 > x"), "a md2");
    EXPECT_EQ(without_redirections("a 2 > x"), "a 2");
    EXPECT_EQ(without_redirections("a md2>x"), "a md2");
    EXPECT_EQ(without_redirections("a '>' \"2> b\" \\> c"), "a '>' \"2> b\" \\> c");
    EXPECT_EQ(without_redirections("a 2>> /dev/nu"), "a");
    EXPECT_EQ(without_redirections("a 2>>"), "a");
    EXPECT_EQ(without_redirections("> x"), "");
}

TEST(CommandText, IsSplitIntoSimpleCommands) {
    EXPECT_THAT(simple_commands("a | b ; c && d || e &"), ElementsAre("a", "b", "c", "d", "e"));
    EXPECT_THAT(simple_commands("a ';' 2>&1"), ElementsAre("a ';' 2>&1"));
}

TEST(CommandText, HasWordsWithoutQuotes) {
    EXPECT_THAT(words_of("a  'b c' d\"e f\"g \\  h"), ElementsAre("a", "b c", "de fg", " ", "h"));
}

TEST(CommandText, MayBeACallOfOneProgram) {
    EXPECT_TRUE(is_plain_program_call("/sbin/mdadm -S /dev/md1 > /dev/null 2>> /dev/null"));
    EXPECT_TRUE(is_plain_program_call("cat 'a;b' 2>&1"));
    for (const char* other : {"a; b", "a | b", "a &", "a\nb", "exit 3", "test -f x", "A=b c", "(a)",
                              "a $(b)", "", "'a' b", "> x"}) {
        EXPECT_FALSE(is_plain_program_call(other)) << other;
    }
}

TEST(CommandText, NeedsNoShellWhenAllItsCharactersArePlain) {
    const auto call = plain_call("cat  /etc/a > /tmp/b 2>> /dev/null");
    ASSERT_TRUE(call);
    EXPECT_THAT(call->words, ElementsAre("cat", "/etc/a"));
    ASSERT_EQ(call->redirections.size(), 2u);
    EXPECT_EQ(call->redirections[0].path, "/tmp/b");
    EXPECT_FALSE(call->redirections[0].append);
    EXPECT_EQ(call->redirections[1].descriptor, 2);
    EXPECT_TRUE(call->redirections[1].append);
    for (const char* other : {"cat $a", "cat *", "cat 'a'", "cat \\a", "cat >x", "cat >", "cat ~",
                              "cat <a", "cat 3> b", "cat > *", "cat #"}) {
        EXPECT_FALSE(plain_call(other)) << other;
    }
}

TEST(Records, HoldAnyBytes) {
    const std::vector<std::string> records = {"", "12:x,", std::string("a\0\n", 3)};
    std::string bytes;
    for (const std::string& one : records) {
        append_record(bytes, one);
    }
    EXPECT_EQ(split_records(bytes), records);
    EXPECT_THAT(split_records(bytes.substr(0, bytes.size() - 1)), ElementsAre("", "12:x,"));
}

TEST(Rules, AreTheSameAfterTheirFile) {
    RuleState rule;
    rule.tool = "/bin/tool";
    rule.match = Match::prefix;
    rule.pattern = "a\nb";
    rule.number = 7;
    rule.spends = true;
    rule.rounds = 3;
    rule.answers = {{"snippet", "text", 5, "errors", 6, 9}, {}};
    const std::vector<RuleState> read = rules_from_bytes(to_bytes({rule, rule}));
    ASSERT_EQ(read.size(), 2u);
    EXPECT_EQ(to_bytes(read), to_bytes({rule, rule}));
    EXPECT_EQ(read[1].answers[0].signal, 9);
    EXPECT_EQ(read[1].answers[1].exit_status, -1);
}

} // namespace
} // namespace zav::test
