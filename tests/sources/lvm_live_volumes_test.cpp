// SPDX-License-Identifier: MIT
// pvdisplay -c, as parsed for recovery.
#include "base/memory.h"
#include "sources/lvm.h"

#include <gmock/gmock.h>
#include <string>
#include <utility>
#include <vector>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;
using std::literals::operator""s;

using Pairs = std::vector<std::pair<std::string, std::string>>;

// The UUIDs and names in the output of pvdisplay.
Pairs live_volumes(const std::string& output) {
    live_pv_list list;
    parse_live_volumes(output, list);
    Pairs pairs;
    for (const live_pv& volume : list) {
        pairs.emplace_back(volume.uuid.view(), volume.pvname.view());
    }
    return pairs;
}

TEST(LiveVolumes, AreReadFromRecordedOutputs) {
    EXPECT_THAT(live_volumes(recorded("pvdisplay_c_three").text),
                ElementsAre(Pair("Iw27Cd-eF8y-8Hck-pQqi-HStE-XyrD-3aGSrS", "sdf"),
                            Pair("CDjztj-qvia-rOJR-kd3q-YCO7-ds4T-juaMyj", "sdg"),
                            Pair("Egjnhg-z6qF-BPnS-uB6b-DYdi-mkKI-KrgR8i", "md1"),
                            Pair("Z322lO-KP70-eFNf-8vsU-Jdl5-JUcX-nEq6tW", "md0")));
    for (const char* name : {"lvm_A_pvdisplay_raid5_failed", "lvm_A_pvdisplay_after_dd"}) {
        EXPECT_THAT(live_volumes(recorded(name).text),
                    ElementsAre(Pair("A1pNxk-uptS-Bf2X-36Pd-MJkF-aF06-BsU1nC", "md1")));
    }
    for (const char* name : {"lvm_C_pvdisplay_all_missing", "lvm_pvdisplay_c_empty"}) {
        EXPECT_THAT(live_volumes(recorded(name).text), IsEmpty());
    }
}

TEST(LiveVolumes, AreUnknownWhereARecordingMissesTheirDevice) {
    EXPECT_THAT(live_volumes(recorded("lvm_B_pvdisplay_missing").text),
                ElementsAre(Pair("ZqPKn1-hHIr-q0XO-A2hJ-g61C-gCGd-Na0CI1", "md0"),
                            Pair("DBc3C1-Rr0K-05dv-AasZ-5VQX-Ntqc-LdXVSd", "unknown")));
}

TEST(LiveVolumes, AreOnRamDisksInRecordingsOfARecovery) {
    for (const char* name : {"lvm_B_pvdisplay_ram", "lvm_B_pvdisplay_restored"}) {
        EXPECT_THAT(live_volumes(recorded(name).text),
                    ElementsAre(Pair("ZqPKn1-hHIr-q0XO-A2hJ-g61C-gCGd-Na0CI1", "md0"),
                                Pair("DBc3C1-Rr0K-05dv-AasZ-5VQX-Ntqc-LdXVSd", "ram2")));
    }
}

// Messages in the tool's output: their UUIDs are in no backup.
TEST(LiveVolumes, HaveRemarksBetweenThemInARecording) {
    EXPECT_THAT(
        live_volumes(recorded("lvm_raid5_failed_pvdisplay").text),
        ElementsAre(Pair("Egjnhg-z6qF-BPnS-uB6b-DYdi-mkKI-KrgR8i", "md1"),
                    Pair("\"/dev/sdf\" is a new physical volume of \"1.17 GiB\"", "unknown"),
                    Pair("Iw27Cd-eF8y-8Hck-pQqi-HStE-XyrD-3aGSrS", "sdf")));
}

TEST(LiveVolumes, AreWhatStandsBeforeTheFirstAndAfterTheLastColon) {
    EXPECT_THAT(live_volumes(" \t /dev/md0 :vg1:\t AAAAAA-0000 \r\n/dev/sda:b\n"),
                ElementsAre(Pair("AAAAAA-0000", "md0"), Pair("b", "sda")));
    EXPECT_THAT(live_volumes("/dev/md0:vg1:\n"), ElementsAre(Pair("", "md0")));
}

TEST(LiveVolumes, AreUnknownUnlessTheirPathIsADevices) {
    EXPECT_THAT(live_volumes("unknown device:vg1:a\n[unknown]:vg1:b\nmd0:vg1:c\n/DEV/md0:vg1:d\n"
                             "x/dev/md0:vg1:e\n/dev/mapper/md0:vg1:f\n"),
                ElementsAre(Pair("a", "unknown"), Pair("b", "unknown"), Pair("c", "unknown"),
                            Pair("d", "unknown"), Pair("e", "unknown"), Pair("f", "mapper/md0")));
}

TEST(LiveVolumes, AreNotOnLinesWithoutAFirstField) {
    EXPECT_THAT(live_volumes("\n   \n:\n:::\n \t:vg1:a\n"), IsEmpty());
}

TEST(LiveVolumes, AreCutAt127Characters) {
    EXPECT_THAT(live_volumes("/dev/" + std::string(128, 'm') +
                             ":a\n/dev/md0:" + std::string(128, 'a') + "\n"),
                ElementsAre(Pair("a", std::string(127, 'm')), Pair(std::string(127, 'a'), "md0")));
}

TEST(LiveVolumes, MayEndTheOutputWithoutALineEnd) {
    EXPECT_THAT(live_volumes("/dev/md0:vg1:a"), ElementsAre(Pair("a", "md0")));
}

TEST(LiveVolumes, OnLongLinesAreReadInPieces) {
    EXPECT_THAT(live_volumes("/dev/md0:" + std::string(246, 'x') + "/dev/md1:vg1:a\n"),
                ElementsAre(Pair(std::string(127, 'x'), "md0"), Pair("a", "md1")));
}

TEST(LiveVolumes, EndAtANul) {
    EXPECT_THAT(live_volumes("\0/dev/md0:a\n/dev/md1:b\0c\n/dev/md\0"
                             "2:d\n"s),
                ElementsAre(Pair("b", "md1"), Pair("/dev/md", "md")));
}

TEST(LiveVolumes, ThatGarbageMakesAreUnknown) {
    const Pairs found = live_volumes(std::string(1 << 20, 'x'));
    EXPECT_THAT(found, SizeIs(testing::Gt(1U)));
    EXPECT_THAT(found, testing::Each(Pair(testing::_, "unknown")));
    for (const char filler : {'\n', ':', ' ', '\0'}) {
        EXPECT_THAT(live_volumes(std::string(1 << 20, filler)), IsEmpty());
    }
}

TEST(WholeVolumes, AreInRecordedLists) {
    for (const char* capture :
         {"pvdisplay_c_one", "pvdisplay_c_three", "pvdisplay_c_missing", "pvdisplay_c_orphan",
          "pvdisplay_c_exported", "lvm_B_pvdisplay_missing", "recov_pvdisplay"}) {
        EXPECT_TRUE(is_whole_volume_list(recorded(capture).text)) << capture;
    }
    EXPECT_FALSE(is_whole_volume_list(recorded("lvm_pvdisplay_c_empty").text));
}

TEST(WholeVolumes, AreNotInAListThatWasCutShort) {
    const std::string text = recorded("pvdisplay_c_three").text;
    const std::size_t second = text.find("/dev/sdg");
    for (std::size_t end = second + 5; end < text.find('\n', second); ++end) {
        EXPECT_FALSE(is_whole_volume_list(text.substr(0, end))) << text.substr(0, end);
    }
}

} // namespace
} // namespace zav::test
