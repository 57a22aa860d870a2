// SPDX-License-Identifier: MIT
#include "run_state.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <string_view>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zav::test {
namespace {

[[noreturn]] void fail(const std::string& what) {
    throw std::runtime_error("private root: " + what + ": " + std::strerror(errno));
}

struct Pipe {
    int from = -1;
    int to = -1;
};

Pipe make_pipe() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        fail("cannot make a pipe");
    }
    return {ends[0], ends[1]};
}

int input_holding(std::string_view text) {
    if (text.empty()) {
        return open("/dev/null", O_RDONLY | O_CLOEXEC);
    }
    const int descriptor = memfd_create("input", MFD_CLOEXEC);
    if (descriptor < 0 || write(descriptor, text.data(), text.size()) < 0 ||
        lseek(descriptor, 0, SEEK_SET) != 0) {
        fail("cannot prepare standard input");
    }
    return descriptor;
}

Progress* shared_progress() {
    void* memory =
        mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        fail("cannot share memory");
    }
    return static_cast<Progress*>(memory);
}

} // namespace

StartedRun::State::~State() {
    if (first_process > 0) {
        kill(first_process, SIGKILL);
        waitpid(first_process, nullptr, 0);
    }
    for (const int descriptor : {process_descriptor, out, err}) {
        if (descriptor >= 0) {
            close(descriptor);
        }
    }
    if (progress != nullptr) {
        munmap(progress, sizeof *progress);
    }
}

void StartedRun::State::start(const Launch& launch) {
    std::fflush(nullptr); // otherwise a child of call() would write its copies of these buffers
    progress = shared_progress();
    run_folder = launch.run_folder;
    allow_unexpected = launch.allow_unexpected;
    returns = launch.function && !launch.options.ends_by_signal;
    deadline = std::chrono::steady_clock::now() + launch.options.time_limit;
    const Pipe output = make_pipe();
    const Pipe errors = make_pipe();
    const Pipe go = make_pipe();
    const int input = input_holding(launch.options.input);
    first_process = fork_into_namespaces();
    if (first_process == 0) {
        close(go.to);
        run_as_first_process(launch, {go.from, input, output.to, errors.to}, *progress);
    }
    for (const int descriptor : {input, output.to, errors.to, go.from}) {
        close(descriptor);
    }
    out = output.from;
    err = errors.from;
    process_descriptor = static_cast<int>(syscall(SYS_pidfd_open, first_process, 0));
    map_ids(first_process);
    if (process_descriptor < 0 || write(go.to, "g", 1) != 1) {
        fail("cannot start the run");
    }
    close(go.to);
}

} // namespace zav::test
