// SPDX-License-Identifier: MIT
#include "run.h"

#include "launch.h"
#include "run_state.h"
#include "standin/command_text.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <poll.h>
#include <regex>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace zav::test {
namespace {

std::string content_of(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

// Reads what is available; closes the descriptor at the end of input.
void take(int& descriptor, std::string& to) {
    char buffer[65536];
    const ssize_t count = read(descriptor, buffer, sizeof buffer);
    if (count > 0) {
        to.append(buffer, static_cast<size_t>(count));
    } else if (count == 0 || errno != EINTR) {
        close(descriptor);
        descriptor = -1;
    }
}

void report_unexpected(const std::string& folder) {
    for (const std::string& call : split_records(content_of(folder + "/unexpected"))) {
        ADD_FAILURE() << "stand-in tool without a rule for this command: " << call << "\n";
    }
}

void report_failures(const std::string& folder) {
    const std::vector<std::string> parts = split_records(content_of(folder + "/failures"));
    for (size_t at = 0; at + 2 < parts.size(); at += 3) {
        ADD_FAILURE_AT(parts[at].c_str(), std::atoi(parts[at + 1].c_str()))
            << "inside call(): " << parts[at + 2];
    }
}

void report_sanitizers(const std::string& folder) {
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().filename().string().starts_with("sanitizer.")) {
            ADD_FAILURE() << "sanitizer report of the run:\n" << content_of(entry.path());
        }
    }
}

// Lines that a coverage build prints when it cannot save its counters (other uid, file limit).
std::string without_coverage_noise(const std::string& text) {
    if (folder_of_counters().empty() || text.find("profiling") == std::string::npos) {
        return text;
    }
    return std::regex_replace(text, std::regex("(libgcov )?profiling[^\\n:]*:[^\\n]*\\n"), "");
}

} // namespace

std::vector<std::string> Result::commands_without_redirection() const {
    std::vector<std::string> texts;
    for (const std::string& command : commands) {
        texts.push_back(without_redirections(command));
    }
    return texts;
}

std::vector<std::string> Result::commands_with_templates() const {
    static const std::regex random_name("(/tmp/[^ /]*\\.)[A-Za-z0-9]{6}(?![A-Za-z0-9])");
    std::vector<std::string> texts;
    for (const std::string& command : commands) {
        texts.push_back(std::regex_replace(command, random_name, "$1XXXXXX"));
    }
    return texts;
}

StartedRun::StartedRun(std::unique_ptr<State> state) : state_(std::move(state)) {}
StartedRun::StartedRun(StartedRun&& other) noexcept = default;
StartedRun& StartedRun::operator=(StartedRun&& other) noexcept = default;
StartedRun::~StartedRun() = default;

pid_t StartedRun::pid() const {
    return state_ ? std::atomic_ref(state_->progress->pid).load() : 0;
}

void StartedRun::signal(int number) {
    if (!state_ || state_->first_process < 0) {
        throw std::logic_error("signal() for a run that has ended");
    }
    pollfd end = {state_->process_descriptor, POLLIN, 0};
    while (pid() == 0 && poll(&end, 1, 1) == 0) {
    }
    state_->progress->signal_to_send = number;
    kill(state_->first_process, SIGUSR1);
}

Result StartedRun::wait() {
    if (!state_ || state_->first_process < 0) {
        throw std::logic_error("wait() for a run that has been waited for");
    }
    Result result;
    const bool in_time = state_->collect(result.out, result.err);
    const Progress& progress = *state_->progress;
    if (progress.error[0] != '\0') {
        throw std::runtime_error(progress.error.data());
    }
    result.pid = progress.pid;
    result.commands = split_records(content_of(state_->run_folder + "/journal"));
    result.err = without_coverage_noise(result.err);
    result.left_processes = progress.left_processes;
    if (progress.ended && WIFEXITED(progress.wait_status)) {
        result.exit_status = WEXITSTATUS(progress.wait_status);
    }
    if (progress.ended && WIFSIGNALED(progress.wait_status)) {
        result.signal = WTERMSIG(progress.wait_status);
    }
    result.returned = progress.returned;
    result.has_returned = progress.has_returned;
    if (!in_time) {
        ADD_FAILURE() << "the run took more than its time limit and was killed; last command: "
                      << (result.commands.empty() ? "none" : result.commands.back());
    }
    if (!state_->allow_unexpected) {
        report_unexpected(state_->run_folder);
    }
    report_sanitizers(state_->run_folder);
    report_failures(state_->run_folder);
    if (state_->returns && !progress.has_returned && result.signal != 0 && in_time &&
        progress.signal_to_send == 0) {
        ADD_FAILURE() << "signal " << result.signal << " ended call() before it returned:\n"
                      << result.err;
    }
    if (progress.has_returned && (!progress.ended || progress.wait_status != 0) && in_time) {
        ADD_FAILURE() << "the process of call() ended badly after the function had returned:\n"
                      << result.err;
    }
    return result;
}

bool StartedRun::State::collect(std::string& text_out, std::string& text_err) {
    bool in_time = true;
    for (bool running = true; running;) {
        pollfd watched[] = {{process_descriptor, POLLIN, 0}, {out, POLLIN, 0}, {err, POLLIN, 0}};
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        const int timeout = in_time ? static_cast<int>(std::max<long>(left.count(), 0)) : -1;
        const int ready = poll(watched, 3, timeout);
        if (ready == 0) {
            in_time = false;
            kill(first_process, SIGKILL);
        }
        if (ready <= 0) {
            continue;
        }
        if (watched[1].revents != 0) {
            take(out, text_out);
        }
        if (watched[2].revents != 0) {
            take(err, text_err);
        }
        running = (watched[0].revents & POLLIN) == 0;
    }
    while (out >= 0) {
        take(out, text_out);
    }
    while (err >= 0) {
        take(err, text_err);
    }
    waitpid(first_process, nullptr, 0);
    first_process = -1;
    return in_time;
}

} // namespace zav::test
