// SPDX-License-Identifier: MIT
// Host name, start time, versions and model: the getters that read the identity files.
#include "fixtures/status_root.h"
#include "platform/models.h"

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr char missing[] = "No such file or directory";

TEST(HostName, IsTheFirstLineWithoutItsLineEnd) {
    StatusRoot root;
    root.file("/etc/hostname", "nas-7\r\nsecond\n");
    EXPECT_EQ(read_status(root, hostname_get), gives(0, "nas-7"));
    EXPECT_THAT(root.log(), IsEmpty());
}

TEST(HostName, SkipsEmptyLinesAndBlanksAroundTheLine) {
    StatusRoot root;
    root.file("/etc/hostname", "\n  \n\t nas 7  \n");
    EXPECT_EQ(read_status(root, hostname_get), gives(0, "nas 7"));
}

TEST(HostName, NeedsNoFinalNewline) {
    StatusRoot root;
    root.file("/etc/hostname", "nas");
    EXPECT_EQ(read_status(root, hostname_get), gives(0, "nas"));
}

TEST(HostName, EndsAtANulByte) {
    StatusRoot root;
    root.file("/etc/hostname", std::string("nas\0hidden\n", 11));
    EXPECT_EQ(read_status(root, hostname_get), gives(0, "nas"));
}

TEST(HostName, IsCutToTheBuffer) {
    StatusRoot root;
    root.file("/etc/hostname", "appliance\n");
    EXPECT_EQ(read_status(root, hostname_get, 5), gives(0, "appl"));
    EXPECT_EQ(read_status(root, hostname_get, 1), gives(0, ""));
}

TEST(HostName, OfAMegabyteIsCutAtALineBuffer) {
    StatusRoot root;
    root.file("/etc/hostname", std::string(1 << 20, 'h'));
    EXPECT_EQ(read_status(root, hostname_get, 4096), gives(0, std::string(255, 'h')));
}

TEST(HostName, MissingFileFailsWithItsCode) {
    StatusRoot root;
    EXPECT_EQ(read_status(root, hostname_get), gives(-1006, old_text));
    EXPECT_THAT(root.log_texts(), ElementsAre(failure_line("hostname_get", -1006, missing)));
}

TEST(HostName, EmptyFileFails) {
    StatusRoot root;
    root.file("/etc/hostname", "\n \n");
    EXPECT_EQ(read_status(root, hostname_get).code, -1006);
}

TEST(HostName, DirectoryInItsPlaceFails) {
    StatusRoot root;
    root.directory("/etc/hostname");
    EXPECT_EQ(read_status(root, hostname_get).code, -1006);
    EXPECT_THAT(root.log_texts(),
                ElementsAre(failure_line("hostname_get", -1006, "Is a directory")));
}

TEST(HostName, FileThatMayNotBeWrittenIsNotRead) {
    StatusRoot root;
    root.file("/etc/hostname", "nas\n").read_only("/etc");
    EXPECT_EQ(read_status(root, hostname_get).code, -1006);
    EXPECT_THAT(root.log_texts(),
                ElementsAre(failure_line("hostname_get", -1006, "Read-only file system")));
}

TEST(HostName, ReadingLeavesTheFileAsItIs) {
    StatusRoot root;
    root.file("/etc/hostname", "nas\nmore\n");
    const Snapshot before = root.snapshot();
    read_status(root, hostname_get);
    EXPECT_THAT(before.changes_to(root.snapshot()), IsEmpty());
}

TEST(HostName, WithoutABufferFails) {
    StatusRoot root;
    root.file("/etc/hostname", "nas\n");
    EXPECT_EQ(code_without_buffer(root, hostname_get), -1006);
}

TEST(StartTime, IsTheFirstLine) {
    StatusRoot root;
    root.file("/etc/nas_start_time.conf", "2026-11-20 10:00:00\nnext\n");
    EXPECT_EQ(read_status(root, starttime_get), gives(0, "2026-11-20 10:00:00"));
}

TEST(StartTime, MissingFileFailsWithItsCode) {
    StatusRoot root;
    EXPECT_EQ(read_status(root, starttime_get).code, -1004);
    EXPECT_THAT(root.log_texts(), ElementsAre(failure_line("starttime_get", -1004, missing)));
}

TEST(StartTime, FileThatMayNotBeWrittenIsNotRead) {
    StatusRoot root;
    root.file("/etc/nas_start_time.conf", "today\n").read_only("/etc");
    EXPECT_EQ(read_status(root, starttime_get).code, -1004);
}

TEST(StartTime, WithoutABufferFails) {
    StatusRoot root;
    root.file("/etc/nas_start_time.conf", "today\n");
    EXPECT_EQ(code_without_buffer(root, starttime_get), -1004);
}

/// The three getters of the identity files differ only in section, key and code.
struct Identity {
    const char* name;
    int (*getter)(char*, std::size_t);
    const char* section;
    const char* key;
    int code;
};

void PrintTo(const Identity& each, std::ostream* out) {
    *out << each.name;
}

class IdentityFiles : public testing::TestWithParam<Identity> {
  public:
    static std::string with_value(const std::string& value) {
        return std::string("[") + GetParam().section + "]\n\t" + GetParam().key + " = " + value +
               "\n";
    }
    static Reading read(PrivateRoot& root, std::size_t size = 64) {
        return read_status(root, GetParam().getter, size);
    }
    static auto failed(const std::string& reason = ".*") {
        return failure_line(GetParam().name, GetParam().code, reason);
    }
    StatusRoot root;
};

