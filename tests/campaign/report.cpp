// SPDX-License-Identifier: MIT
#include "report.h"

#include <algorithm>
#include <cstdio>
#include <gtest/gtest-spi.h>
#include <utility>

namespace zav::campaign {

void Figure::count(const std::vector<std::string>& wrong, const std::string& reproduction) {
    ++cases;
    if (wrong.empty()) {
        return;
    }
    ++violations;
    std::fprintf(stderr, "%s, %s: %s\n", part.c_str(), what.c_str(), reproduction.c_str());
    for (const std::string& text : wrong) {
        std::fprintf(stderr, "    %s\n", text.c_str());
    }
}

int print(const std::vector<Figure>& figures) {
    for (const Figure& figure : figures) {
        std::printf("%s\t%s\t%ld\t%ld\n", figure.part.c_str(), figure.what.c_str(), figure.cases,
                    figure.violations);
    }
    const auto is_bad = [](const Figure& figure) {
        return figure.cases == 0 || figure.violations != 0;
    };
    return figures.empty() || std::any_of(figures.begin(), figures.end(), is_bad) ? 1 : 0;
}

struct HarnessFailures::Reporter : testing::ScopedFakeTestPartResultReporter {
    Reporter() : ScopedFakeTestPartResultReporter(INTERCEPT_ALL_THREADS, &ignored) {}
    void ReportTestPartResult(const testing::TestPartResult& result) override {
        if (result.failed()) {
            texts.emplace_back(result.message());
        }
    }
    testing::TestPartResultArray ignored;
    std::vector<std::string> texts;
};

HarnessFailures::HarnessFailures() : reporter_(new Reporter) {}
HarnessFailures::~HarnessFailures() {
    delete reporter_;
}

std::vector<std::string> HarnessFailures::take() {
    return std::exchange(reporter_->texts, {});
}

} // namespace zav::campaign
