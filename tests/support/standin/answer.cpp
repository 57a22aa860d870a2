// SPDX-License-Identifier: MIT
#include "answer.h"

#include "command_text.h"
#include "files.h"
#include "places.h"
#include "rule_format.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <string>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace zav::test {
namespace {

std::string_view base_name(std::string_view path) {
    return path.substr(path.rfind('/') + 1);
}

std::string joined(const std::vector<std::string>& words) {
    std::string text = words[0];
    for (size_t at = 1; at < words.size(); ++at) {
        text += " " + words[at];
    }
    return text;
}

// The texts that rules are matched against: the whole command text without its redirections, and
// the simple command in it with this tool's name and arguments; if there is none (because of an
// expansion, or a call from a snippet), the arguments joined by blanks.
std::vector<std::string> texts_of_call(char** argv) {
    std::vector<std::string> words;
    for (char** word = argv; *word != nullptr; ++word) {
        words.emplace_back(*word);
    }
    std::vector<std::string> texts;
    if (const char* text = std::getenv(places::text_variable); text != nullptr) {
        for (const std::string& command : simple_commands(text)) {
            const std::string bare = without_redirections(command);
            const std::vector<std::string> called = words_of(bare);
            if (called.size() == words.size() && base_name(called[0]) == base_name(words[0]) &&
                std::equal(called.begin() + 1, called.end(), words.begin() + 1)) {
                texts.push_back(bare);
            }
        }
    }
    if (texts.empty()) {
        texts.push_back(joined(words));
    }
    if (const char* text = std::getenv(places::text_variable); text != nullptr) {
        texts.push_back(without_redirections(text));
    }
    return texts;
}

// The first matching rule that still has an answer, and the answer; records the use. Concurrent
// calls get their answers one after the other.
std::optional<Answer> take_answer(const char* tool, const std::vector<std::string>& texts) {
    const LiftedLimits lifted;
    const int lock = open(places::uses, O_RDWR | O_APPEND | O_CLOEXEC);
    if (lock >= 0) {
        flock(lock, LOCK_EX);
    }
    const std::vector<std::string> uses = split_records(read_file(places::uses));
    std::optional<Answer> found;
    for (const RuleState& rule : rules_from_bytes(read_file(places::rules))) {
        const auto matches = [&rule](const std::string& text) { return rule.matches(text); };
        if (rule.tool != tool || std::none_of(texts.begin(), texts.end(), matches)) {
            continue;
        }
        const std::string number = std::to_string(rule.number);
        const auto used = static_cast<size_t>(std::count(uses.begin(), uses.end(), number));
        if (rule.spends && used >= rule.capacity()) {
            continue;
        }
        if (lock >= 0) {
            write_all(lock, record(number));
        }
        found = rule.answer(used);
        break;
    }
    if (lock >= 0) {
        close(lock);
    }
    return found;
}

int run_snippet(const std::string& snippet, char** argv) {
    std::vector<char*> arguments;
    std::string text = snippet;
    for (const char* word : {"sh", "-c"}) {
        arguments.push_back(const_cast<char*>(word));
    }
    arguments.push_back(text.data());
    for (char** word = argv; *word != nullptr; ++word) {
        arguments.push_back(*word);
    }
    arguments.push_back(nullptr);
    unsetenv(places::text_variable);
    signal(SIGCHLD, SIG_DFL);
    const pid_t child = fork();
    if (child == 0) {
        lift_limits(); // no tool stops half-way because its stand-in is a script that writes files
        execv(places::busybox, arguments.data());
        _exit(126);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

} // namespace

void write_filler(size_t count) {
    if (count == 0) {
        return;
    }
    std::string line(63, 'x');
    line += '\n';
    std::string block;
    while (block.size() < 65536) {
        block += line;
    }
    for (; count > block.size(); count -= block.size()) {
        if (!write_all(STDOUT_FILENO, block)) {
            return;
        }
    }
    write_all(STDOUT_FILENO, std::string_view(block).substr(0, count));
}

void die_of(int number) {
    signal(number, SIG_DFL);
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, number);
    sigprocmask(SIG_UNBLOCK, &set, nullptr);
    kill(getpid(), number);
}

int answer_call(char** argv) {
    const std::vector<std::string> texts = texts_of_call(argv);
    const std::optional<Answer> answer = take_answer(argv[0], texts);
    if (!answer) {
        append_to_file(places::unexpected, record(std::string(argv[0]) + ": " + texts.front()));
        return 127;
    }
    int status = 0;
    if (!answer->snippet.empty()) {
        status = run_snippet(answer->snippet, argv);
    }
    write_all(STDOUT_FILENO, answer->output);
    write_filler(answer->filler);
    write_all(STDERR_FILENO, answer->errors);
    if (answer->signal != 0) {
        die_of(answer->signal);
    }
    return answer->exit_status >= 0 ? answer->exit_status : status;
}

} // namespace zav::test
