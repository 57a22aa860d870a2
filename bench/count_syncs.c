/* SPDX-License-Identifier: MIT
 * count_syncs FILE PROGRAM ARGV0 [ARGUMENT]... - runs a program and writes into the file how often
 * it, or what it starts, calls fsync, fdatasync or syncfs. */
#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <signal.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

static void trap_syncs(void) {
    struct sock_filter filter[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(struct seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_fsync, 2, 0),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_fdatasync, 1, 0),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_syncfs, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_TRACE),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const struct sock_fprog program = {sizeof filter / sizeof *filter, filter};
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
        prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0) {
        _exit(125);
    }
}

static pid_t start(char** words) {
    const pid_t child = fork();
    if (child == 0) {
        ptrace(PTRACE_TRACEME, 0, NULL, NULL);
        raise(SIGSTOP);
        trap_syncs();
        execv(words[0], words + 1);
        _exit(127);
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child || !WIFSTOPPED(status)) {
        exit(125);
    }
    ptrace(PTRACE_SETOPTIONS, child, NULL,
           PTRACE_O_TRACESECCOMP | PTRACE_O_TRACEFORK | PTRACE_O_TRACEVFORK | PTRACE_O_TRACECLONE |
               PTRACE_O_TRACEEXEC | PTRACE_O_EXITKILL);
    ptrace(PTRACE_CONT, child, NULL, 0);
    return child;
}

int main(int argc, char** argv) {
    if (argc < 4) {
        fputs("usage: count_syncs FILE PROGRAM ARGV0 [ARGUMENT]...\n", stderr);
        return 2;
    }
    const pid_t first = start(argv + 2);
    int calls = 0;
    int result = 0;
    int status = 0;
    pid_t process = 0;
    while ((process = waitpid(-1, &status, __WALL)) > 0) {
        if (WIFEXITED(status) || WIFSIGNALED(status)) {
            if (process == first) {
                result = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
                break;
            }
            continue;
        }
        long signal = 0;
        if (status >> 8 == (SIGTRAP | (PTRACE_EVENT_SECCOMP << 8))) {
            ++calls;
        } else if (status >> 16 == 0 && WSTOPSIG(status) != SIGSTOP) {
            signal = WSTOPSIG(status);
        }
        ptrace(PTRACE_CONT, process, NULL, signal);
    }
    FILE* file = fopen(argv[1], "w");
    if (file == NULL || fprintf(file, "%d\n", calls) < 0 || fclose(file) != 0) {
        return 125;
    }
    return result;
}
