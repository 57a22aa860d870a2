// SPDX-License-Identifier: MIT
// Each action with little to work with: descriptors, memory, file size, closed standard
// descriptors, and in a hostile environment. No file is lost or half, none is opened to more than
// before, success means that the work is done, and the action given again does the rest.
#include "campaign/campaign.h"
#include "campaign/documented.h"
#include "campaign/truth.h"

#include <algorithm>
#include <csignal>
#include <initializer_list>
#include <sys/resource.h>

namespace zav::test {
namespace {

constexpr auto part = "limits";
constexpr size_t sample_share = 127;

struct Limit {
    std::string name;
    RunOptions options;
    bool is_harmless = false;   // everything works as without it
    bool may_not_start = false; // the program itself may have no room
};

std::vector<Limit> descriptor_limits() {
    std::vector<Limit> limits;
    for (rlim_t count = 3; count <= 20; ++count) {
        limits.push_back(
            {std::to_string(count) + " descriptors", {.limits = {{RLIMIT_NOFILE, count}}}});
    }
    return limits;
}

std::vector<Limit> memory_limits() {
    constexpr rlim_t kib = 1024;
    std::vector<Limit> limits;
    for (const rlim_t size : std::initializer_list<rlim_t>{1500, 2000, 2500, 3000, 3500, 4000, 5000,
                                                           6000, 8000, 16000}) {
        limits.push_back({std::to_string(size) + " KiB of addresses",
                          {.limits = {{RLIMIT_AS, size * kib}}},
                          false,
                          true});
    }
    for (const rlim_t size : std::initializer_list<rlim_t>{0, 64, 128, 192, 256, 384, 512, 1024}) {
        limits.push_back({std::to_string(size) + " KiB of data",
                          {.limits = {{RLIMIT_DATA, size * kib}}},
                          false,
                          true});
    }
    return limits;
}

std::vector<Limit> file_size_limits() {
    std::vector<Limit> limits;
    for (const rlim_t size : std::initializer_list<rlim_t>{0, 1, 16, 50, 64, 100, 128, 200, 256,
                                                           300, 512, 1024, 4096}) {
        const std::string name = "files of " + std::to_string(size) + " bytes";
        limits.push_back({name, {.limits = {{RLIMIT_FSIZE, size}}}});
        limits.push_back({name + ", SIGXFSZ ignored",
                          {.limits = {{RLIMIT_FSIZE, size}}, .ignored_signals = {SIGXFSZ}}});
    }
    return limits;
}

std::vector<Limit> closed_descriptors() {
    std::vector<Limit> limits;
    for (int bits = 1; bits < 8; ++bits) {
        Limit limit;
        limit.name = "closed";
        for (int number = 0; number < 3; ++number) {
            if ((bits & 1 << number) != 0) {
                limit.options.closed.insert(number);
                limit.name += " " + std::to_string(number);
            }
        }
        limit.is_harmless = !limit.options.closed.contains(1);
        limits.push_back(limit);
    }
    return limits;
}

std::vector<Limit> odd_beginnings() {
    const std::string huge(100000, 'x');
    std::vector<Limit> limits = {
        {"umask 0", {.umask = 0}},
        {"umask 0777", {.umask = 0777}},
        {"PATH empty", {.environment = {{"PATH", ""}}}},
        {"no PATH", {.environment = {{"PATH", std::nullopt}}}},
        {"PATH of 100000 bytes", {.environment = {{"PATH", "/" + huge}}}},
        {"no environment",
         {.environment = {{"PATH", std::nullopt}, {"HOME", std::nullopt}, {"TZ", std::nullopt}}}}};
    return limits;
}

std::vector<Limit> hostile_variables() {
    const std::string huge(100000, 'x');
    std::vector<Limit> limits = {
        {"loader variables",
         {.environment = {{"LD_PRELOAD", "/tmp/evil.so"},
                          {"LD_LIBRARY_PATH", "/tmp"},
                          {"LD_AUDIT", "/tmp/evil.so"},
                          {"GLIBC_TUNABLES", "glibc.malloc.check=3"},
                          {"MALLOC_PERTURB_", "165"}}}},
        {"shell variables",
         {.environment = {{"IFS", "/ae"},
                          {"ENV", "/tmp/evil"},
                          {"BASH_ENV", "/tmp/evil"},
                          {"SHELLOPTS", "noexec"},
                          {"POSIXLY_CORRECT", "1"},
                          {"TMPDIR", "/none"}}}},
        {"locale and time zone",
         {.environment = {{"LANG", "tr_TR.UTF-8"}, {"LC_ALL", huge}, {"TZ", ":/etc/passwd"}}}},
        {"variables of the tools",
         {.environment = {{"LVM_SYSTEM_DIR", "/tmp"},
                          {"LVM_VG_NAME", "more"},
                          {"MDADM_NO_UDEV", "1"},
                          {"HOME", huge}}}}};
    return limits;
}

std::vector<Limit> environments() {
    std::vector<Limit> limits = hostile_variables();
    for (const Limit& one : odd_beginnings()) {
        limits.push_back(one);
    }
    for (Limit& limit : limits) {
        limit.is_harmless = true;
    }
    return limits;
}

// What the run itself must do.
void check_run(const Limit& limit, const Undisturbed& base, const Result& run, const State& after,
               Violations& found) {
    const Action& action = *base.action;
    const bool is_unheard = limit.options.closed.contains(1);
    const bool has_not_begun = limit.may_not_start && run.commands.empty() && run.out.empty();
    if (!has_not_begun && !is_unheard) {
        check_end(action, run, found);
    }
    const bool is_good = run.signal == 0 && run.exit_status == action.status &&
                         (action.is_refusal() || !printed_code(run));
    if (limit.is_harmless && !is_good) {
        found.push_back("status " + std::to_string(run.exit_status));
    }
    if (is_good && !action.is_listing() && !is_unheard) {
        for (const std::string& path : differences(base.after, after)) {
            if (may_be_left(action, path)) {
                continue;
            }
            found.push_back("ends well, but " + path + " is not as it should be");
        }
    }
}

// The action given again, with nothing in its way.
void check_retry(const Undisturbed& base, const Result& first, Appliance& appliance,
                 Violations& found) {
    const Action& action = *base.action;
    const Result again = appliance.run(action.arguments);
    check_end(action, again, found);
    check_remains(appliance, found);
    const State after = appliance.state();
    check_files(base, after, found);
    const int code = printed_code(again).value_or(0);
    const bool is_good = code == 0 && again.exit_status == action.status;
    if (!is_good && !is_code_again(action, code)) {
        found.push_back("given again: code " + std::to_string(code) + ", status " +
                        std::to_string(again.exit_status));
    }
    if (!is_good || action.is_listing() || first.exit_status == action.status) {
        return;
    }
    for (const std::string& path : differences(base.after, after)) {
        if (!may_be_left(action, path)) {
            found.push_back("given again: " + path + " is not as it should be");
        }
    }
}

Violations run_case(const Undisturbed& base, const Limit& limit) {
    Violations found;
    const Action& action = *base.action;
    Appliance appliance(action.model);
    prepare(action, appliance);
    const Modes modes = modes_of(appliance);
    const Result run = appliance.run(action.arguments, limit.options);
    const State after = appliance.state();
    check_run(limit, base, run, after, found);
    check_remains(appliance, found);
    check_files(base, after, found);
    check_modes(modes, modes_of(appliance), found);
    check_retry(base, run, appliance, found);
    return found;
}

void add_cases(const std::vector<Undisturbed>& bases, const std::vector<Limit>& limits,
               std::vector<Case>& cases) {
    for (const Undisturbed& base : bases) {
        for (const Limit& limit : limits) {
            cases.push_back({base.action->name + ", " + limit.name,
                             [&base, &limit] { return run_case(base, limit); }});
        }
    }
}

} // namespace
} // namespace zav::test

int main(int argc, char** argv) {
    using namespace zav::test;
    const CampaignOptions options = campaign_options(argc, argv);
    const std::vector<Undisturbed> bases = undisturbed_actions(options);
    const std::vector<std::pair<const char*, std::vector<Limit>>> kinds = {
        {"open files", descriptor_limits()},
        {"memory", memory_limits()},
        {"file size", file_size_limits()},
        {"closed standard descriptors", closed_descriptors()},
        {"umask, PATH and environment", environments()}};
    std::vector<Figure> figures;
    for (const auto& [what, limits] : kinds) {
        std::vector<Case> cases;
        add_cases(bases, limits, cases);
        figures.push_back(run_cases(options, part, what, cases, sample_share));
    }
    return status_of(figures);
}
