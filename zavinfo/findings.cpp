// SPDX-License-Identifier: MIT
#include "zavinfo/findings.h"

#include "zavinfo/judges.h"

#include <algorithm>
#include <array>

namespace zavinfo {

std::vector<Finding> findings_of(const zav::View& view, const Limits& limits) {
    Judgement judgement{view, limits, {}};
    judge_arrays(judgement);
    judge_disks(judgement);
    judge_hotspares(judgement);
    judge_pools(judgement);
    judge_filesystems(judgement);
    judge_shares(judgement);
    judge_services(judgement);
    judge_registers(judgement);
    judge_failures(judgement);
    std::ranges::stable_sort(judgement.findings, std::ranges::greater(), &Finding::severity);
    return judgement.findings;
}

Severity worst_of(const std::vector<Finding>& findings) {
    Severity worst = Severity::ok;
    for (const Finding& finding : findings) {
        worst = std::max(worst, finding.severity);
    }
    return worst;
}

int plugin_status(Severity severity) {
    constexpr std::array<int, 4> statuses = {0, 3, 1, 2};
    return statuses[static_cast<std::size_t>(severity)];
}

} // namespace zavinfo
