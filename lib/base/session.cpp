// SPDX-License-Identifier: MIT
#include "base/session.h"

#include "base/command.h"
#include "base/file.h"
#include "base/process.h"
#include "base/text.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace zav {

namespace {

constinit thread_local SessionHooks* thread_session = nullptr;

/// What a tool may write to standard error in all: a file in memory has no end of its own.
constexpr off_t error_room = 65536;

/// A file in memory for a tool's standard error; none when there is no room for it.
FileDescriptor error_file() {
    constexpr int behind_standard_descriptors = 3;
    const FileDescriptor made(
        static_cast<int>(::memfd_create("errors", MFD_CLOEXEC | MFD_ALLOW_SEALING)));
    if (!made || ::ftruncate(made.get(), error_room) != 0 ||
        ::fcntl(made.get(), F_ADD_SEALS, F_SEAL_GROW) != 0) {
        return {};
    }
    // It must not be one of those that the tool is about to get.
    return FileDescriptor(::fcntl(made.get(), F_DUPFD_CLOEXEC, behind_standard_descriptors));
}

/// The end of what was written into such a file.
std::string end_of_errors(const FileDescriptor& file) {
    const off_t size = file ? ::lseek(file.get(), 0, SEEK_CUR) : 0;
    const off_t begin = std::max<off_t>(0, size - static_cast<off_t>(most_error_output));
    std::string text(static_cast<std::size_t>(std::max<off_t>(0, size - begin)), '\0');
    const ssize_t count = ::pread(file.get(), text.data(), text.size(), begin);
    text.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return std::string(trim_right(text));
}

/// A command without the redirection of its output, and without uneven blanks: two that differ in
/// nothing else are the same.
std::string bare_command(std::string_view command) {
    std::string bare;
    for (const std::string_view word : split(command.substr(0, command.find(" >")), " ")) {
        bare.append(bare.empty() ? "" : " ").append(word);
    }
    return bare;
}

/// Puts an answer that was kept into the file of the one who asks again.
bool write_answer(const char* path, const std::string& output) {
    const FileDescriptor fd = FileDescriptor::open_regular(path, O_WRONLY | O_TRUNC);
    return fd && write_all(fd.get(), output);
}

} // namespace

SessionHooks* current_session() {
    return thread_session;
}

SessionScope::SessionScope(SessionHooks& entered)
    : before_(std::exchange(thread_session, &entered)) {}

SessionScope::~SessionScope() {
    thread_session = before_;
}

bool Session::take_line(const char* level, const std::string& text) {
    const bool is_repeated = std::exchange(is_repeated_, false);
    const bool is_new = kind_ == Kind::action || (!is_repeated && told_.insert(text).second);
    if (is_new && settings_.log != nullptr) {
        const auto severity =
            std::string_view(level) == "ERROR" ? Severity::error : Severity::debug;
        settings_.log(settings_.log_user, severity, std::string(trim_right(text)).c_str());
    }
    return is_new && settings_.logs_to_file;
}

void Session::note_code(int code) {
    add_failure({"", code});
}

void Session::note_command(std::string_view command, WaitStatus status) {
    std::string bare = bare_command(command);
    // One that was refused has not come to run().
    if (status == WaitStatus::not_started && last_failure_.command != bare) {
        last_failure_ = {bare, status, ""};
    }
    // What is told of it differs in the name of the file that it was to write.
    is_repeated_ = kind_ == Kind::reading && !told_.insert("command " + bare).second;
    if (!is_repeated_) {
        add_failure({std::move(bare), number_of(Code::command_failed)});
    }
}

WaitStatus Session::run(std::string_view command) {
    if (settings_.progress != nullptr) {
        settings_.progress(settings_.progress_user, bare_command(command).c_str(), steps_);
    }
    ++steps_;
    return run_and_keep_errors(command);
}

WaitStatus Session::run_captured(std::string_view command, const char* path) {
    if (kind_ == Kind::action) {
        return run_and_keep_errors(command);
    }
    const std::string bare = bare_command(command);
    if (const auto known = answers_.find(bare); known != answers_.end()) {
        return write_answer(path, known->second.output) ? known->second.status
                                                        : WaitStatus::not_started;
    }
    const WaitStatus status = run_and_keep_errors(command);
    const int error = errno;
    // What cannot be read now, its reader will not be able to read either: it is not run again.
    answers_.emplace(bare, Answer{status, read_file(path).value_or("")});
    errno = error;
    return status;
}

WaitStatus Session::run_and_keep_errors(std::string_view command) {
    const FileDescriptor errors = error_file();
    const ProgramLimits limits = {true, errors.get(), settings_.command_time_limit};
    bool was_ended = false;
    const WaitStatus status = run_command_within(command, limits, was_ended);
    const int error = was_ended ? ETIMEDOUT : errno;
    if (failed(status)) {
        last_failure_ = {bare_command(command), status, end_of_errors(errors)};
    }
    if (was_ended) {
        log_error("'%s' was ended: it took longer than %lld ms", std::string(command).c_str(),
                  static_cast<long long>(settings_.command_time_limit.count()));
    }
    errno = error;
    return status;
}

void Session::add_failure(SessionFailure failure) {
    if (kind_ == Kind::reading && std::ranges::find(failures_, failure) == failures_.end()) {
        failures_.push_back(std::move(failure));
    }
}

} // namespace zav
