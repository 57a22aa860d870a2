// SPDX-License-Identifier: MIT
// campaign_contention [--sample]
#include "contention.h"

#include <iterator>

namespace zav::campaign {

using namespace test;

Figure run_rounds(const CampaignOptions& options, const std::string& what, int rounds,
                  const std::function<Violations(int round)>& run) {
    CampaignOptions one_by_one = options;
    one_by_one.jobs = 1;
    one_by_one.sample = false; // a sample is a smaller number of rounds
    std::vector<Case> cases;
    for (int round = 0; round < rounds; ++round) {
        cases.push_back({"round " + std::to_string(round), [&run, round] { return run(round); }});
    }
    return run_cases(one_by_one, "contention", what, cases, 1);
}

Violations with_commands(Violations wrong, const std::string& commands) {
    if (!wrong.empty()) {
        wrong.push_back(commands);
    }
    return wrong;
}

} // namespace zav::campaign

int main(int argc, char** argv) {
    using namespace zav::campaign;
    const zav::test::CampaignOptions options = zav::test::campaign_options(argc, argv);
    struct Contest {
        std::vector<zav::test::Figure> (*run)(const zav::test::CampaignOptions& options,
                                              int rounds);
        int sampled;
        int rounds;
    };
    constexpr Contest contests[] = {{contend_for_shares, 25, 1000},
                                    {contend_for_disks, 4, 200},
                                    {contend_for_mounts, 6, 300},
                                    {contend_for_accounts, 6, 300}};
    std::vector<zav::test::Figure> figures;
    for (const Contest& contest : contests) {
        std::vector<zav::test::Figure> found =
            contest.run(options, options.sample ? contest.sampled : contest.rounds);
        figures.insert(figures.end(), std::make_move_iterator(found.begin()),
                       std::make_move_iterator(found.end()));
    }
    return zav::test::status_of(figures);
}
