// SPDX-License-Identifier: MIT
// The file with the names of arrays that are being created.
#include "actions/arrays/name_reservation.h"
#include "fixtures/array_machine.h"
#include "fixtures/held_lock.h"
#include "fixtures/library.h"
#include "fixtures/refused_calls.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zav::test {
namespace {

class Reservations : public testing::Test {
  protected:
    static constexpr auto path = ArrayMachine::reservations;

    int add(const std::string& name, const RunOptions& options = {}) {
        return machine.operation([&] { return add_name(name.c_str()); }, options).returned;
    }
    int del(const std::string& name, const RunOptions& options = {}) {
        return machine.operation([&] { return del_name(name.c_str()); }, options).returned;
    }
    // A process that holds a lock on the file until the run is destroyed.
    StartedRun hold_lock(short type) {
        if (!machine.exists(path)) {
            machine.file(path, "");
        }
        StartedRun holder = machine.start_call([type] {
            const int fd = ::open(path, O_RDWR);
            struct flock lock = {};
            lock.l_type = type;
            lock.l_whence = SEEK_SET;
            EXPECT_EQ(::fcntl(fd, F_SETLK, &lock), 0);
            EXPECT_GE(::open("/var/locked", O_CREAT | O_WRONLY, 0600), 0);
            return ::pause();
        });
        EXPECT_TRUE(machine.appears("/var/locked"));
        return holder;
    }
    ArrayMachine machine;
};

TEST_F(Reservations, AreMadeInANewFileOfTheOwner) {
    EXPECT_EQ(add("md1"), 0);
    EXPECT_EQ(machine.read(path), "md1\n");
    EXPECT_EQ(machine.mode(path), 0700U);
}

TEST_F(Reservations, AreAddedAtTheEndOfAFileThatKeepsItsMode) {
    machine.file(path, "md7\ndata\n", 0640);
    EXPECT_EQ(add("md1"), 0);
    EXPECT_EQ(machine.read(path), "md7\ndata\nmd1\n");
    EXPECT_EQ(machine.mode(path), 0640U);
}

TEST_F(Reservations, StartALineOfTheirOwn) {
    machine.file(path, "md7");
    EXPECT_EQ(add("md1"), 0);
    EXPECT_EQ(machine.read(path), "md7\nmd1\n");
}

TEST_F(Reservations, RefuseANameTwice) {
    machine.file(path, "md7\nmd1\n");
    EXPECT_EQ(add("md1"), -404);
    EXPECT_EQ(add("md7"), -404);
    EXPECT_EQ(machine.read(path), "md7\nmd1\n");
}

TEST_F(Reservations, CompareWholeNames) {
    machine.file(path, "md10\nMD1\n md1\n");
    EXPECT_EQ(add("md1"), 0);
    EXPECT_EQ(machine.read(path), "md10\nMD1\n md1\nmd1\n");
}

TEST_F(Reservations, HoldNamesOf32Characters) {
    const std::string name(32, 'n');
    EXPECT_EQ(add(name), 0);
    EXPECT_EQ(add(name), -404);
    EXPECT_EQ(machine.read(path), name + "\n");
}

TEST_F(Reservations, AreReleasedByName) {
    machine.file(path, "md7\nmd1\ndata\n");
    EXPECT_EQ(del("md1"), 0);
    EXPECT_EQ(machine.read(path), "md7\ndata\n");
}

TEST_F(Reservations, AreReleasedByTheBeginningOfTheName) {
    machine.file(path, "md1\nmd10\nmd19\nmd2\nxmd1\n");
    EXPECT_EQ(del("md1"), 0);
    EXPECT_EQ(machine.read(path), "md2\nxmd1\n");
}

TEST_F(Reservations, OfShorterNamesStay) {
    machine.file(path, "md\nmd1\n");
    EXPECT_EQ(del("md10"), 0);
    EXPECT_EQ(machine.read(path), "md\nmd1\n");
}

TEST_F(Reservations, AreRewrittenAsTheyWere) {
    machine.file(path, "\nmd1\n\nlast", 0640);
    EXPECT_EQ(del("md1"), 0);
    EXPECT_EQ(machine.read(path), "\n\nlast");
    EXPECT_EQ(machine.mode(path), 0640U);
}

TEST_F(Reservations, LeaveAnEmptyFileBehind) {
    machine.file(path, "md1\n");
    EXPECT_EQ(del("md1"), 0);
    EXPECT_EQ(machine.read(path), "");
}

TEST_F(Reservations, AreNotMadeByReleasing) {
    EXPECT_EQ(del("md1"), 0);
    EXPECT_FALSE(machine.exists(path));
}

TEST_F(Reservations, CanBeTakenAgainWhenReleased) {
    EXPECT_EQ(add("md1"), 0);
    EXPECT_EQ(del("md1"), 0);
    EXPECT_EQ(add("md1"), 0);
}

// Anybody may make something under that name. Releasing a name only leaves it alone.
class ForeignReservations : public Reservations {
  protected:
    void expect_made_anew() {
        EXPECT_EQ(del("md7"), 0);
        ASSERT_EQ(add("md1"), 0);
        EXPECT_EQ(machine.read(path), "md1\n");
        EXPECT_EQ(machine.mode(path), 0700U);
        EXPECT_FALSE(std::filesystem::is_symlink(machine.host_path(path)));
    }
};

TEST_F(ForeignReservations, ThatAreALinkAreMadeAnew) {
    machine.file("/var/other", "md7\n").symlink("/var/other", path);
    expect_made_anew();
    EXPECT_EQ(machine.read("/var/other"), "md7\n");
    machine.remove(path).symlink("/var/missing", path);
    expect_made_anew();
    EXPECT_FALSE(machine.exists("/var/missing"));
}

TEST_F(ForeignReservations, ThatAreADirectoryAreMadeAnew) {
    machine.directory(path);
    expect_made_anew();
}

// A directory with something in it is moved aside: nothing that root does not own is searched.
TEST_F(ForeignReservations, ThatAreAFullDirectoryAreMadeAnew) {
    machine.file(path + std::string("/file"), "text");
    EXPECT_EQ(machine.call([] { return add_name("md1"); }).returned, 0);
    EXPECT_EQ(machine.read(path), "md1\n");
}

TEST_F(ForeignReservations, ThatAreAFifoAreMadeAnew) {
    machine.fifo(path);
    expect_made_anew();
}

TEST_F(ForeignReservations, ThatAreAnotherUsersFileAreMadeAnewWhateverHeLocks) {
    machine.file(path, "md7\n", 0666);
    ASSERT_EQ(::chown(machine.host_path(path).c_str(), 1234, 1234), 0);
    const StartedRun holder = hold_lock(F_WRLCK);
    expect_made_anew();
}

TEST_F(ForeignReservations, ThatAreAnotherNameOfAFileAreMadeAnew) {
    machine.file("/tmp/other", "md7\n");
    std::filesystem::create_hard_link(machine.host_path("/tmp/other"), machine.host_path(path));
    EXPECT_EQ(machine.call([] { return add_name("md1"); }).returned, 0);
    EXPECT_EQ(machine.read("/tmp/other"), "md7\n");
    EXPECT_EQ(machine.read(path), "md1\n");
}

TEST_F(ForeignReservations, AreMadeAnewByOneOfMany) {
    machine.fifo(path);
    const Result run = machine.operation([] {
        for (int process = 0; process < 8; ++process) {
            if (::fork() == 0) {
                ::_exit(add_name(("md" + std::to_string(process)).c_str()) == 0 ? 0 : 1);
            }
        }
        int failures = 0;
        int status = 0;
        while (::wait(&status) > 0) {
            failures += status == 0 ? 0 : 1;
        }
        return failures;
    });
    ASSERT_EQ(run.returned, 0);
    const std::string names = machine.read(path);
    EXPECT_EQ(std::ranges::count(names, '\n'), 8) << names;
}

// A name that is released for a creation that was killed leaves nothing behind.
TEST_F(Reservations, OfAProcessThatHasEndedAreReleasedByOthers) {
    StartedRun killed = machine.start_call([] {
        EXPECT_EQ(add_name("md1"), 0);
        ::close(::open("/var/added", O_CREAT | O_WRONLY, 0600));
        return ::pause();
    });
    ASSERT_TRUE(machine.appears("/var/added"));
    killed.signal(SIGKILL);
    killed.wait();
    EXPECT_EQ(del("md1"), 0);
    EXPECT_EQ(machine.read(path), "");
    EXPECT_THAT(machine.list("/run"), testing::Not(testing::Contains("zavbox")));
}

// A creation that was killed.
TEST_F(Reservations, OfAProcessThatHasEndedMayBeTaken) {
    StartedRun killed = machine.start_call([] {
        EXPECT_EQ(add_name("md1"), 0);
        ::close(::open("/var/added", O_CREAT | O_WRONLY, 0600));
        return ::pause();
    });
    ASSERT_TRUE(machine.appears("/var/added"));
    EXPECT_EQ(add("md1"), -404) << "it is alive";
    killed.signal(SIGKILL);
    killed.wait();
    EXPECT_EQ(machine.read(path), "md1\n");
    EXPECT_THAT(machine.list("/run/zavbox"), testing::ElementsAre("mdname-md1"));
    machine.operation([] {
        EXPECT_EQ(add_name("md1"), 0);
        EXPECT_EQ(del_name("md1"), 0);
        return 0;
    });
    EXPECT_EQ(machine.read(path), "");
    EXPECT_THAT(machine.list("/run"), testing::Not(testing::Contains("zavbox")));
}

TEST_F(Reservations, NeedAFileThatIsNoDevice) {
    machine.bind("/dev/null", path, true);
    EXPECT_EQ(add("md1"), -406);
    EXPECT_EQ(del("md1"), 0);
}

// Writable for everybody, but owned by another user.
TEST_F(Reservations, NeedAFileOfTheirOwner) {
    machine.file(path, "md7\n", 0666);
    const RunOptions nobody = {.uid = 65534};
    EXPECT_EQ(add("md1", nobody), -406);
    EXPECT_EQ(del("md7", nobody), 0);
    EXPECT_EQ(machine.read(path), "md7\n");
}

TEST_F(Reservations, NeedADirectoryThatCanBeWritten) {
    machine.read_only("/tmp");
    EXPECT_EQ(add("md1"), -406);
    EXPECT_EQ(del("md1"), 0);
}

// A regular file whose beginning cannot be read: the memory of a process.
TEST_F(Reservations, CannotBeReadEverywhere) {
    machine.bind("/proc/self/mem", path, true);
    EXPECT_EQ(add("md1"), -401);
    EXPECT_EQ(del("md1"), -401);
}

RunOptions with_largest_file(rlim_t size) {
    return {.limits = {{RLIMIT_FSIZE, size}}, .ignored_signals = {SIGXFSZ}};
}

TEST_F(Reservations, OnAFullDiskLeaveTheFileAsItWas) {
    machine.file(path, "md7\n");
    EXPECT_EQ(add("md1", with_largest_file(4)), -407);
    EXPECT_EQ(machine.read(path), "md7\n");
    EXPECT_EQ(add("md1", with_largest_file(6)), -407);
    EXPECT_EQ(machine.read(path), "md7\n");
    EXPECT_EQ(add("md1", with_largest_file(8)), 0);
}

TEST_F(Reservations, OnAFullDiskCannotBeRewritten) {
    machine.file(path, "md7\nmd1\n");
    EXPECT_EQ(del("md1", with_largest_file(2)), -407);
}

TEST_F(Reservations, ThatCannotBeReleasedMayBeTaken) {
    machine.operation([] {
        EXPECT_EQ(add_name("md1"), 0);
        refuse_calls({{SYS_ftruncate, EIO, {}}});
        EXPECT_EQ(del_name("md1"), -407);
        return 0;
    });
    EXPECT_EQ(machine.read(path), "md1\n");
    EXPECT_EQ(add("md1"), 0);
}

TEST_F(Reservations, AreNeverInTheFileWithoutTheLockOfTheirOwner) {
    const HeldLock owner(machine, "mdname-md1"); // a creation that has not written its name yet
    EXPECT_EQ(add("md1"), -404);
    EXPECT_EQ(machine.read(path), "");
}

TEST_F(Reservations, WaitForALockThatIsGivenBack) {
    machine.file(path, "md7\n");
    StartedRun holder = hold_lock(F_WRLCK);
    StartedRun adding = machine.start_call([] {
        ::close(::open("/var/adding", O_CREAT | O_WRONLY, 0600));
        return add_name("md1");
    });
    EXPECT_TRUE(machine.appears("/var/adding"));
    ::usleep(200000);
    EXPECT_EQ(machine.read(path), "md7\n");
    holder.signal(SIGKILL);
    holder.wait();
    EXPECT_EQ(adding.wait().returned, 0);
    EXPECT_EQ(machine.read(path), "md7\nmd1\n");
}

// Five attempts with four sleeps between them.
Code add_in_four_seconds(const char* name) {
    const auto start = std::chrono::steady_clock::now();
    const auto result = add_name(name);
    const auto spent = std::chrono::steady_clock::now() - start;
    EXPECT_GE(spent, std::chrono::seconds(4));
    EXPECT_LT(spent, std::chrono::seconds(5));
    return result;
}

TEST_F(Reservations, GiveUpAfterFiveTriesWhenAnotherProcessWrites) {
    machine.file(path, "md7\n");
    const StartedRun holder = hold_lock(F_WRLCK);
    StartedRun deleting = machine.start_call([] { return del_name("md7"); });
    EXPECT_EQ(machine.operation([] { return add_in_four_seconds("md1"); }).returned, -405);
    EXPECT_EQ(deleting.wait().returned, 0);
    EXPECT_EQ(machine.read(path), "md7\n");
}

TEST_F(Reservations, GiveUpAfterFiveTriesWhenAnotherProcessReads) {
    const StartedRun holder = hold_lock(F_RDLCK);
    EXPECT_EQ(machine.operation([] { return add_in_four_seconds("md1"); }).returned, -405);
}

void deny_locks() {
    refuse_calls({{SYS_fcntl, ENOLCK, F_OFD_SETLK}});
}

TEST_F(Reservations, GiveUpAfterFiveTriesWhenTheLockCannotBeSet) {
    machine.file(path, "md7\n");
    StartedRun deleting = machine.start_call([] {
        deny_locks();
        return del_name("md7");
    });
    const Result adding = machine.operation([] {
        deny_locks();
        return add_in_four_seconds("md1");
    });
    EXPECT_EQ(adding.returned, -403);
    EXPECT_EQ(deleting.wait().returned, 0);
    EXPECT_EQ(machine.read(path), "md7\n");
}

// Eight processes that start together, and end together: a name is free when its process has ended.
TEST_F(Reservations, GoToOneOfManyAtOnce) {
    const Result run = machine.operation([] {
        int gate[2];
        int end[2];
        EXPECT_EQ(::pipe(gate), 0);
        EXPECT_EQ(::pipe(end), 0);
        for (int process = 0; process < 8; ++process) {
            if (::fork() == 0) {
                ::close(gate[1]);
                char byte = 0;
                (void)!::read(gate[0], &byte, 1);
                ::close(end[0]);
                const bool has_won = add_name("md1") == 0;
                EXPECT_EQ(::write(end[1], &byte, 1), 1);
                while (::access("/var/end", F_OK) != 0) {
                    ::usleep(1000);
                }
                ::_exit(has_won ? 0 : 1);
            }
        }
        ::close(gate[0]);
        ::close(gate[1]);
        for (int process = 0; process < 8; ++process) {
            char byte = 0;
            EXPECT_EQ(::read(end[0], &byte, 1), 1);
        }
        ::close(::open("/var/end", O_CREAT | O_WRONLY, 0600));
        int winners = 0;
        int status = 0;
        while (::wait(&status) > 0) {
            winners += status == 0 ? 1 : 0;
        }
        return winners;
    });
    EXPECT_EQ(run.returned, 1);
    EXPECT_EQ(machine.read(path), "md1\n");
}

} // namespace
} // namespace zav::test
