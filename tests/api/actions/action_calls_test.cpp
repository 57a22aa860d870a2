// SPDX-License-Identifier: MIT
// What all actions do for the program that calls them: explain their end, keep silent, tell of
// progress, end what hangs, refuse what cannot be meant.
#include "api/actions/action_case.h"
#include "base/change_journal.h"

#include <cstring>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

zav_pool_create_args films() {
    return {.struct_size = sizeof(zav_pool_create_args),
            .name = "films",
            .group = "data",
            .size_gib = 5};
}

int create_films(zav_ctx* ctx, zav_error* error) {
    const zav_pool_create_args args = films();
    return zav_pool_create(ctx, &args, error);
}

// Runs a function with a context.
Result with_context(ActionMachine& machine, const std::function<int(zav_ctx*)>& function,
                    const RunOptions& options = {}) {
    return machine.call(
        [&function] {
            zav_ctx* ctx = zav_ctx_new();
            const int code = function(ctx);
            zav_ctx_free(ctx);
            return code;
        },
        options);
}

TEST(ActionCalls, TellWhichCommandFailedAndWhatItSaid) {
    ActionMachine machine;
    machine.tool(pool_tool::lvcreate).any().complains("no free extents\n").exits(5);
    const Result run = with_context(machine, [](zav_ctx* ctx) {
        zav_error error;
        const int code = create_films(ctx, &error);
        EXPECT_EQ(error.code, ZAV_E_POOL_NOT_CREATED);
        EXPECT_STREQ(error.name, "pool_not_created");
        EXPECT_STREQ(error.command, "/sbin/lvcreate -L 5G -n films data");
        EXPECT_EQ(error.command_status, 5 << 8);
        EXPECT_STREQ(error.command_output, "no free extents");
        return code;
    });
    EXPECT_EQ(run.returned, ZAV_E_POOL_NOT_CREATED);
    EXPECT_EQ(run.out + run.err, "");
}

TEST(ActionCalls, TellOfACommandThatWasNotRun) {
    ActionMachine machine;
    machine.file("/sys/block/sdh/holders/dm-0", "");
    with_context(machine, [](zav_ctx* ctx) {
        const zav_netdisk_create_args args = {
            .struct_size = sizeof args, .label = "usb", .disk = "sdh"};
        zav_error error;
        const int code = zav_netdisk_create(ctx, &args, &error);
        EXPECT_EQ(code, ZAV_E_FS_NOT_MADE);
        EXPECT_THAT(error.command, testing::StartsWith("/sbin/mkfs.xfs"));
        EXPECT_EQ(error.command_status, -1);
        EXPECT_STREQ(error.command_output, "");
        return code;
    });
}

// A number that several commands return means what it does to this one.
TEST(ActionCalls, ExplainACodeInTheWordsOfTheirCommand) {
    ActionMachine machine;
    with_context(machine, [](zav_ctx* ctx) {
        zav_error error;
        const zav_array_create_args args = {
            .struct_size = sizeof args, .name = "md5", .level = ZAV_LEVEL_RAID1};
        const int code = zav_array_create(ctx, &args, &error);
        EXPECT_EQ(code, ZAV_E_BAD_CHANNEL);
        EXPECT_STREQ(error.sentence, "a list of channels is malformed");
        EXPECT_STREQ(error.next, zav_error_advice_for(code, "mdmanage"));
        EXPECT_STRNE(error.next, zav_error_advice(code));
        return code;
    });
}

TEST(ActionCalls, ClearTheErrorWhenTheyWork) {
    ActionMachine machine;
    const Result run = with_context(machine, [](zav_ctx* ctx) {
        zav_error error;
        std::memset(&error, 1, sizeof error);
        const int code = create_films(ctx, &error);
        EXPECT_EQ(error.code, ZAV_OK);
        EXPECT_STREQ(error.name, "ok");
        EXPECT_STREQ(error.left, "");
        EXPECT_STREQ(error.command, "");
        EXPECT_EQ(error.command_status, 0);
        EXPECT_EQ(create_films(ctx, nullptr), ZAV_OK);
        return code;
    });
    EXPECT_EQ(run.returned, ZAV_OK);
}

