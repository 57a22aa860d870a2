// SPDX-License-Identifier: MIT
// stop_at_writes ROOT DISK... -- COMMAND... - runs a command and stops it, with everything that it
// has started, before each system call that writes: before a file is made, written, cut, synced,
// renamed, linked or removed, before a program is started, and after the command's end.
//
// Each stop is a line "cut NUMBER STATE CALL PATH" on standard output. STATE is "same" when the
// disks (names below /sys/block) hold what they held at the stop before. Otherwise it is "new", and
// the command goes on once there is a file $CUT_GO.NUMBER: meanwhile the caller copies the
// disks. With $CUT_COMMIT set the file system of the folder ROOT commits its
// journal at each stop, as its timer may do at any moment; what it has not been told to write it
// keeps. The last line is "end STATUS"; the exit status is 0 when the command could be followed.
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <map>
#include <span>
#include <string>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

/// Where a call has the file that it changes.
enum class Target { first_path, second_path, descriptor, open_flags, none };

struct WriteCall {
    long number;
    const char* name;
    Target target;
};

constexpr std::array calls = {
    WriteCall{SYS_open, "open", Target::first_path},
    WriteCall{SYS_openat, "openat", Target::second_path},
    WriteCall{SYS_creat, "creat", Target::first_path},
    WriteCall{SYS_write, "write", Target::descriptor},
    WriteCall{SYS_pwrite64, "pwrite", Target::descriptor},
    WriteCall{SYS_writev, "writev", Target::descriptor},
    WriteCall{SYS_sendfile, "sendfile", Target::descriptor},
    WriteCall{SYS_copy_file_range, "copy_file_range", Target::none},
    WriteCall{SYS_ftruncate, "ftruncate", Target::descriptor},
    WriteCall{SYS_fallocate, "fallocate", Target::descriptor},
    WriteCall{SYS_fsync, "fsync", Target::descriptor},
    WriteCall{SYS_fdatasync, "fdatasync", Target::descriptor},
    WriteCall{SYS_syncfs, "syncfs", Target::descriptor},
    WriteCall{SYS_fchmod, "fchmod", Target::descriptor},
    WriteCall{SYS_fchown, "fchown", Target::descriptor},
    WriteCall{SYS_rename, "rename", Target::first_path},
    WriteCall{SYS_renameat, "renameat", Target::second_path},
    WriteCall{SYS_renameat2, "renameat2", Target::second_path},
    WriteCall{SYS_link, "link", Target::first_path},
    WriteCall{SYS_linkat, "linkat", Target::second_path},
    WriteCall{SYS_symlink, "symlink", Target::first_path},
    WriteCall{SYS_unlink, "unlink", Target::first_path},
    WriteCall{SYS_unlinkat, "unlinkat", Target::second_path},
    WriteCall{SYS_mkdir, "mkdir", Target::first_path},
    WriteCall{SYS_rmdir, "rmdir", Target::first_path},
    WriteCall{SYS_execve, "execve", Target::first_path},
};

/// A filter that lets everything run but these calls, which the tracer sees first.
void trap_writes() {
    std::vector<sock_filter> filter;
    filter.push_back(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)));
    for (const WriteCall& call : calls) {
        filter.push_back(
            BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<std::uint32_t>(call.number), 0, 1));
        filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_TRACE));
    }
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    const sock_fprog program = {static_cast<unsigned short>(filter.size()), filter.data()};
    if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
        ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0) {
        std::perror("stop_at_writes: seccomp");
        std::_Exit(125);
    }
}

std::string link_text(const std::string& path) {
    std::array<char, 512> text = {};
    const ssize_t length = ::readlink(path.c_str(), text.data(), text.size());
    return length > 0 ? std::string(text.data(), static_cast<std::size_t>(length)) : "";
}

/// A read ends where the process has no further page, which is behind the end of the text.
std::string text_at(pid_t process, unsigned long long address) {
    std::array<char, 512> text = {};
    const std::string memory = "/proc/" + std::to_string(process) + "/mem";
    const int fd = ::open(memory.c_str(), O_RDONLY | O_CLOEXEC);
    const ssize_t length = ::pread(fd, text.data(), text.size() - 1, static_cast<off_t>(address));
    ::close(fd);
    return length > 0 ? text.data() : "?";
}

/// Only what may reach a disk matters: no pipes, devices and files of the kernel.
bool is_kept(const std::string& path) {
    for (const char* prefix : {"/dev/", "/proc/", "/sys/", "/run/", "pipe:", "socket:", "anon_"}) {
        if (path.starts_with(prefix)) {
            return false;
        }
    }
    return true;
}

class Follower {
  public:
    Follower(const char* root, std::span<char*> disks)
        : root_(::open(root, O_RDONLY | O_DIRECTORY)), disks_(disks.begin(), disks.end()) {
        const char* go = std::getenv("CUT_GO");
        go_ = go != nullptr ? go : "go";
        before_ = writes();
    }

    /// Follows a process that has stopped itself, to the end of all that it starts.
    int follow(pid_t first);

