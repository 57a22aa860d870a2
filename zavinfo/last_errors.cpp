// SPDX-License-Identifier: MIT
#include "zavinfo/last_errors.h"

#include "zav/zav.h"
#include "zavinfo/text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

namespace zavinfo {

namespace {

constexpr std::size_t stamp_size = 15; // of "Nov 20 10:11:12"
constexpr off_t end_size = 65536;

/// What follows the mark, and nothing where there is none.
std::optional<std::string_view> behind(std::string_view text, std::string_view mark) {
    const std::size_t at = text.find(mark);
    return at != std::string_view::npos ? std::optional(text.substr(at + mark.size()))
                                        : std::nullopt;
}

std::optional<int> leading_number(std::string_view text) {
    int number = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
    return read.ec == std::errc() ? std::optional(number) : std::nullopt;
}

/// Of system("COMMAND") return normal with exit(3) for 'REASON'.
void explain_command(std::string_view message, LoggedError& error) {
    constexpr int not_found = 127;
    const std::string_view rest = *behind(message, "system(\"");
    const std::string command(rest.substr(0, rest.find("\")")));
    const auto status = leading_number(behind(rest, " with exit(").value_or(""));
    const bool was_killed = behind(rest, "return unnormal").has_value();
    error.text = "The command \"" + command + "\" " +
                 (was_killed ? "was killed"
                  : status   ? "failed with status " + std::to_string(*status)
                             : "failed");
    if (status == not_found && !was_killed) {
        error.advice = "The program is not there, or not executable: `zavinfo --preflight` tells "
                       "what is missing and what it is good for.";
    }
}

/// Of FUNCTION[LINE]: return with -411, and FUNCTION:LINE return -411 with REASON.
void explain_code(std::string_view message, int code, LoggedError& error) {
    error.text = std::string(message.substr(0, message.find_first_of("[:"))) + " ended with " +
                 std::to_string(code) + ": " + zav_strerror(code);
    error.advice = zav_error_advice(code);
}

/// Of STAMP VERSION ERROR PROCESS[NUMBER]:MESSAGE.
std::optional<LoggedError> error_of(std::string_view line) {
    const auto tail = behind(line, " ERROR ");
    const auto message = tail ? behind(*tail, "]:") : std::nullopt;
    if (line.size() <= stamp_size || !message || message->empty()) {
        return std::nullopt;
    }
    LoggedError error{std::string(line.substr(0, stamp_size)), std::string(*message), "", 1};
    auto code = leading_number(behind(*message, "]: return with ").value_or(""));
    if (!code && behind(*message, " with ")) {
        code = leading_number(behind(*message, " return ").value_or(""));
    }
    if (message->starts_with("system(\"")) {
        explain_command(*message, error);
    } else if (code) {
        explain_code(*message, *code, error);
    }
    return error;
}

} // namespace

std::vector<LoggedError> last_errors(std::string_view log, std::size_t most) {
    std::vector<LoggedError> errors;
    std::vector<std::string> lines = words(log, "\n");
    std::ranges::reverse(lines);
    for (const std::string& line : lines) {
        auto error = error_of(line);
        if (!error) {
            continue;
        }
        if (!errors.empty() && errors.back().text == error->text) {
            ++errors.back().count;
        } else if (errors.size() == most) {
            break;
        } else {
            errors.push_back(std::move(*error));
        }
    }
    return errors;
}

std::string read_log_end() {
    const int fd = ::open(log_path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (fd < 0) {
        return "";
    }
    struct stat status = {};
    std::string text;
    if (::fstat(fd, &status) == 0 && S_ISREG(status.st_mode)) {
        ::lseek(fd, std::max<off_t>(0, status.st_size - end_size), SEEK_SET);
        std::array<char, 4096> buffer = {};
        ssize_t size = 0;
        while ((size = ::read(fd, buffer.data(), buffer.size())) > 0) {
            text.append(buffer.data(), static_cast<std::size_t>(size));
        }
    }
    ::close(fd);
    return text;
}

} // namespace zavinfo
