// SPDX-License-Identifier: MIT
#include "zav/zav.h"
#include "zavinfo/html.h"
#include "zavinfo/last_errors.h"
#include "zavinfo/page_parts.h"

#include <gmock/gmock.h>
#include <stdexcept>

namespace zavinfo::test {
namespace {

using testing::IsEmpty;

TEST(Html, EscapesWhatIsMarkup) {
    EXPECT_EQ(escaped("a<b>&\"'c").text(), "a&lt;b&gt;&amp;&quot;&#39;c");
    EXPECT_EQ(escaped("\x1b\xff").text(), "?\xef\xbf\xbd");
}

TEST(Html, FillsTemplates) {
    EXPECT_EQ(fill("<p>{a}{b}{a}</p>", {{"a", escaped("{b}")}, {"b", escaped("<")}}).text(),
              "<p>{b}&lt;{b}</p>");
    EXPECT_THROW(fill("{a}"), std::logic_error);
}

TEST(Html, MarksCommandsInTexts) {
    EXPECT_EQ(words_html("run `a -b`, or `<c>`").text(),
              "run <code>a -b</code>, or <code>&lt;c&gt;</code>");
}

TEST(Html, CutsLongListsOfNames) {
    std::vector<std::string> names(100, "x");
    EXPECT_THAT(names_html(names).text(), testing::EndsWith(", <bdi>x</bdi> and 70 more"));
    names.resize(31); // one more takes no less room than to say so
    EXPECT_THAT(names_html(names).text(), testing::EndsWith(", <bdi>x</bdi>"));
}

constexpr const char* log =
    "Nov 20 10:11:12 0.1.2 debug zavbox[2]:nothing of interest\n"
    "\n"
    "Nov 20 10:11:13 0.1.2 ERROR zavbox[2]:system(\"/sbin/mdadm -S /dev/md1 > /dev/null\") return "
    "normal with exit(3) for 'Success'\n"
    "Nov 20 10:11:14 0.1.2 ERROR zavbox[2]:system(\"cat x\")return unnormal with exit(0) for 'x'\n"
    "Nov 20 10:11:15 0.1.2 ERROR zavbox[2]:array_delete[12]: return with -415\n"
    "Nov 20 10:11:16 0.1.2 ERROR zavbox[2]:lock:40 return -405 with No such file\n"
    "Nov 20 10:11:17 0.1.2 ERROR zavbox[2]:something else\n"
    "Nov 20 10:11:18 0.1.2 ERROR zavbox[2]:something else\n"
    "ERROR cut\n";

TEST(LastErrors, AreInPlainWordsTheLatestFirst) {
    const std::vector<LoggedError> errors = last_errors(log, 10);
    ASSERT_EQ(errors.size(), 5);
    EXPECT_EQ(errors[0].text, "something else");
    EXPECT_EQ(errors[0].count, 2);
    EXPECT_EQ(errors[0].time, "Nov 20 10:11:18");
    EXPECT_EQ(errors[1].text, std::string("lock ended with -405: ") + zav_strerror(-405));
    EXPECT_EQ(errors[2].text, std::string("array_delete ended with -415: ") + zav_strerror(-415));
    EXPECT_EQ(errors[2].advice, zav_error_advice(-415));
    EXPECT_EQ(errors[3].text, "The command \"cat x\" was killed");
    EXPECT_EQ(errors[4].text,
              "The command \"/sbin/mdadm -S /dev/md1 > /dev/null\" failed with status 3");
}

TEST(LastErrors, AreAtMostSoMany) {
    EXPECT_EQ(last_errors(log, 2).size(), 2);
    EXPECT_EQ(last_errors(log, 1)[0].count, 2);
    EXPECT_THAT(last_errors("", 10), IsEmpty());
    EXPECT_THAT(last_errors("\xff ERROR \n ERROR ]:\nNov 20 10:11:18 0 ERROR x]:", 10), IsEmpty());
}

} // namespace
} // namespace zavinfo::test