// Not even what a tool says goes to the program's standard output.
TEST(ActionCalls, KeepSilent) {
    ActionMachine machine;
    machine.tool("/sbin/mdadm").on("/sbin/mdadm /dev/md0 -f /dev/sda").prints("set sda faulty\n");
    EXPECT_THAT(machine.run({"diskmanage", "-I", "-n", "1"}).out, HasSubstr("set sda faulty"));
    const Result run = with_context(machine, [](zav_ctx* ctx) {
        const zav_disk_init_args args = {.struct_size = sizeof args, .channel = 1};
        return zav_disk_init(ctx, &args, nullptr);
    });
    EXPECT_THAT(run.commands_without_redirection(),
                testing::Contains("/sbin/mdadm /dev/md0 -f /dev/sda"));
    EXPECT_EQ(run.returned, ZAV_OK);
    EXPECT_EQ(run.out + run.err, "");
}

TEST(ActionCalls, RunToolsAsTheCommandsDo) {
    ActionMachine machine;
    machine.directory("/home/anna");
    machine.tool(pool_tool::lvcreate).any().does("umask > /etc/seen; pwd >> /etc/seen");
    with_context(machine, [](zav_ctx* ctx) { return create_films(ctx, nullptr); },
                 {.working_directory = "/home/anna", .umask = 077});
    EXPECT_EQ(machine.read("/etc/seen"), "0022\n/\n");
}

void note_step(void* user, const char* step, unsigned steps) {
    static_cast<Texts*>(user)->push_back(std::to_string(steps) + " " + step);
}

TEST(ActionCalls, TellOfEachStepThatChangesSomething) {
    ActionMachine machine;
    with_context(machine, [](zav_ctx* ctx) {
        Texts steps;
        zav_ctx_set_progress(ctx, note_step, &steps);
        const zav_fs_create_args args = {
            .struct_size = sizeof args, .name = "films", .group = "data", .size_gib = 5};
        EXPECT_EQ(zav_fs_create(ctx, &args, nullptr), ZAV_OK);
        EXPECT_THAT(steps,
                    ElementsAre("0 /sbin/lvcreate -L 5G -n films data",
                                "1 /sbin/mkfs.xfs -f -ssize=4k /dev/data/films",
                                "2 /usr/local/bin/xconf -s /etc/mdfstab",
                                "3 mkdir -m 0444 -p /mnt/data/films", "4 chattr +i /mnt/data/films",
                                HasSubstr("5 mount -t xfs"), "6 chmod 0777 /mnt/data/films"));
        return 0;
    });
}

TEST(ActionCalls, EndACommandThatHangs) {
    ActionMachine machine;
    machine.tool(pool_tool::lvcreate).any().does("/.harness/busybox sleep 30");
    const Result run = with_context(machine, [](zav_ctx* ctx) {
        zav_ctx_set_command_time_limit(ctx, 2000);
        zav_error error;
        const int code = create_films(ctx, &error);
        EXPECT_STREQ(error.command, "/sbin/lvcreate -L 5G -n films data");
        EXPECT_EQ(error.command_status, -1);
        return code;
    });
    EXPECT_EQ(run.returned, ZAV_E_POOL_NOT_CREATED);
    EXPECT_FALSE(run.left_processes);
    EXPECT_THAT(machine.logged(), testing::Contains(HasSubstr("it took longer than 2000 ms")));
}

TEST(ActionCalls, FinishAnInterruptedChangeFirst) {
    ActionMachine machine;
    const std::vector<JournalEntry> entries = {{mdfstab, "new\n", "old\n"}};
    machine.file(journal_path(mdfstab), journal_text(entries), 0640).remove(mdfstab);
    with_context(machine, [](zav_ctx* ctx) { return create_films(ctx, nullptr); });
    EXPECT_EQ(machine.read(mdfstab), "new\n");
    EXPECT_FALSE(machine.exists(journal_path(mdfstab)));
}

// An action that a callback calls, with whatever context.
struct Nested {
    int code = ZAV_OK;
};

void call_from_step(void* user, const char*, unsigned) {
    zav_ctx* ctx = zav_ctx_new();
    static_cast<Nested*>(user)->code = create_films(ctx, nullptr);
    zav_ctx_free(ctx);
}

