// SPDX-License-Identifier: MIT
#include "campaign.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest-spi.h>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>

namespace zav::test {
namespace {

// A failure of the harness becomes a violation of the case.
Violations violations_of(const Case& one) {
    testing::TestPartResultArray failures;
    Violations found;
    {
        const testing::ScopedFakeTestPartResultReporter reporter(
            testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &failures);
        try {
            found = one.run();
        } catch (const std::exception& error) {
            found.emplace_back(error.what());
        }
    }
    for (int at = 0; at < failures.size(); ++at) {
        if (failures.GetTestPartResult(at).failed()) {
            found.emplace_back(failures.GetTestPartResult(at).message());
        }
    }
    return found;
}

// Runs every `jobs`-th case from `first` on. The number of violated ones.
size_t run_share(const std::vector<const Case*>& cases, size_t first, size_t jobs) {
    Figure share;
    for (size_t at = first; at < cases.size(); at += jobs) {
        share.count(violations_of(*cases[at]), cases[at]->name);
    }
    return share.violations;
}

size_t run_in_processes(const std::vector<const Case*>& cases, size_t jobs) {
    std::fflush(nullptr);
    std::vector<int> results;
    for (size_t job = 0; job < jobs; ++job) {
        int ends[2];
        if (pipe(ends) != 0) {
            std::perror("campaign");
            std::exit(2);
        }
        if (fork() == 0) {
            const size_t violated = run_share(cases, job, jobs);
            _exit(write(ends[1], &violated, sizeof violated) == sizeof violated ? 0 : 1);
        }
        close(ends[1]);
        results.push_back(ends[0]);
    }
    size_t all = 0;
    for (const int result : results) {
        size_t violated = 0;
        if (read(result, &violated, sizeof violated) != sizeof violated) {
            std::fprintf(stderr, "campaign: a process ended before its cases\n");
            violated = 1;
        }
        close(result);
        all += violated;
    }
    while (wait(nullptr) > 0) {
    }
    return all;
}

} // namespace

void Figure::count(const Violations& found, const std::string& name) {
    std::string text;
    for (const std::string& one : found) {
        text += name + ": " + one + "\n";
    }
    std::fputs(text.c_str(), stderr);
    ++cases;
    violations += found.empty() ? 0U : 1U;
}

void print(const Figure& figure) {
    std::printf("%s\t%s\t%zu\t%zu\n", figure.part.c_str(), figure.what.c_str(), figure.cases,
                figure.violations);
    std::fflush(stdout);
}

CampaignOptions campaign_options(int argc, char** argv, long jobs_per_processor) {
    CampaignOptions options;
    options.jobs =
        static_cast<size_t>(std::max(1L, sysconf(_SC_NPROCESSORS_ONLN)) * jobs_per_processor);
    for (int at = 1; at < argc; ++at) {
        const std::string_view argument = argv[at];
        const bool has_value = at + 1 < argc;
        if (argument == "--sample") {
            options.sample = true;
        } else if (argument == "--only" && has_value) {
            options.only = argv[++at];
        } else if (argument == "--jobs" && has_value) {
            options.jobs = static_cast<size_t>(std::max(1, std::atoi(argv[++at])));
        } else {
            std::fprintf(stderr, "usage: %s [--sample] [--only TEXT] [--jobs COUNT]\n", argv[0]);
            std::exit(2);
        }
    }
    return options;
}

Figure run_cases(const CampaignOptions& options, const std::string& part, const std::string& what,
                 const std::vector<Case>& cases, size_t share) {
    std::vector<const Case*> chosen;
    for (size_t at = 0; at < cases.size(); ++at) {
        const bool is_named = cases[at].name.find(options.only) != std::string::npos;
        if (is_named && (!options.sample || at % share == 0)) {
            chosen.push_back(&cases[at]);
        }
    }
    Figure figure{.part = part, .what = what, .cases = chosen.size()};
    figure.violations =
        options.jobs > 1 ? run_in_processes(chosen, options.jobs) : run_share(chosen, 0, 1);
    print(figure);
    return figure;
}

int status_of(const std::vector<Figure>& figures) {
    const auto is_bad = [](const Figure& figure) {
        return figure.violations != 0 || figure.cases == 0;
    };
    return figures.empty() || std::any_of(figures.begin(), figures.end(), is_bad) ? 1 : 0;
}

} // namespace zav::test
