// SPDX-License-Identifier: MIT
// What the steps return when a file is locked or cannot be opened, read or written, and what they
// leave.
#include "actions/shares/steps.h"
#include "fixtures/library.h"
#include "fixtures/refused_calls.h"
#include "fixtures/share_operation.h"

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

// A step on the Samba share "pub" and the files that it opens, in order.
struct Step {
    std::string name;
    Function run;
    std::string first;
    std::string second;
    std::string third = "";
    std::string fourth = "";
};

Code add_in_files(const share_info& share) {
    ShareFiles files;
    return add_share(files, share);
}

Code forbid_samba_share(ShareFiles& files, share_info& share) {
    return forbid_share(files, share, "samba");
}

Code remove_forbidden(ShareFiles& files, share_info& share) {
    share.type.clear();
    return remove_from_files(files, share);
}

template <class Changed>
Function on_share(Changed step) {
    return [step] {
        ShareFiles files;
        share_info share = share_of("samba", "anna");
        return step(files, share);
    };
}

const std::vector<Step>& steps() {
    static const std::vector<Step> all = {
        {"add", on_share(add_share), share_register, smb_conf, smb_recycle, exports_recycle},
        {"apply", on_share(apply_share), share_register, smb_conf, smb_recycle},
        {"remove", on_share(remove_from_files), share_register, smb_conf, smb_recycle,
         exports_recycle},
        {"forbid", on_share(forbid_samba_share), share_register, smb_conf, smb_recycle},
        {"edit forbidden", on_share(edit_forbidden_share), share_register, smb_conf, smb_recycle},
        {"remove forbidden", on_share(remove_forbidden), share_register, smb_recycle,
         exports_recycle},
        {"use", on_share(use_forbidden_share), share_register, smb_conf, smb_recycle,
         exports_recycle}};
    return all;
}

class ShareStepFaults : public ShareOperation {
  protected:
    // Resets the files before every step.
    void prepare() {
        machine.remove(share_register);
        machine.shares({{.name = "other", .service = "ftp"}});
        for (const char* path : {smb_recycle, exports_recycle, smb_conf}) {
            machine.remove(path).file(path, path == std::string(smb_conf) ? samba_global : "");
        }
    }
    // Runs a step that changes nothing, and returns its code.
    int run(const Step& step, const RunOptions& options = {}) {
        const Snapshot before = machine.snapshot();
        const Result result = operate(step.run, options);
        EXPECT_THAT(result.commands, IsEmpty()) << step.name;
        EXPECT_THAT(before.changes_to(machine.snapshot()), IsEmpty()) << step.name;
        return result.returned;
    }
    using Lock = std::unique_ptr<LockedFile>;
    void each_file_gives(const std::function<Lock(const std::string&)>& make_fault,
                         int register_code, int service_code) {
        for (const Step& step : steps()) {
            for (const std::string& file : {step.first, step.second, step.third, step.fourth}) {
                if (file.empty()) {
                    continue;
                }
                SCOPED_TRACE(step.name + " " + file);
                prepare();
                const Lock lock = make_fault(file);
                EXPECT_EQ(run(step), file == share_register ? register_code : service_code);
            }
        }
    }
};

TEST_F(ShareStepFaults, ALockedFileGivesItsCodeAtOnce) {
    each_file_gives(
        [this](const std::string& file) {
            return std::make_unique<LockedFile>(machine.host_path(file));
        },
        -2062, -2062);
}

TEST_F(ShareStepFaults, AFileThatIsReadUnderALockGivesItToo) {
    each_file_gives(
        [this](const std::string& file) {
            return std::make_unique<LockedFile>(machine.host_path(file), 0, 1, F_RDLCK);
        },
        -2062, -2062);
}

TEST_F(ShareStepFaults, AFileThatCannotBeOpenedGivesItsCode) {
    each_file_gives(
        [this](const std::string& file) {
            machine.remove(file).directory(file);
            return nullptr;
        },
        -2060, -2061);
}

TEST_F(ShareStepFaults, AMalformedFileGivesItsCode) {
    each_file_gives(
        [this](const std::string& file) {
            machine.file(file,
                         file == exports_recycle ? "/mnt/data/pub a(rw) b(rw)\n" : "[broken\n");
            return nullptr;
        },
        -2063, -2063);
}

TEST_F(ShareStepFaults, AMalformedFileStaysAsItIs) {
    machine.shares({{.comment = "a=b"}});
    const std::string before = machine.read(share_register);
    EXPECT_EQ(result_of(on_share(add_share)), -2063);
    EXPECT_EQ(machine.read(share_register), before);
    machine.shares({}).file(smb_conf, "[global]\n[a]\nnonsense\n");
    EXPECT_EQ(result_of(on_share(add_share)), -2063);
    EXPECT_EQ(machine.read(smb_conf), "[global]\n[a]\nnonsense\n");
    EXPECT_EQ(machine.read(share_register), "") << "nor is anything else changed";
}

