// SPDX-License-Identifier: MIT
// Command lines for the option parser: parsed in the test's own process, or in a private root if
// parsing may end the process or write to the log.
#pragma once

#include "applets/options.h"
#include "private_root.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <getopt.h>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

namespace zav::test {

// Printing the usage ends the process with status 0, which would look like a passed test. While an
// object of this class exists, it is a failure.
class NoEndExpected {
  public:
    NoEndExpected() {
        [[maybe_unused]] static const int registered = std::atexit([] {
            if (armed) {
                std::fputs("the parsing ended the test's process\n", stderr);
                std::_Exit(1);
            }
        });
        armed = true;
    }
    NoEndExpected(const NoEndExpected&) = delete;
    NoEndExpected& operator=(const NoEndExpected&) = delete;
    ~NoEndExpected() { armed = false; }

  private:
    static inline bool armed = false;
};

// An argument vector: the applet's name, then `words`.
class CommandLine {
  public:
    CommandLine(std::vector<std::string> words) : words_(std::move(words)) {
        words_.insert(words_.begin(), "applet");
        for (std::string& word : words_) {
            arguments_.push_back(word.data());
        }
        arguments_.push_back(nullptr);
    }
    CommandLine(const CommandLine&) = delete;
    CommandLine& operator=(const CommandLine&) = delete;

    int count() const { return static_cast<int>(words_.size()); }
    char** arguments() { return arguments_.data(); }

    std::uint32_t parse(const OptionSettings& settings,
                        std::initializer_list<OptionTarget> targets = {}) {
        const NoEndExpected guard;
        return parse_or_end(settings, targets);
    }

    // The same if parsing may end the process.
    std::uint32_t parse_or_end(const OptionSettings& settings,
                               std::initializer_list<OptionTarget> targets = {}) {
        optind = 0; // getopt starts over
        return zav_getopt(count(), arguments(), settings, targets);
    }

    // After parsing.
    std::vector<std::string> operands() const {
        return {arguments_.begin() + optind, arguments_.end() - 1};
    }

  private:
    std::vector<std::string> words_;
    std::vector<char*> arguments_;
};

inline std::uint32_t parse(const OptionSettings& settings, std::vector<std::string> words,
                           std::initializer_list<OptionTarget> targets = {}) {
    return CommandLine(std::move(words)).parse(settings, targets);
}

// The outcome of parsing in a private root.
struct Outcome {
    bool showed_usage = false; // and the process ended with status 0
    std::uint32_t flags = 0;
    std::string diagnostics; // getopt's
    std::vector<LogLine> log;
};

inline Outcome parse_apart(const OptionSettings& settings, std::vector<std::string> words,
                           std::initializer_list<OptionTarget> targets = {}) {
    PrivateRoot root;
    const Result result = root.call(
        [&] { return static_cast<int>(CommandLine(words).parse_or_end(settings, targets)); });
    Outcome outcome;
    outcome.showed_usage = !result.has_returned && result.exit_status == 0 &&
                           result.out.starts_with("zavbox 0.1.0\n\nUsage: ");
    outcome.flags = static_cast<std::uint32_t>(result.returned);
    outcome.diagnostics = result.err;
    if (root.exists("/var/log/log.libzav")) {
        outcome.log = root.log();
    }
    return outcome;
}

inline bool shows_usage(const OptionSettings& settings, std::vector<std::string> words) {
    return parse_apart(settings, std::move(words)).showed_usage;
}

} // namespace zav::test
