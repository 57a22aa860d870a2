// SPDX-License-Identifier: MIT
// Descriptors, whole reads and writes, directories.
#include "base/codes.h"
#include "base/file.h"
#include "fixtures/library.h"
#include "fixtures/refused_calls.h"
#include "private_root.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zav {
namespace {

using test::PrivateRoot;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

constexpr const char* path = "/tmp/file";

bool is_open(int fd) {
    return ::fcntl(fd, F_GETFD) >= 0;
}

TEST(Descriptor, IsNeverInherited) {
    const FileDescriptor fd = FileDescriptor::open("/dev/null", O_RDONLY);
    ASSERT_TRUE(fd);
    EXPECT_EQ(::fcntl(fd.get(), F_GETFD), FD_CLOEXEC);
}

TEST(Descriptor, ClosesItselfAtTheEnd) {
    int number = -1;
    {
        const FileDescriptor fd = FileDescriptor::open("/dev/null", O_RDONLY);
        number = fd.get();
        EXPECT_TRUE(is_open(number));
    }
    EXPECT_FALSE(is_open(number));
}

TEST(Descriptor, IsFalseWhenNothingCouldBeOpened) {
    errno = 0;
    const FileDescriptor fd = FileDescriptor::open("/missing/file", O_RDONLY);
    EXPECT_FALSE(fd);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(FileDescriptor());
}

TEST(Descriptor, MovesWithItsFile) {
    FileDescriptor from = FileDescriptor::open("/dev/null", O_RDONLY);
    const int number = from.get();
    FileDescriptor to(std::move(from));
    EXPECT_FALSE(from);
    EXPECT_EQ(to.get(), number);
    FileDescriptor last;
    last = std::move(to);
    EXPECT_EQ(last.get(), number);
    EXPECT_TRUE(is_open(number));
}

TEST(Descriptor, ClosesTheFileThatAnotherReplaces) {
    FileDescriptor fd = FileDescriptor::open("/dev/null", O_RDONLY);
    const int number = fd.get();
    fd = FileDescriptor::open("/dev/zero", O_RDONLY);
    EXPECT_FALSE(is_open(number));
    EXPECT_TRUE(is_open(fd.get()));
}

TEST(Descriptor, ReportsWhetherTheCloseFailed) {
    FileDescriptor good = FileDescriptor::open("/dev/null", O_RDONLY);
    EXPECT_TRUE(good.close());
    EXPECT_FALSE(good);
    EXPECT_TRUE(good.close()); // nothing left to lose
    FileDescriptor bad = FileDescriptor::open("/dev/null", O_RDONLY);
    ::close(bad.get());
    EXPECT_FALSE(bad.close());
}

TEST(Read, GivesAllBytesOfAFile) {
    PrivateRoot root;
    const std::string text = std::string("a\0b\r\n", 5) + std::string(1000000, 'x');
    root.file(path, text);
    EXPECT_EQ(read_file(root.host_path(path).c_str()), text);
}

TEST(Read, GivesAnEmptyTextForAnEmptyFile) {
    PrivateRoot root;
    root.file(path, "");
    EXPECT_EQ(read_file(root.host_path(path).c_str()), "");
}

TEST(Read, GivesNothingForAFileThatIsMissingOrNoFile) {
    errno = 0;
    EXPECT_EQ(read_file("/missing/file"), std::nullopt);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(read_file("/"), std::nullopt);
    EXPECT_EQ(errno, EISDIR);
}

TEST(Read, NeverWaitsForWhatIsNoFile) {
    PrivateRoot root;
    root.fifo(path).symlink("/dev/zero", "/tmp/link");
    const auto read_both = [] {
        errno = 0;
        EXPECT_EQ(read_file(path), std::nullopt);
        EXPECT_EQ(errno, EINVAL);
        EXPECT_EQ(read_file("/tmp/link"), std::nullopt);
        EXPECT_EQ(errno, EINVAL);
        return 0;
    };
    EXPECT_TRUE(root.call(read_both, {.time_limit = std::chrono::seconds(5)}).has_returned);
}

TEST(Read, EndsAtASizeThatNoFileOfTheSystemHas) {
    PrivateRoot root;
    root.file(path, std::string(4 << 20, 'x'));
    EXPECT_EQ(read_file(root.host_path(path).c_str())->size(), 4U << 20);
    root.file(path, std::string((4 << 20) + 1, 'x'));
    errno = 0;
    EXPECT_EQ(read_file(root.host_path(path).c_str()), std::nullopt);
    EXPECT_EQ(errno, EFBIG);
}

TEST(Read, StartsAtTheDescriptorsPosition) {
    PrivateRoot root;
    root.file(path, "0123456789");
    const FileDescriptor fd = FileDescriptor::open(root.host_path(path).c_str(), O_RDONLY);
    ::lseek(fd.get(), 4, SEEK_SET);
    EXPECT_EQ(read_rest(fd.get()), "456789");
    EXPECT_EQ(read_rest(fd.get()), "");
    EXPECT_EQ(read_rest(-1), std::nullopt);
}

TEST(Attribute, IsTheFirst256BytesOfItsFile) {
    PrivateRoot root;
    const std::string real = root.host_path(path);
    root.file(path, "running\n");
    EXPECT_EQ(read_attribute_file(real.c_str()), "running\n");
    root.file(path, std::string(256, 'x') + "y");
    EXPECT_EQ(read_attribute_file(real.c_str()), std::string(256, 'x'));
    root.file(path, "");
    EXPECT_EQ(read_attribute_file(real.c_str()), "");
}

TEST(Attribute, IsNothingWhenItsFileIsMissingOrNoFile) {
    errno = 0;
    EXPECT_EQ(read_attribute_file("/missing/file"), std::nullopt);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(read_attribute_file("/"), std::nullopt);
    EXPECT_EQ(errno, EISDIR);
}

// A pipe that a child reads or writes while it is interrupted by signals.
struct Pipe {
    Pipe() { EXPECT_EQ(::pipe(ends.data()), 0); }
    ~Pipe() {
        ::close(ends[0]);
        ::close(ends[1]);
    }
    std::array<int, 2> ends = {};
};

std::array<int, 2> arrived = {}; // one byte per signal

// From now on signals interrupt blocking calls, in this process and its children.
void take_signals() {
    EXPECT_EQ(::pipe(arrived.data()), 0);
    struct sigaction note = {};
    note.sa_handler = [](int) {
        const int before = errno;
        write_all(arrived[1], "s");
        errno = before;
    }; // without SA_RESTART
    ::sigaction(SIGUSR1, &note, nullptr);
}

// Sends a signal to a blocked process, and waits for its arrival.
void interrupt(pid_t process) {
    const std::string status = "/.harness/proc/" + std::to_string(process) + "/stat";
    while (read_file(status.c_str()).value_or("").find(") S ") == std::string::npos) {
        ::usleep(100);
    }
    ::kill(process, SIGUSR1);
    char sign = 0;
    EXPECT_EQ(::read(arrived[0], &sign, 1), 1);
}

TEST(Read, IsResumedAfterASignal) {
    PrivateRoot root;
    root.call([] {
        take_signals();
        Pipe pipe;
        if (::fork() == 0) {
            interrupt(::getppid());
            write_all(pipe.ends[1], "text");
            ::_exit(0);
        }
        ::close(std::exchange(pipe.ends[1], -1));
        EXPECT_EQ(read_rest(pipe.ends[0]), "text");
        return 0;
    });
}

TEST(Write, WritesAllOfALongTextThroughSignals) {
    PrivateRoot root;
    root.call([] {
        take_signals();
        Pipe pipe;
        const std::string text(1000000, 'x'); // far more than a pipe holds
        const pid_t writer = ::fork();
        if (writer == 0) {
            ::_exit(write_all(pipe.ends[1], text) ? 0 : 1);
        }
        ::close(std::exchange(pipe.ends[1], -1));
        interrupt(writer); // part of the text is written
        interrupt(writer); // nothing more is written
        EXPECT_EQ(read_rest(pipe.ends[0]), text);
        int status = -1;
        ::waitpid(writer, &status, 0);
        EXPECT_EQ(status, 0);
        return 0;
    });
}

TEST(Write, ReportsAFullDisk) {
    const FileDescriptor full = FileDescriptor::open("/dev/full", O_WRONLY);
    errno = 0;
    EXPECT_FALSE(write_all(full.get(), "text"));
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_TRUE(write_all(full.get(), "")); // nothing to write
}

// The process is not ignoring the signals, and they would end it.
TEST(Write, ToAPipeThatNobodyReadsOrBeyondALimitOnlyFails) {
    PrivateRoot root;
    const auto write_in_vain = [] {
        {
            Pipe pipe;
            ::close(std::exchange(pipe.ends[0], -1));
            errno = 0;
            EXPECT_FALSE(write_all(pipe.ends[1], "text"));
            EXPECT_EQ(errno, EPIPE);
        }
        const FileDescriptor fd = FileDescriptor::open(path, O_RDWR | O_CREAT, 0600);
        EXPECT_FALSE(write_all(fd.get(), "more text"));
        EXPECT_EQ(errno, EFBIG);
        EXPECT_FALSE(rewrite(fd.get(), "more text"));
        EXPECT_EQ(errno, EFBIG);
        sigset_t pending;
        ::sigpending(&pending);
        EXPECT_TRUE(::sigisemptyset(&pending));
        sigset_t held;
        ::sigprocmask(SIG_BLOCK, nullptr, &held);
        EXPECT_TRUE(::sigisemptyset(&held));
        return 0;
    };
    const test::Result result = root.call(write_in_vain, {.limits = {{RLIMIT_FSIZE, 4}}});
    EXPECT_EQ(result.signal, 0);
    EXPECT_TRUE(result.has_returned);
}

// Of the process itself: it was there before.
TEST(Write, LeavesASignalThatWasHeldBackBefore) {
    PrivateRoot root;
    root.call([] {
        sigset_t held;
        ::sigemptyset(&held);
        ::sigaddset(&held, SIGPIPE);
        ::sigprocmask(SIG_BLOCK, &held, nullptr);
        ::raise(SIGPIPE);
        Pipe pipe;
        ::close(std::exchange(pipe.ends[0], -1));
        EXPECT_FALSE(write_all(pipe.ends[1], "text"));
        sigset_t pending;
        ::sigpending(&pending);
        EXPECT_TRUE(::sigismember(&pending, SIGPIPE));
        return 0;
    });
}

// The result of appending a line to a file with the contents `before`, and the new contents.
std::pair<bool, std::string> append_to(const std::string& before, const std::string& line,
                                       const test::RunOptions& options = {}) {
    PrivateRoot root;
    root.file(path, before);
    const auto append = [&] {
        const FileDescriptor fd = FileDescriptor::open(path, O_RDWR | O_APPEND);
        errno = 0;
        const bool appended = append_line(fd.get(), before, line);
        EXPECT_EQ(errno, appended ? 0 : EFBIG);
        return appended ? 1 : 0;
    };
    const bool appended = root.call(append, options).returned == 1;
    return {appended, root.read(path)};
}

TEST(AppendedLine, StandsOnALineOfItsOwn) {
    EXPECT_EQ(append_to("", "new"), std::pair(true, std::string("new\n")));
    EXPECT_EQ(append_to("one\n", "new"), std::pair(true, std::string("one\nnew\n")));
    EXPECT_EQ(append_to("one", "new"), std::pair(true, std::string("one\nnew\n")));
    EXPECT_EQ(append_to("one\n\n", ""), std::pair(true, std::string("one\n\n\n")));
}

TEST(AppendedLine, ThatDoesNotFitIsTakenBack) {
    for (const std::string& before : {std::string("one\n"), std::string("one")}) {
        for (const rlim_t room : {3U, 4U, 6U}) {
            const test::RunOptions full = {.limits = {{RLIMIT_FSIZE, room}},
                                           .ignored_signals = {SIGXFSZ}};
            EXPECT_EQ(append_to(before, "new", full), std::pair(false, before)) << room;
        }
    }
}

// Whether a file with the contents `before` could be rewritten, and the new contents.
std::pair<bool, std::string> rewritten(const std::string& before, const std::string& text,
                                       const test::RunOptions& options = {}) {
    PrivateRoot root;
    root.file(path, before);
    const auto write = [&] {
        const FileDescriptor fd = FileDescriptor::open(path, O_RDWR);
        return rewrite(fd.get(), text) ? 1 : 0;
    };
    const bool written = root.call(write, options).returned == 1;
    return {written, root.read(path)};
}

TEST(Rewriting, ReplacesTheContent) {
    for (const std::string& before : {std::string(), std::string("older and longer text\n")}) {
        for (const std::string& text : {std::string(), std::string("new\0text\n", 9)}) {
            EXPECT_EQ(rewritten(before, text), std::pair(true, text));
        }
    }
}

TEST(Rewriting, LeavesModeOwnerAndInode) {
    PrivateRoot root;
    root.file(path, "old\n", 0600);
    const std::string target = root.host_path(path);
    ASSERT_EQ(::chown(target.c_str(), 12, 34), 0);
    struct stat before = {};
    ::stat(target.c_str(), &before);
    EXPECT_TRUE(rewrite(FileDescriptor::open(target.c_str(), O_RDWR).get(), "new text\n"));
    struct stat after = {};
    ::stat(target.c_str(), &after);
    EXPECT_EQ(root.read(path), "new text\n");
    EXPECT_EQ(after.st_ino, before.st_ino);
    EXPECT_EQ(after.st_mode, before.st_mode);
    EXPECT_EQ(after.st_uid, 12U);
    EXPECT_EQ(after.st_gid, 34U);
}

TEST(Rewriting, FailsWhereNothingCanBeWritten) {
    EXPECT_FALSE(rewrite(FileDescriptor::open("/dev/full", O_RDWR).get(), "new\n"));
    EXPECT_FALSE(rewrite(-1, "new\n"));
}

TEST(Rewriting, ThatDoesNotFitLeavesTheFileAsItWas) {
    const test::RunOptions full = {.limits = {{RLIMIT_FSIZE, 4096}}};
    EXPECT_EQ(rewritten("old\n", std::string(5000, 'n'), full),
              std::pair(false, std::string("old\n")));
}

TEST(Rewriting, WorksOnAFileSystemThatCannotReserveSpace) {
    PrivateRoot root;
    root.file(path, std::string(9000, 'o'));
    const test::Result result = root.call([] {
        test::refuse_calls({{SYS_fallocate, EOPNOTSUPP}});
        const FileDescriptor fd = FileDescriptor::open(path, O_RDWR);
        return rewrite(fd.get(), std::string(20000, 'n')) ? 1 : 0;
    });
    EXPECT_EQ(result.returned, 1);
    EXPECT_EQ(root.read(path), std::string(20000, 'n'));
}

TEST(NameOfAnOpenFile, IsItsOwnUntilTheFileIsReplaced) {
    PrivateRoot root;
    root.file(path, "");
    const std::string real = root.host_path(path);
    const FileDescriptor fd = FileDescriptor::open(real.c_str(), O_RDONLY);
    EXPECT_TRUE(names_open_file(real.c_str(), fd.get()));
    std::filesystem::rename(real, real + ".0");
    EXPECT_FALSE(names_open_file(real.c_str(), fd.get()));
    root.file(path, "");
    EXPECT_FALSE(names_open_file(real.c_str(), fd.get()));
    EXPECT_TRUE(names_open_file((real + ".0").c_str(), fd.get()));
    EXPECT_FALSE(names_open_file(real.c_str(), -1));
}

TEST(DirectoryEntries, AreAllButTheDirectoryAndItsParent) {
    PrivateRoot root;
    root.file("/tmp/d/b", "")
        .file("/tmp/d/a", "")
        .file("/tmp/d/.hidden", "")
        .file("/tmp/d/...", "");
    EXPECT_THAT(*directory_entries(root.host_path("/tmp/d").c_str()),
                UnorderedElementsAre("a", "b", ".hidden", "..."));
}

TEST(DirectoryEntries, ComeInTheDirectorysOwnOrder) {
    PrivateRoot root;
    for (int number = 0; number < 50; ++number) {
        root.file("/tmp/d/" + std::to_string(number * 7919 % 1000), "");
    }
    const std::string real = root.host_path("/tmp/d");
    std::vector<std::string> order;
    for (const auto& entry : std::filesystem::directory_iterator(real)) {
        order.push_back(entry.path().filename());
    }
    EXPECT_EQ(*directory_entries(real.c_str()), order);
}

TEST(DirectoryEntries, OfAnEmptyDirectoryAreNone) {
    PrivateRoot root;
    root.directory("/tmp/d");
    EXPECT_THAT(*directory_entries(root.host_path("/tmp/d").c_str()), IsEmpty());
}

TEST(DirectoryEntries, OfAMissingDirectoryAreNothing) {
    errno = 0;
    EXPECT_EQ(directory_entries("/missing"), std::nullopt);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(directory_entries("/dev/null"), std::nullopt);
}

} // namespace
} // namespace zav
