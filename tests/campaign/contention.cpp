// SPDX-License-Identifier: MIT
// campaign_contention [--sample]
#include "contention.h"

#include <cstdio>
#include <exception>
#include <iterator>
#include <string_view>

using zav::campaign::Figure;

int main(int argc, char** argv) {
    const bool is_sample = argc > 1 && std::string_view(argv[1]) == "--sample";
    struct Contest {
        std::vector<Figure> (*run)(int rounds);
        int sampled;
        int rounds;
    };
    constexpr Contest contests[] = {{zav::campaign::contend_for_shares, 25, 1000},
                                    {zav::campaign::contend_for_disks, 4, 200},
                                    {zav::campaign::contend_for_mounts, 6, 300},
                                    {zav::campaign::contend_for_accounts, 6, 300}};
    std::vector<Figure> figures;
    try {
        for (const Contest& contest : contests) {
            std::vector<Figure> found = contest.run(is_sample ? contest.sampled : contest.rounds);
            figures.insert(figures.end(), std::make_move_iterator(found.begin()),
                           std::make_move_iterator(found.end()));
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "contention: %s\n", error.what());
        return 1;
    }
    return zav::campaign::print(figures);
}
