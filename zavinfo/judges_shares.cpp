// SPDX-License-Identifier: MIT
#include "zavinfo/judges.h"
#include "zavinfo/names.h"
#include "zavinfo/text.h"

#include <algorithm>
#include <map>
#include <set>

namespace zavinfo {

namespace {

/// Whether a share lies on something that is there, as far as it could be read.
bool has_no_place(const Judgement& judgement, const zav_share& share) {
    const bool is_told = judgement.is_read("pools") && judgement.is_read("groups") &&
                         judgement.is_read("filesystems") && judgement.is_read("netdisks");
    return is_told && share.state != ZAV_SHARE_NOT_REGISTERED && share.pool == ZAV_NONE &&
           share.filesystem == ZAV_NONE;
}

/// Texts that come more than once.
std::set<std::string> repeated(const std::vector<std::string>& texts) {
    std::set<std::string> seen;
    std::set<std::string> again;
    for (const std::string& text : texts) {
        if (!seen.insert(text).second) {
            again.insert(text);
        }
    }
    return again;
}

void judge_mount_points(Judgement& judgement) {
    std::vector<std::string> mount_points;
    for (const zav_filesystem& filesystem : judgement.view.filesystems) {
        mount_points.emplace_back(filesystem.mount_point);
    }
    for (const std::string& mount_point : repeated(mount_points)) {
        judgement.add(Severity::warning,
                      "the mount point " + mount_point + " is registered more than once",
                      "Leave the line that is right in /etc/mdfstab or /etc/netfstab, and take "
                      "the others out: which of them is mounted is chance.");
    }
}

} // namespace

void Judgement::add(Severity severity, std::string_view text, std::string_view advice) {
    findings.push_back({severity, plain(text), std::string(advice)});
}

bool Judgement::is_read(std::string_view part) const {
    return std::ranges::none_of(
        view.failures, [part](const zav_failure& failure) { return part == failure.part; });
}

void judge_shares(Judgement& judgement) {
    for (const zav_share& share : judgement.view.shares) {
        const std::string name = "share " + std::string(share.name);
        if (is_offered(share) && share.is_mounted == 0) {
            judgement.add(Severity::critical, "the file system of " + name + " is not mounted",
                          "Clients find nothing there. Mount the file system or network disk; "
                          "only if that fails, repair it.");
        }
        if (share.state == ZAV_SHARE_NOT_SERVED) {
            judgement.add(
                Severity::critical,
                name + " is registered, but " + joined(services_of(share), ", ") +
                    " does not serve it",
                "Clients cannot reach it. `sharemanage --edit -b 1` puts it in use again; "
                "give its users with `-u`, or it may come back open to everybody.");
        } else if (share.state == ZAV_SHARE_NOT_REGISTERED) {
            judgement.add(Severity::warning,
                          name + " is served by " + joined(services_of(share), ", ") +
                              ", but not registered",
                          "Clients reach it, and no list of shares has it. Take it out of the "
                          "service's file, or, if its pool is there, register it with `sharemanage "
                          "--restore`.");
        }
    }
}

void judge_services(Judgement& judgement) {
    std::map<zav_service_kind, int> shares;
    for (const zav_share& share : judgement.view.shares) {
        if (is_offered(share)) {
            ++shares[share.service];
        }
    }
    for (const zav_service& service : judgement.view.services) {
        const std::string name = "service " + std::string(service.name);
        const int count = shares[service.kind];
        if (service.running == ZAV_STOPPED && count != 0) {
            judgement.add(
                Severity::critical,
                name + " is stopped, and has " + std::to_string(count) +
                    (count == 1 ? " share" : " shares"),
                "Clients cannot reach what it serves. Start its script in /etc/init.d; if "
                "it stops again, its own log says why.");
        } else if (service.running == ZAV_RUNNING_UNKNOWN && count != 0) {
            judgement.add(Severity::unknown, "whether " + name + " runs is not known",
                          "`zavinfo --preflight` says whether what tells it is there.");
        }
    }
}

/// The register of file systems against LVM, that of shares against both.
void judge_registers(Judgement& judgement) {
    const bool are_pools_told = judgement.is_read("pools") && judgement.is_read("groups");
    for (const zav_filesystem& filesystem : judgement.view.filesystems) {
        if (are_pools_told && filesystem.is_netdisk == 0 && filesystem.pool == ZAV_NONE) {
            judgement.add(
                Severity::warning,
                "file system " + std::string(filesystem.name) +
                    " is registered, but there is no such pool",
                "Find out where the pool has gone. As long as its array or group may come "
                "back, delete nothing; afterwards `fsmanage --delete` removes the entry.");
        }
    }
    judge_mount_points(judgement);
    for (const zav_share& share : judgement.view.shares) {
        if (has_no_place(judgement, share)) {
            judgement.add(
                Severity::warning,
                "share " + std::string(share.name) +
                    " is registered, but is on no pool and no "
                    "registered file system",
                "Find out where its pool has gone. As long as its array or group may come "
                "back, delete nothing.");
        }
    }
}

void judge_failures(Judgement& judgement) {
    for (const zav_failure& failure : judgement.view.failures) {
        judgement.add(Severity::unknown,
                      std::string(failure.part) + " not read: " + failure.sentence + " (" +
                          std::to_string(failure.code) + ")",
                      zav_error_advice(failure.code));
    }
}

} // namespace zavinfo