TEST(ActionCalls, RefuseACallback) {
    ActionMachine machine;
    const Result run = with_context(machine, [](zav_ctx* ctx) {
        Nested nested;
        zav_ctx_set_progress(ctx, call_from_step, &nested);
        EXPECT_EQ(create_films(ctx, nullptr), ZAV_OK);
        return nested.code;
    });
    EXPECT_EQ(run.returned, ZAV_E_INVALID_ARGUMENT);
}

TEST(ActionCalls, OfSeveralThreadsRunOneAfterAnother) {
    ActionMachine machine;
    machine.tool(pool_tool::lvcreate)
        .any()
        .does("/.harness/busybox mkdir /etc/running || echo both > /etc/overlap; "
              "/.harness/busybox sleep 1; /.harness/busybox rmdir /etc/running");
    const Result run = machine.operation([] {
        const auto create = [](const char* name, int& code) {
            zav_pool_create_args args = films();
            args.name = name; // a name is locked, too
            zav_ctx* ctx = zav_ctx_new();
            code = zav_pool_create(ctx, &args, nullptr);
            zav_ctx_free(ctx);
        };
        int codes[2] = {-1, -1};
        std::thread other(create, "films", std::ref(codes[0]));
        create("music", codes[1]);
        other.join();
        EXPECT_THAT(codes, ElementsAre(ZAV_OK, ZAV_OK));
    });
    EXPECT_TRUE(run.has_returned);
    EXPECT_FALSE(machine.exists("/etc/overlap"));
}

// ---- Arguments ----

// A struct as of a later version, which has grown.
struct LaterArguments {
    zav_pool_create_args known;
    const char* unknown;
};

int create_with(const zav_pool_create_args* args) {
    zav_ctx* ctx = zav_ctx_new();
    zav_error error;
    const int code = zav_pool_create(ctx, args, &error);
    EXPECT_EQ(error.code, code);
    zav_ctx_free(ctx);
    return code;
}

TEST(ActionArguments, AreRefusedWhenTheyAreNullOrTooSmall) {
    ActionMachine machine;
    const Result run = machine.operation([] {
        zav_pool_create_args args = films();
        EXPECT_EQ(zav_pool_create(nullptr, &args, nullptr), ZAV_E_INVALID_ARGUMENT);
        EXPECT_EQ(create_with(nullptr), ZAV_E_INVALID_ARGUMENT);
        args.struct_size = sizeof args - 1;
        EXPECT_EQ(create_with(&args), ZAV_E_INVALID_ARGUMENT);
        args.struct_size = 0;
        EXPECT_EQ(create_with(&args), ZAV_E_INVALID_ARGUMENT);
    });
    EXPECT_THAT(run.commands, IsEmpty());
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST(ActionArguments, OfALaterVersionMayNotSayWhatThisOneDoesNotKnow) {
    ActionMachine machine;
    machine.operation([] {
        LaterArguments later = {films(), nullptr};
        later.known.struct_size = sizeof later;
        EXPECT_EQ(create_with(&later.known), ZAV_OK);
        later.unknown = "thin";
        EXPECT_EQ(create_with(&later.known), ZAV_E_INVALID_ARGUMENT);
    });
}

TEST(ActionArguments, AreChecksOfTheCommandBeforeAnythingIsRun) {
    ActionMachine machine;
    const Snapshot before = machine.snapshot();
    const Result run = machine.operation([] {
        zav_pool_create_args args = films();
        args.name = nullptr;
        EXPECT_EQ(create_with(&args), ZAV_E_BAD_POOL_NAME);
        args.name = "$(reboot)";
        EXPECT_EQ(create_with(&args), ZAV_E_BAD_POOL_NAME);
        args = films();
        args.size_gib = 100000000;
        EXPECT_EQ(create_with(&args), ZAV_E_BAD_SIZE);
        args = films();
        args.group = "";
        EXPECT_EQ(create_with(&args), ZAV_E_BAD_GROUP_NAME);
    });
    EXPECT_THAT(run.commands, IsEmpty());
    EXPECT_THAT(before.changes_to(machine.snapshot()), IsEmpty());
    EXPECT_THAT(machine.log(), testing::SizeIs(4));
}

} // namespace
} // namespace zav::test
