// SPDX-License-Identifier: MIT
// threads - two threads, each with a context of its own, take snapshots of one machine and change
// it at the same time, for the thread sanitizer. Status 0: all were alike, and each thread had its
// own messages and heard of its own progress.
#include "zav/zav.h"

#include <atomic>
#include <cstdio>
#include <cstring>
#include <string>
#include <thread>

namespace {

constexpr int rounds = 2;

struct Counted {
    std::thread::id owner;
    int lines = 0;
    int steps = 0;
    bool is_strange = false;
};

void count(void* user, zav_severity, const char* text) {
    auto& counted = *static_cast<Counted*>(user);
    counted.lines += std::strstr(text, "hostname_get") != nullptr ? 1 : 0;
    counted.is_strange = counted.is_strange || counted.owner != std::this_thread::get_id();
}

void count_step(void* user, const char*, unsigned) {
    auto& counted = *static_cast<Counted*>(user);
    ++counted.steps;
    counted.is_strange = counted.is_strange || counted.owner != std::this_thread::get_id();
}

/// The disk is cleared and taken off the list of hot spares; the codes of both.
std::string changed(zav_ctx* ctx) {
    zav_disk_init_args disk = {};
    disk.struct_size = sizeof disk;
    disk.channel = 1;
    zav_hotspare_remove_args spare = {};
    spare.struct_size = sizeof spare;
    spare.channel = 1;
    zav_error error;
    const int cleared = zav_disk_init(ctx, &disk, &error);
    const int removed = zav_hotspare_remove(ctx, &spare, &error);
    return "init:" + std::to_string(cleared) + " remove:" + std::to_string(removed);
}

/// What a snapshot tells of the services and of what could not be read.
std::string described(const zav_snapshot* snapshot) {
    std::string text;
    std::size_t number = 0;
    const zav_service* services = zav_snapshot_services(snapshot, &number);
    for (std::size_t i = 0; i < number; ++i) {
        text += std::string(services[i].name) + "=" + zav_running_name(services[i].running) + " ";
    }
    const zav_disk* disks = zav_snapshot_disks(snapshot, &number);
    for (std::size_t i = 0; i < number; ++i) {
        text += std::string(disks[i].name) + " ";
    }
    const zav_failure* failures = zav_snapshot_failures(snapshot, &number);
    for (std::size_t i = 0; i < number; ++i) {
        text += std::string(failures[i].part) + ":" + std::to_string(failures[i].code) + " ";
    }
    return text;
}

std::atomic<int> waiting = 0;

void read_and_change(std::string& text, bool& is_well) {
    Counted counted{std::this_thread::get_id()};
    zav_ctx* ctx = zav_ctx_new();
    zav_ctx_set_log(ctx, ZAV_LOG_FILE | ZAV_LOG_CALLBACK, count, &counted);
    zav_ctx_set_progress(ctx, count_step, &counted);
    zav_ctx_set_command_time_limit(ctx, 60000);
    for (++waiting; waiting < 2;) {
        std::this_thread::yield();
    }
    is_well = true;
    for (int round = 0; round < rounds; ++round) {
        zav_error error;
        zav_snapshot* snapshot =
            zav_snapshot_take(ctx, ZAV_DISKS | ZAV_SERVICES | ZAV_HEALTH | ZAV_SHARES, &error);
        text = described(snapshot);
        is_well = is_well && error.code == ZAV_OK &&
                  std::strcmp(zav_strerror(error.code), error.sentence) == 0;
        zav_snapshot_free(snapshot);
        text += changed(ctx);
    }
    constexpr int steps = 2 * rounds; // clearing, and the list of hot spares
    is_well = is_well && counted.lines == rounds && counted.steps == steps && !counted.is_strange;
    zav_ctx_free(ctx);
}

} // namespace

int main() {
    std::string texts[2];
    bool are_well[2] = {};
    std::thread other(read_and_change, std::ref(texts[0]), std::ref(are_well[0]));
    read_and_change(texts[1], are_well[1]);
    other.join();
    std::printf("%s\n%s\n", texts[0].c_str(), texts[1].c_str());
    return texts[0] == texts[1] && are_well[0] && are_well[1] ? 0 : 1;
}