TEST_F(ShareStepFaults, MissingFilesAreMade) {
    for (const char* path : {share_register, smb_conf, smb_recycle}) {
        machine.remove(path);
    }
    EXPECT_EQ(result_of(on_share(add_share)), 0);
    EXPECT_EQ(machine.read(smb_conf), samba_section("pub", "/mnt/data/pub", "anna"));
    EXPECT_EQ(machine.mode(smb_conf), 0700);
    EXPECT_EQ(machine.mode(share_register), 0700);
    machine.remove(smb_conf);
    EXPECT_EQ(result_of(on_share(forbid_samba_share)), -2067);
    EXPECT_EQ(machine.mode(smb_recycle), 0700);
}

// Files cannot grow beyond 4 KiB.
class ShareStepWriting : public ShareStepFaults {
  protected:
    static std::string shares(const std::string& name, int count) {
        std::string text;
        for (int number = 0; number < count; ++number) {
            text += register_section({.name = name + std::to_string(number), .service = ""});
        }
        return text;
    }
    static std::string recycled(int count) {
        std::string text;
        for (int number = 0; number < count; ++number) {
            text += samba_section("s" + std::to_string(number), "/p", "", "", "writeable = no");
        }
        return text;
    }
    const std::string long_global = "[global]\n" + std::string(5000, '#') + "\n";
};

TEST_F(ShareStepWriting, AFullDiskGivesTheCodeOfTheFirstFileAndChangesNothing) {
    machine.file(share_register, register_section({}) + shares("s", 50));
    machine.file(smb_conf, long_global + samba_section("pub", "/p"));
    machine.file(smb_recycle, recycled(40)).file(exports_recycle, export_of("/mnt/data/pub"));
    for (const Step& step : steps()) {
        const bool starts_with_a_service_file =
            step.name == "remove forbidden" || step.name == "use";
        EXPECT_EQ(run(step, {.limits = {{RLIMIT_FSIZE, 4096}}, .ignored_signals = {SIGXFSZ}}),
                  starts_with_a_service_file ? -2065
                  : step.name == "add"       ? -2065
                                             : -2064)
            << step.name;
    }
}

TEST_F(ShareStepWriting, ADiskThatTakesNoSyncGivesTheSameCodes) {
    machine.file(share_register, register_section({})).file(smb_conf, samba_section("pub", "/p"));
    for (const Step& step : steps()) {
        const bool starts_with_a_service_file =
            step.name == "remove forbidden" || step.name == "use" || step.name == "add";
        const Function run_step = step.run;
        const Result result = operate([run_step] {
            deny_syncs();
            return run_step();
        });
        EXPECT_EQ(result.returned, starts_with_a_service_file ? -2065 : -2064) << step.name;
        EXPECT_EQ(machine.read(share_register), register_section({})) << step.name;
        EXPECT_EQ(machine.read(smb_conf), samba_section("pub", "/p")) << step.name;
    }
}

// A step that waits while it saves a file.
class ShareStepsAtOnce : public ShareStepFaults {
  protected:
    StartedRun start(const std::string& waits_at, const Function& step) {
        machine.tool(pool_tool::xconf)
            .on("/usr/local/bin/xconf -s " + waits_at)
            .does("echo > /var/saving; while ! [ -e /var/go ]; do :; done")
            .once();
        return machine.start_call(step);
    }
    void go_on() { machine.file("/var/go", ""); }
};

TEST_F(ShareStepsAtOnce, OneWinsAndTheOtherIsRefused) {
    StartedRun first = start(smb_conf, on_share(add_share));
    ASSERT_TRUE(machine.appears("/var/saving"));
    const share_info second = share_of("nfs", "", "", "second");
    EXPECT_EQ(result_of([&] { return add_in_files(second); }), -2062);
    go_on();
    EXPECT_EQ(first.wait().returned, 0);
    EXPECT_EQ(machine.read(share_register), register_section({}));
    EXPECT_EQ(machine.read(exports), "");
    EXPECT_EQ(result_of([&] { return add_in_files(second); }), 0) << "the locks are gone";
}

TEST_F(ShareStepsAtOnce, AllFilesOfARemovalAreLockedToTheEnd) {
    machine.shares({{.service = ""}});
    StartedRun first = start(share_register, on_share(remove_forbidden));
    ASSERT_TRUE(machine.appears("/var/saving"));
    for (const char* file : {share_register, smb_recycle, exports_recycle}) {
        EXPECT_THROW(LockedFile(machine.host_path(file)), std::runtime_error) << file;
    }
    go_on();
    EXPECT_EQ(first.wait().returned, 0);
}

} // namespace
} // namespace zav::test