TEST_P(IdentityFiles, TheFirstFileGivesTheValue) {
    root.file("/etc/sys_info", with_value("first"))
        .file("/etc/nas_base.conf", with_value("second"));
    EXPECT_EQ(read(root), gives(0, "first"));
    EXPECT_THAT(root.log(), IsEmpty());
}

TEST_P(IdentityFiles, TheSecondFileIsNotNeededForTheFirstOnesValue) {
    root.file("/etc/sys_info", with_value("first"));
    EXPECT_EQ(read(root), gives(0, "first"));
}

TEST_P(IdentityFiles, WithoutTheFirstFileTheSecondGivesTheValue) {
    root.file("/etc/nas_base.conf", with_value("second"));
    EXPECT_EQ(read(root), gives(0, "second"));
    EXPECT_THAT(root.log(), IsEmpty());
}

TEST_P(IdentityFiles, AFirstFileWithoutTheSectionFallsBack) {
    root.file("/etc/sys_info", "[other]\n\tkey = x\n")
        .file("/etc/nas_base.conf", with_value("2nd"));
    EXPECT_EQ(read(root), gives(0, "2nd"));
}

TEST_P(IdentityFiles, AFirstFileWithoutTheKeyFallsBack) {
    root.file("/etc/sys_info", std::string("[") + GetParam().section + "]\n\tserial = 1\n")
        .file("/etc/nas_base.conf", with_value("second"));
    EXPECT_EQ(read(root), gives(0, "second"));
}

TEST_P(IdentityFiles, AnEmptyValueInTheFirstFileFallsBackThoughItWasFound) {
    root.file("/etc/sys_info", with_value("")).file("/etc/nas_base.conf", with_value("second"));
    EXPECT_EQ(read(root), gives(0, "second"));
}

TEST_P(IdentityFiles, AMalformedFirstFileFallsBack) {
    root.file("/etc/sys_info", "[broken\n").file("/etc/nas_base.conf", with_value("second"));
    EXPECT_EQ(read(root), gives(0, "second"));
}

TEST_P(IdentityFiles, AfterAnEmptyValueTheSecondFilesFailureIsTheResult) {
    root.file("/etc/sys_info", with_value(""));
    EXPECT_EQ(read(root), gives(GetParam().code, ""));
    EXPECT_THAT(root.log_texts(), ElementsAre(failed(missing)));
}

TEST_P(IdentityFiles, AnEmptyValueInTheLastFileIsASuccess) {
    root.file("/etc/nas_base.conf", with_value(""));
    EXPECT_EQ(read(root), gives(0, ""));
    EXPECT_THAT(root.log(), IsEmpty());
}

TEST_P(IdentityFiles, WithoutBothFilesTheGettersCodeIsTheResult) {
    EXPECT_EQ(read(root), gives(GetParam().code, ""));
    EXPECT_THAT(root.log_texts(), ElementsAre(failed(missing)));
}

TEST_P(IdentityFiles, TheValueIsCutToTheBuffer) {
    root.file("/etc/sys_info", with_value("KOR7206LB"));
    EXPECT_EQ(read(root, 4), gives(0, "KOR"));
}

TEST_P(IdentityFiles, AValueThatJustFitsIsWhole) {
    root.file("/etc/sys_info", with_value("KOR7206LB"));
    EXPECT_EQ(read(root, 10), gives(0, "KOR7206LB"));
}

TEST_P(IdentityFiles, WithoutABufferFails) {
    root.file("/etc/sys_info", with_value("value"));
    EXPECT_EQ(code_without_buffer(root, GetParam().getter), GetParam().code);
}

INSTANTIATE_TEST_SUITE_P(
    Of, IdentityFiles,
    testing::Values(Identity{"softversion_get", softversion_get, "version", "software", -1008},
                    Identity{"hardversion_get", hardversion_get, "version", "hardware", -1007},
                    Identity{"devmodel_get", devmodel_get, "product", "type", -1001}),
    [](const auto& each) { return std::string(each.param.name); });

TEST(SoftwareVersion, IsNotTheHardwareVersionBesideIt) {
    StatusRoot root;
    root.file("/etc/sys_info", "[version]\n\thardware = 2.0\n\tsoftware = 3.1.4\n");
    EXPECT_EQ(read_status(root, softversion_get), gives(0, "3.1.4"));
    EXPECT_EQ(read_status(root, hardversion_get), gives(0, "2.0"));
}

TEST(ProductModel, IsTheOneThatTheIdentityFilesName) {
    StatusRoot root("VEL7205U");
    const Result result = root.call([] { return product_model().has_raid_controller ? 1 : 0; });
    EXPECT_EQ(result.returned, 1);
}

TEST(ProductModel, IsAnUnknownOneWhenItCannotBeRead) {
    StatusRoot root;
    const Result result = root.call([] { return product_model().fans ? 0 : 1; });
    EXPECT_EQ(result.returned, 1);
    EXPECT_THAT(root.log_texts(), ElementsAre(failure_line("devmodel_get", -1001, missing)));
}

} // namespace
} // namespace zav::test
