// SPDX-License-Identifier: MIT
/// \file
/// Each judges one kind of things and adds what it finds.
#pragma once

#include "zavinfo/findings.h"

#include <string>
#include <string_view>
#include <vector>

namespace zavinfo {

struct Judgement {
    const zav::View& view;
    Limits limits;
    std::vector<Finding> findings;

    /// The advice is our own, the text may have names in it.
    void add(Severity severity, std::string_view text, std::string_view advice);
    /// Whether nothing of the part failed to be read: what is missing in it is really missing.
    [[nodiscard]] bool is_read(std::string_view part) const;
};

// judges_storage.cpp
void judge_arrays(Judgement& judgement);
void judge_disks(Judgement& judgement);
void judge_hotspares(Judgement& judgement);
void judge_pools(Judgement& judgement);
void judge_filesystems(Judgement& judgement);

// judges_shares.cpp
void judge_shares(Judgement& judgement);
void judge_services(Judgement& judgement);
void judge_registers(Judgement& judgement);
void judge_failures(Judgement& judgement);

} // namespace zavinfo
