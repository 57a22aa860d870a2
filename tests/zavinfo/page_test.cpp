// SPDX-License-Identifier: MIT
// The page, as an HTML parser reads it. tests/zavinfo/page/look looks at it in a browser.
#include "page/machines.h"
#include "zavinfo/map.h"
#include "zavinfo/page.h"
#include "zavinfo/validate.h"

#include <gmock/gmock.h>
#include <map>

namespace zavinfo::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

std::string page_of(MadeMachine machine, std::vector<LoggedError> errors = {}) {
    return page_text(machine.view(), {{}, 1795363200, std::move(errors)});
}

TEST(Page, IsHtmlThatLoadsNothing) {
    EXPECT_EQ(page_faults(page_of(healthy_machine())), "");
    EXPECT_EQ(page_faults(page_of(degraded_machine(), errors_of_log())), "");
    EXPECT_EQ(page_faults(page_of(empty_machine())), "");
    EXPECT_EQ(page_faults(page_of(bare_machine())), "");
    EXPECT_EQ(page_faults(page_of(large_machine())), "");
}

TEST(Page, HasEveryDiskArrayFileSystemAndShare) {
    const std::string names = page_names(page_of(healthy_machine()));
    for (const char* name :
         {"disks: sda", "disks: sdh", "arrays: md0", "arrays: md1", "arrays: data",
          "arrays: office", "space: /mnt/data/films", "space: /mnt/netdisk/usb", "shares: films",
          "shares: disk1", "shares: old", "services: samba", "services: management"}) {
        EXPECT_THAT(names, HasSubstr(std::string("\n") + name + "\n"));
    }
    const std::string many = page_names(page_of(large_machine()));
    for (int share = 0; share < 1000; ++share) {
        ASSERT_THAT(many, HasSubstr("\nshares: share" + std::to_string(share) + "\n"));
    }
}

TEST(Page, HasTheFindingsOfTheCheckWithAdvice) {
    MadeMachine machine = degraded_machine();
    const std::string page = page_text(machine.view(), PageContext{});
    const std::string names = page_names(page);
    for (const Finding& finding : findings_of(machine.view())) {
        EXPECT_THAT(names, HasSubstr(finding.text.substr(1) + "\n"));
        EXPECT_TRUE(finding.severity == Severity::unknown || !finding.advice.empty())
            << finding.text;
    }
    EXPECT_THAT(page, AllOf(HasSubstr("6 critical findings, 5 warnings, 2 things not known"),
                            HasSubstr("add the new one with <code>mdmanage -a</code>;")));
    EXPECT_THAT(page_of(healthy_machine()), HasSubstr("All is well</p>"));
    EXPECT_THAT(page_of(empty_machine()), HasSubstr("Nothing is set up</p>"));
}

TEST(Page, EscapesAllThatComesFromTheMachine) {
    std::vector<LoggedError> errors = {{"<b>now", "<script>1</script>", "<i>\"", 2}};
    const std::string page = page_of(hostile_machine(), errors);
    EXPECT_EQ(page_faults(page), "");
    for (const char* markup :
         {"<script", "<img", "<b>", "<i>", "<u>", "</title></", "\x1b", "\xff"}) {
        EXPECT_THAT(page, Not(HasSubstr(markup))) << markup;
    }
    const std::string names = page_names(page);
    EXPECT_THAT(names, HasSubstr("\nshares: <script>document.title='taken'</script>\n"));
    EXPECT_THAT(names, HasSubstr("\nshares: \"><img src=x onerror=\"document.title='taken'\">'\n"));
    EXPECT_THAT(names, HasSubstr("\nshares: &lt;b&gt; {name} --> ]]> </style></svg></title>\n"));
}

TEST(Page, TellsWhatAFailedDiskTakesWithIt) {
    const std::string page = page_of(degraded_machine());
    EXPECT_THAT(page, HasSubstr("If it failed now: data lost, 3 pools with 4 shares."));
    EXPECT_THAT(page, HasSubstr("<li>Shares: <bdi>films</bdi>, <bdi>archive</bdi>, "
                                "<bdi>music</bdi>, <bdi>disk1</bdi></li>"));
    EXPECT_THAT(page_of(healthy_machine()), Not(HasSubstr("now: data lost")));
}

TEST(Page, TellsErrorsOfTheLog) {
    const std::string page = page_of(degraded_machine(), errors_of_log());
    EXPECT_THAT(page, HasSubstr("fs_create ended with -603: "));
    EXPECT_THAT(page, HasSubstr("The command &quot;/usr/local/bin/diskformat /dev/sdh&quot; failed "
                                "with status 127"));
    EXPECT_THAT(page_of(healthy_machine()), HasSubstr("The end of /var/log/log.libzav has none."));
}

// No two boxes of a column may overlap, and a line leads from one column to a later one.
TEST(Map, IsLaidOutWithoutOverlaps) {
    for (MadeMachine machine : {healthy_machine(), degraded_machine(), large_machine()}) {
        const Map map = map_of(machine.view(), {});
        std::map<Column, std::vector<double>> tops;
        for (const Box& box : map.boxes) {
            tops[box.column].push_back(box.top);
            EXPECT_LE(box.top + 1, map.rows);
            for (const std::size_t below : box.below) {
                EXPECT_LT(map.boxes[below].column, box.column);
            }
        }
        for (auto& [column, of_column] : tops) {
            std::ranges::sort(of_column);
            for (std::size_t at = 1; at < of_column.size(); ++at) {
                EXPECT_GE(of_column[at] - of_column[at - 1], 1);
            }
        }
    }
}

std::vector<std::string> below(const Map& map, Column column, const std::string& name) {
    std::vector<std::string> names;
    for (const Box& box : map.boxes) {
        if (box.column == column && box.name == name) {
            for (const std::size_t place : box.below) {
                names.push_back(map.boxes[place].name);
            }
        }
    }
    return names;
}

TEST(Map, LeadsFromSharesToBays) {
    using testing::ElementsAre;
    MadeMachine machine = healthy_machine();
    const Map map = map_of(machine.view(), {});
    EXPECT_THAT(below(map, Column::shares, "music"), ElementsAre("data/music"));
    EXPECT_THAT(below(map, Column::shares, "disk1"), ElementsAre("disk1"));
    EXPECT_THAT(below(map, Column::filesystems, "data/music"), ElementsAre("music"));
    EXPECT_THAT(below(map, Column::pools, "music"), ElementsAre("data"));
    EXPECT_THAT(below(map, Column::groups, "data"), ElementsAre("md0"));
    EXPECT_THAT(below(map, Column::arrays, "md1"), ElementsAre("bay 5  sde", "bay 6  sdf"));
}

TEST(Map, HasOneBoxForManyShares) {
    MadeMachine machine = large_machine();
    const Map map = map_of(machine.view(), {});
    EXPECT_EQ(std::ranges::count(map.boxes, Column::shares, &Box::column), 64);
    EXPECT_EQ(std::ranges::count(map.boxes, Column::bays, &Box::column), 16);
}

} // namespace
} // namespace zavinfo::test
