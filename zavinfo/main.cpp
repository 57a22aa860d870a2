// SPDX-License-Identifier: MIT
// zavinfo tells what there is. Each output is a function from a snapshot to a text; only this file
// takes snapshots, looks at the terminal, and prints.
#include "build_id.h"
#include "zavinfo/check.h"
#include "zavinfo/explain.h"
#include "zavinfo/json.h"
#include "zavinfo/metrics.h"
#include "zavinfo/options.h"
#include "zavinfo/page.h"
#include "zavinfo/preflight.h"
#include "zavinfo/text.h"
#include "zavinfo/tree.h"
#include "zavinfo/whole_file.h"

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <string>
#include <string_view>
#include <thread>
#include <unistd.h>

namespace zavinfo {

namespace {

// Statuses, but of --check and --preflight, whose are those of plug-ins.
constexpr int complete = 0;
constexpr int failed = 1; // nothing was told
constexpr int misused = 2;
constexpr int incomplete = 3; // something could not be read; the rest is told

constexpr int plugin_unknown = 3;

bool print(std::string_view text) {
    const bool is_written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
    return std::fflush(stdout) == 0 && is_written;
}

/// The first of three variables that is set decides on the characters of a terminal.
bool has_unicode() {
    for (const char* name : {"LC_ALL", "LC_CTYPE", "LANG"}) {
        const char* value = std::getenv(name);
        if (value != nullptr && *value != '\0') {
            const std::string locale = lower(value);
            return locale.find("utf-8") != std::string::npos ||
                   locale.find("utf8") != std::string::npos;
        }
    }
    return false;
}

bool is_set(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr && *value != '\0';
}

Look look_of_terminal() {
    const char* terminal = std::getenv("TERM");
    const bool is_dumb = terminal == nullptr || std::string_view(terminal) == "dumb";
    return {isatty(STDOUT_FILENO) == 1 && !is_dumb && !is_set("NO_COLOR"), has_unicode()};
}

volatile std::sig_atomic_t interruption = 0; // the signal that has come

/// While the library runs a command it holds interrupts back, and then passes on what is handled
/// alone. What has come takes effect at the end of this, when nothing is left in /tmp.
class LateInterrupts {
  public:
    LateInterrupts() {
        struct sigaction note = {};
        note.sa_handler = [](int number) { interruption = number; };
        note.sa_flags = SA_RESTART;
        for (std::size_t at = 0; at < numbers.size(); ++at) {
            ::sigaction(numbers[at], nullptr, &before_[at]);
            if (before_[at].sa_handler == SIG_DFL) {
                ::sigaction(numbers[at], &note, nullptr);
            }
        }
    }
    LateInterrupts(const LateInterrupts&) = delete;
    LateInterrupts& operator=(const LateInterrupts&) = delete;
    ~LateInterrupts() {
        for (std::size_t at = 0; at < numbers.size(); ++at) {
            ::sigaction(numbers[at], &before_[at], nullptr);
        }
        if (interruption != 0) {
            std::raise(interruption);
        }
    }

  private:
    static constexpr std::array<int, 4> numbers = {SIGINT, SIGQUIT, SIGTERM, SIGHUP};
    std::array<struct sigaction, numbers.size()> before_ = {};
};

zav::Snapshot take_snapshot(const Options& options) {
    const LateInterrupts interrupts;
    zav::Context context;
    // What could not be read is told; a reader that comes every minute must not fill the log.
    context.log_to(ZAV_LOG_NOWHERE);
    context.limit_commands_to(options.time_limit);
    return zav::Snapshot(context, what_for(options.parts, options.asks_disks));
}

std::string text_of(const zav::View& view, const Options& options) {
    switch (options.output) {
    case Output::json:
        return json_text(view, options.parts, std::time(nullptr));
    case Output::metrics:
        return metrics_text(view, options.limits);
    default:
        return tree_text(view, look_of_terminal(), options.limits);
    }
}

int show(const Options& options) {
    const zav::Snapshot snapshot = take_snapshot(options);
    const zav::View view = snapshot.view();
    if (options.output == Output::check) {
        const CheckResult result = check(view, options.limits);
        return print(result.line) ? result.status : plugin_unknown;
    }
    if (options.output == Output::page) {
        constexpr std::size_t most_errors = 10;
        write_whole_file(options.path, page_text(view, {options.limits, std::time(nullptr),
                                                        last_errors(read_log_end(), most_errors)}));
    } else if (!print(text_of(view, options))) {
        return failed;
    }
    return view.failures.empty() ? complete : incomplete;
}

/// Until it is interrupted, or nobody reads any more.
int watch(const Options& options) {
    constexpr const char* clear = "\x1b[H\x1b[2J";
    const bool is_terminal = isatty(STDOUT_FILENO) == 1;
    while (true) {
        const zav::Snapshot snapshot = take_snapshot(options);
        const std::string text = text_of(snapshot.view(), options);
        if (!print((is_terminal ? clear : "") + text + (is_terminal ? "" : "\n"))) {
            return failed;
        }
        std::this_thread::sleep_for(options.interval);
    }
}

int explain_code(const Options& options) {
    const std::string text = explain(options.code, known_codes());
    if (text.empty()) {
        std::fprintf(stderr, "zavinfo: there is no code '%s'\n", plain(options.code).c_str());
        return failed;
    }
    return print(text) ? complete : failed;
}

int tell_needs(const Options& options) {
    std::string model;
    {
        const LateInterrupts interrupts;
        model = product_model(options.time_limit);
    }
    const std::vector<NeedState> states = check_needs(model);
    const std::string text = options.is_json ? preflight_json(states, model, std::time(nullptr))
                                             : preflight_text(states, model);
    return print(text) ? preflight_status(states) : plugin_unknown;
}

int run(const Options& options) {
    switch (options.output) {
    case Output::help:
        return print(usage_text()) ? complete : failed;
    case Output::version:
        return print(std::string("zavinfo ") + zav_version() + ZAV_BUILD_ID "\n") ? complete
                                                                                  : failed;
    case Output::explain:
        return explain_code(options);
    case Output::preflight:
        return tell_needs(options);
    default:
        return options.is_watching ? watch(options) : show(options);
    }
}

/// Says why nothing is told. A plug-in says it where its text is read.
int fail(const Options& options, const std::string& reason, int status) {
    if (options.output == Output::check) {
        print(check_failure(reason).line);
        return plugin_unknown;
    }
    std::fprintf(stderr, "zavinfo: %s\n", plain(reason).c_str());
    return options.output == Output::preflight ? plugin_unknown : status;
}

int main_of(int count, char* const* arguments) {
    Options options;
    try {
        options = parse_options(count, arguments);
        if (!options.fault.empty()) {
            return fail(options, options.fault + "; see zavinfo --help", misused);
        }
        return run(options);
    } catch (const std::exception& error) {
        return fail(options, error.what(), failed);
    }
}

} // namespace

} // namespace zavinfo

int main(int count, char** arguments) {
    return zavinfo::main_of(count, arguments);
}