  private:
    void stop(const char* call, const std::string& path);
    void look(pid_t process);
    [[nodiscard]] std::string writes() const;

    int root_;
    std::vector<std::string> disks_;
    std::string go_;
    std::string before_;
    int count_ = 0;
};

/// What the disks have been told to write and to discard so far.
std::string Follower::writes() const {
    std::string all;
    for (const std::string& disk : disks_) {
        std::ifstream file("/sys/block/" + disk + "/stat");
        std::array<std::string, 17> field;
        for (std::string& text : field) {
            file >> text;
        }
        // Requests and sectors written, then discarded.
        for (const std::size_t index : {4U, 6U, 11U, 13U}) {
            all += field.at(index) + " ";
        }
    }
    return all;
}

void Follower::stop(const char* call, const std::string& path) {
    if (std::getenv("CUT_COMMIT") != nullptr) {
        constexpr unsigned long checkpoint = _IOW('f', 43, std::uint32_t);
        std::uint32_t flags = 0;
        if (::ioctl(root_, checkpoint, &flags) != 0) {
            std::perror("stop_at_writes: commit");
            std::exit(125);
        }
    }
    std::string now = writes();
    const bool is_new = count_ == 0 || now != before_;
    ++count_;
    before_ = std::move(now);
    std::printf("cut %d %s %s %s\n", count_, is_new ? "new" : "same", call, path.c_str());
    std::fflush(stdout);
    const std::string go = go_ + "." + std::to_string(count_);
    while (is_new && ::access(go.c_str(), F_OK) != 0) {
        ::usleep(2000);
    }
}

void Follower::look(pid_t process) {
    user_regs_struct registers = {};
    if (::ptrace(PTRACE_GETREGS, process, nullptr, &registers) != 0) {
        return;
    }
    for (const WriteCall& call : calls) {
        if (static_cast<long>(registers.orig_rax) != call.number) {
            continue;
        }
        std::string path;
        if (call.target == Target::first_path) {
            path = text_at(process, registers.rdi);
        } else if (call.target == Target::second_path) {
            path = text_at(process, registers.rsi);
        } else if (call.target == Target::descriptor) {
            path = link_text("/proc/" + std::to_string(process) + "/fd/" +
                             std::to_string(registers.rdi));
        }
        const bool opens = call.number == SYS_open || call.number == SYS_openat;
        const auto flags = call.number == SYS_open ? registers.rsi : registers.rdx;
        if (is_kept(path) && (!opens || (flags & (O_CREAT | O_TRUNC)) != 0)) {
            stop(call.name, path);
        }
        return;
    }
}

int Follower::follow(pid_t first) {
    int last = 0;
    int status = 0;
    pid_t process = 0;
    while ((process = ::waitpid(-1, &status, __WALL)) > 0) {
        if (WIFEXITED(status) || WIFSIGNALED(status)) {
            if (process == first) {
                last = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
                stop("exit", std::to_string(last));
                std::printf("end %d\n", last);
                std::fflush(stdout);
            }
            continue;
        }
        long signal = 0;
        if (status >> 8 == (SIGTRAP | (PTRACE_EVENT_SECCOMP << 8))) {
            look(process);
        } else if (status >> 16 == 0 && WSTOPSIG(status) != SIGSTOP) {
            signal = WSTOPSIG(status);
        }
        ::ptrace(PTRACE_CONT, process, nullptr, signal);
    }
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    const std::span arguments(argv, static_cast<std::size_t>(argc));
    std::size_t command = 2;
    while (command < arguments.size() && std::strcmp(arguments[command], "--") != 0) {
        ++command;
    }
    if (command + 1 >= arguments.size()) {
        std::fputs("usage: stop_at_writes ROOT DISK... -- COMMAND...\n", stderr);
        return 2;
    }
    Follower follower(arguments[1], arguments.subspan(2, command - 2));
    const pid_t child = ::fork();
    if (child == 0) {
        const int null = ::open("/dev/null", O_RDWR);
        const char* output = std::getenv("CUT_OUTPUT");
        const int file =
            output != nullptr ? ::open(output, O_WRONLY | O_CREAT | O_APPEND, 0644) : null;
        ::dup2(null, STDIN_FILENO);
        ::dup2(file, STDOUT_FILENO);
        ::dup2(file, STDERR_FILENO);
        ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        ::raise(SIGSTOP);
        trap_writes();
        ::execv(arguments[command + 1], &arguments[command + 1]);
        std::_Exit(127);
    }
    int status = 0;
    if (::waitpid(child, &status, 0) != child || !WIFSTOPPED(status)) {
        return 125;
    }
    constexpr long options = PTRACE_O_TRACESECCOMP | PTRACE_O_TRACEFORK | PTRACE_O_TRACEVFORK |
                             PTRACE_O_TRACECLONE | PTRACE_O_TRACEEXEC | PTRACE_O_EXITKILL;
    ::ptrace(PTRACE_SETOPTIONS, child, nullptr, options);
    ::ptrace(PTRACE_CONT, child, nullptr, 0L);
    return follower.follow(child);
}
