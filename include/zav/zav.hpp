// SPDX-License-Identifier: MIT
/// \file
/// The C interface for C++20: what must be freed frees itself, counted arrays are spans, failures
/// are exceptions. Header-only: a program links what it links for zav/zav.h, whose rules hold here
/// too. An object that was moved from may only be destroyed or assigned to.
///
///     zav::Context context;
///     const zav::Snapshot snapshot(context);
///     for (const zav_share& share : snapshot.view().shares) {
///         std::cout << share.name << ": " << zav::name(share.state) << '\n';
///     }
#pragma once

#include "zav/zav.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <new>
#include <span>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace zav {

// The library has names of its own in the namespace around this one.
inline namespace interface {

/// A call that failed, with all that is known of it. what() is the sentence.
class Error : public std::runtime_error {
  public:
    explicit Error(const zav_error& details)
        : std::runtime_error(details.sentence), details_(details) {}
    /// For a code without further details.
    explicit Error(int code) : Error(details_of(code)) {}

    [[nodiscard]] int code() const noexcept { return details_.code; }
    [[nodiscard]] const zav_error& details() const noexcept { return details_; }

  private:
    static zav_error details_of(int code) {
        zav_error details = {};
        zav_error_explain(code, nullptr, &details);
        return details;
    }

    zav_error details_;
};

/// What a program has asked for: where messages go, how long a command may take.
class Context {
  public:
    using Log = std::function<void(zav_severity, std::string_view)>;
    using Progress = std::function<void(std::string_view step, unsigned steps)>;

    /// Messages go to the log file. Throws std::bad_alloc.
    Context() : callbacks_(std::make_unique<Callbacks>()), ctx_(zav_ctx_new()) {
        if (!ctx_) {
            throw std::bad_alloc();
        }
    }

    /// Messages go to the targets, a combination of zav_log_target without ZAV_LOG_CALLBACK.
    void log_to(unsigned targets) {
        require(
            zav_ctx_set_log(ctx_.get(), targets & ~unsigned{ZAV_LOG_CALLBACK}, nullptr, nullptr));
        callbacks_->log = nullptr;
    }
    /// The same, and to a function. An exception of it is lost.
    void log_to(unsigned targets, Log log) {
        callbacks_->log = std::move(log);
        require(zav_ctx_set_log(ctx_.get(), targets | unsigned{ZAV_LOG_CALLBACK}, pass_line,
                                callbacks_.get()));
    }
    /// Who hears of progress; an empty function for nobody. An exception of it is lost.
    void report_progress_to(Progress progress) {
        callbacks_->progress = std::move(progress);
        const bool is_heard = static_cast<bool>(callbacks_->progress);
        require(zav_ctx_set_progress(ctx_.get(), is_heard ? pass_step : nullptr, callbacks_.get()));
    }
    /// How long each outside command may take; 0 for as long as it takes.
    void limit_commands_to(std::chrono::milliseconds limit) {
        require(zav_ctx_set_command_time_limit(ctx_.get(), static_cast<unsigned>(limit.count())));
    }

    /// For functions of the C interface. It stays the context's.
    [[nodiscard]] zav_ctx* get() const noexcept { return ctx_.get(); }

  private:
    struct Callbacks {
        Log log;
        Progress progress;
    };
    struct Free {
        void operator()(zav_ctx* ctx) const noexcept { zav_ctx_free(ctx); }
    };

    static void require(int code) {
        if (code != ZAV_OK) {
            throw Error(code);
        }
    }
    static void pass_line(void* user, zav_severity severity, const char* text) {
        try {
            static_cast<const Callbacks*>(user)->log(severity, text);
        } catch (...) { // it must not reach the library
        }
    }
    static void pass_step(void* user, const char* step, unsigned steps) {
        try {
            static_cast<const Callbacks*>(user)->progress(step, steps);
        } catch (...) { // as above
        }
    }

    std::unique_ptr<Callbacks> callbacks_; // at a place that stays when the context moves
    std::unique_ptr<zav_ctx, Free> ctx_;
};

inline std::span<const std::uint32_t> items(const zav_links& links) {
    return {links.indices, links.count};
}
inline std::span<const zav_smart_attribute> attributes(const zav_disk& disk) {
    return {disk.attributes, disk.attribute_count};
}
inline std::span<const zav_member> members(const zav_array& array) {
    return {array.members, array.member_count};
}
inline std::span<const zav_volume> volumes(const zav_group& group) {
    return {group.volumes, group.volume_count};
}

/// The record that a link leads to; null for ZAV_NONE, and for an index that is out of range.
template <class Record>
const Record* follow(std::span<const Record> records, std::int32_t index) {
    const auto place = static_cast<std::size_t>(index);
    return index >= 0 && place < records.size() ? &records[place] : nullptr;
}

/// All records of a snapshot, which owns them.
struct View {
    std::span<const zav_disk> disks;
    std::span<const zav_array> arrays;
    std::span<const zav_group> groups;
    std::span<const zav_pool> pools;
    std::span<const zav_filesystem> filesystems; ///< those on pools first, then network disks
    std::span<const zav_share> shares;
    std::span<const zav_service> services;
    std::span<const zav_failure> failures; ///< what could not be read
    const zav_health* health = nullptr;    ///< null when it was not asked for
};

/// What is there, read at one time.
class Snapshot {
  public:
    /// `what` is a combination of zav_what. Throws Error, or std::bad_alloc for ZAV_E_NO_MEMORY.
    explicit Snapshot(const Context& context, unsigned what = ZAV_ALL) {
        zav_error error = {};
        snapshot_.reset(zav_snapshot_take(context.get(), what, &error));
        if (!snapshot_ && error.code == ZAV_E_NO_MEMORY) {
            throw std::bad_alloc();
        }
        if (!snapshot_) {
            throw Error(error);
        }
    }

    /// Valid as long as the snapshot, also when that is moved.
    [[nodiscard]] View view() const {
        const zav_snapshot* all = snapshot_.get();
        return {span_of<zav_disk>(all, zav_snapshot_disks),
                span_of<zav_array>(all, zav_snapshot_arrays),
                span_of<zav_group>(all, zav_snapshot_groups),
                span_of<zav_pool>(all, zav_snapshot_pools),
                span_of<zav_filesystem>(all, zav_snapshot_filesystems),
                span_of<zav_share>(all, zav_snapshot_shares),
                span_of<zav_service>(all, zav_snapshot_services),
                span_of<zav_failure>(all, zav_snapshot_failures),
                zav_snapshot_health(all)};
    }

    [[nodiscard]] const zav_snapshot* get() const noexcept { return snapshot_.get(); }

  private:
    struct Free {
        void operator()(zav_snapshot* snapshot) const noexcept { zav_snapshot_free(snapshot); }
    };

    template <class Record>
    static std::span<const Record> span_of(const zav_snapshot* snapshot,
                                           const Record* (*getter)(const zav_snapshot*,
                                                                   std::size_t*)) {
        std::size_t count = 0;
        const Record* records = getter(snapshot, &count);
        return {records, count};
    }

    std::unique_ptr<zav_snapshot, Free> snapshot_;
};

// The actions of zav/actions.h, whose arguments' struct_size need not be set: they return when the
// action has worked, and throw Error, or std::bad_alloc for ZAV_E_NO_MEMORY, when it has not.
//
//     zav_pool_create_args films{};
//     films.name = "films";
//     films.group = "data";
//     films.size_gib = 100;
//     zav::pool_create(context, films);

template <class Arguments>
void act(int (*action)(zav_ctx*, const Arguments*, zav_error*), const Context& context,
         Arguments arguments) {
    arguments.struct_size = sizeof arguments;
    zav_error error = {};
    const int code = action(context.get(), &arguments, &error);
    if (code == ZAV_E_NO_MEMORY) {
        throw std::bad_alloc();
    }
    if (code != ZAV_OK) {
        throw Error(error);
    }
}

inline void disk_init(const Context& context, const zav_disk_init_args& arguments) {
    act(zav_disk_init, context, arguments);
}
inline void hotspare_add(const Context& context, const zav_hotspare_add_args& arguments) {
    act(zav_hotspare_add, context, arguments);
}
inline void hotspare_remove(const Context& context, const zav_hotspare_remove_args& arguments) {
    act(zav_hotspare_remove, context, arguments);
}
inline void array_create(const Context& context, const zav_array_create_args& arguments) {
    act(zav_array_create, context, arguments);
}
inline void array_delete(const Context& context, const zav_array_delete_args& arguments) {
    act(zav_array_delete, context, arguments);
}
inline void array_recover(const Context& context, const zav_array_recover_args& arguments) {
    act(zav_array_recover, context, arguments);
}
inline void array_add_disk(const Context& context, const zav_array_add_disk_args& arguments) {
    act(zav_array_add_disk, context, arguments);
}
inline void array_remove_disk(const Context& context, const zav_array_remove_disk_args& arguments) {
    act(zav_array_remove_disk, context, arguments);
}
inline void group_create(const Context& context, const zav_group_create_args& arguments) {
    act(zav_group_create, context, arguments);
}
inline void group_delete(const Context& context, const zav_group_delete_args& arguments) {
    act(zav_group_delete, context, arguments);
}
inline void pool_create(const Context& context, const zav_pool_create_args& arguments) {
    act(zav_pool_create, context, arguments);
}
inline void pool_delete(const Context& context, const zav_pool_delete_args& arguments) {
    act(zav_pool_delete, context, arguments);
}
inline void fs_create(const Context& context, const zav_fs_create_args& arguments) {
    act(zav_fs_create, context, arguments);
}
inline void fs_delete(const Context& context, const zav_fs_delete_args& arguments) {
    act(zav_fs_delete, context, arguments);
}
inline void fs_repair(const Context& context, const zav_fs_repair_args& arguments) {
    act(zav_fs_repair, context, arguments);
}
inline void netdisk_create(const Context& context, const zav_netdisk_create_args& arguments) {
    act(zav_netdisk_create, context, arguments);
}
inline void netdisk_delete(const Context& context, const zav_netdisk_delete_args& arguments) {
    act(zav_netdisk_delete, context, arguments);
}
inline void netdisk_repair(const Context& context, const zav_netdisk_repair_args& arguments) {
    act(zav_netdisk_repair, context, arguments);
}
inline void share_create(const Context& context, const zav_share_create_args& arguments) {
    act(zav_share_create, context, arguments);
}
inline void share_delete(const Context& context, const zav_share_delete_args& arguments) {
    act(zav_share_delete, context, arguments);
}
inline void share_edit(const Context& context, const zav_share_edit_args& arguments) {
    act(zav_share_edit, context, arguments);
}
inline void share_repair(const Context& context, const zav_share_repair_args& arguments) {
    act(zav_share_repair, context, arguments);
}
inline void share_restore(const Context& context, const zav_share_restore_args& arguments) {
    act(zav_share_restore, context, arguments);
}

// A state as a text that does not change between versions.
inline std::string_view name(zav_disk_state state) {
    return zav_disk_state_name(state);
}
inline std::string_view name(zav_verdict verdict) {
    return zav_verdict_name(verdict);
}
inline std::string_view name(zav_array_state state) {
    return zav_array_state_name(state);
}
inline std::string_view name(zav_member_state state) {
    return zav_member_state_name(state);
}
inline std::string_view name(zav_filesystem_state state) {
    return zav_filesystem_state_name(state);
}
inline std::string_view name(zav_service_kind kind) {
    return zav_service_name(kind);
}
inline std::string_view name(zav_running running) {
    return zav_running_name(running);
}
inline std::string_view name(zav_share_state state) {
    return zav_share_state_name(state);
}

} // namespace interface

} // namespace zav
