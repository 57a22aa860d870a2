// SPDX-License-Identifier: MIT
#include "zavinfo/map.h"

#include "zavinfo/names.h"
#include "zavinfo/text.h"

#include <algorithm>
#include <map>
#include <numeric>

namespace zavinfo {

namespace {

/// More shares on one file system are one box: the table has their names.
constexpr std::size_t most_share_boxes = 6;

/// Where the box of each record is, by its place in the snapshot.
using Places = std::vector<std::size_t>;

class MapMaker {
  public:
    MapMaker(const zav::View& view, const Limits& limits) : view_(view), limits_(limits) {}

    Map make() {
        add_disks();
        add_arrays();
        add_groups();
        add_pools();
        add_filesystems();
        add_shares();
        lay_out();
        return std::move(map_);
    }

  private:
    std::size_t add(Column column, std::string name, const std::string& about, const State& state) {
        map_.boxes.push_back(
            {column, std::move(name), joined_words(state.text, about), state.mark, {}, 0});
        return map_.boxes.size() - 1;
    }

    /// The state first: the box may cut the rest.
    static std::string joined_words(const std::string& state, const std::string& about) {
        return about.empty() || state.empty() ? state + about : state + ", " + about;
    }

    void add_disks() {
        std::vector<std::size_t> order(view_.disks.size());
        std::iota(order.begin(), order.end(), std::size_t{0});
        std::ranges::stable_sort(order, {}, [this](std::size_t index) {
            const zav_disk& disk = view_.disks[index];
            return std::pair(std::string(disk.device), disk.channel);
        });
        disks_.resize(order.size());
        for (const std::size_t index : order) {
            const zav_disk& disk = view_.disks[index];
            disks_[index] = add(Column::bays, bay_text(disk) + "  " + disk.name,
                                size_text(disk.size_bytes), state_of(view_, disk));
        }
    }

    void add_arrays() {
        for (const zav_array& array : view_.arrays) {
            arrays_.push_back(add(Column::arrays, array.name, plain(array.level), state_of(array)));
            for (const zav_member& member : zav::members(array)) {
                link(view_.disks, disks_, member.disk);
            }
        }
    }

    void add_groups() {
        for (const zav_group& group : view_.groups) {
            const std::uint64_t used = std::min(group.used_bytes, group.size_bytes);
            groups_.push_back(
                add(Column::groups, group.name,
                    size_text(group.size_bytes - used) + " free of " + size_text(group.size_bytes),
                    {Mark::good, ""}));
            for (const zav_volume& volume : zav::volumes(group)) {
                link(view_.arrays, arrays_, volume.array);
                link(view_.disks, disks_, volume.disk);
            }
        }
    }

    void add_pools() {
        for (const zav_pool& pool : view_.pools) {
            pools_.push_back(
                add(Column::pools, pool.name, size_text(pool.size_bytes), state_of(pool)));
            link(view_.groups, groups_, pool.group);
        }
    }

    void add_filesystems() {
        for (const zav_filesystem& filesystem : view_.filesystems) {
            const bool is_netdisk = filesystem.is_netdisk != 0;
            filesystems_.push_back(add(Column::filesystems,
                                       is_netdisk ? filesystem.name : short_mount_point(filesystem),
                                       is_netdisk ? "network disk" : plain(filesystem.type),
                                       state_of(filesystem, limits_)));
            link(view_.pools, pools_, filesystem.pool);
        }
    }

    /// All are below /mnt but those of FTP: what tells them apart is behind it.
    static std::string short_mount_point(const zav_filesystem& filesystem) {
        const std::string_view path = filesystem.mount_point;
        constexpr std::string_view top = "/mnt/";
        return std::string(path.starts_with(top) ? path.substr(top.size()) : path);
    }

    /// The place that a share lies on: a file system, else a pool, else nothing.
    void add_shares() {
        std::map<std::pair<std::int32_t, std::int32_t>, std::vector<const zav_share*>> places;
        for (const zav_share& share : view_.shares) {
            const bool has_filesystem = share.filesystem != ZAV_NONE;
            places[{share.filesystem, has_filesystem ? ZAV_NONE : share.pool}].push_back(&share);
        }
        for (const auto& [place, shares] : places) {
            add_shares_of(place.first, place.second, shares);
        }
    }

    void add_shares_of(std::int32_t filesystem, std::int32_t pool,
                       const std::vector<const zav_share*>& shares) {
        const auto link_place = [&] {
            link(view_.filesystems, filesystems_, filesystem);
            link(view_.pools, pools_, pool);
        };
        if (shares.size() <= most_share_boxes) {
            for (const zav_share* share : shares) {
                add(Column::shares, share->name, joined(services_of(*share), ", "),
                    state_of(view_, *share));
                link_place();
            }
            return;
        }
        const auto bad = std::ranges::count_if(shares, [this](const zav_share* share) {
            return state_of(view_, *share).mark == Mark::bad;
        });
        add(Column::shares, std::to_string(shares.size()) + " shares", "",
            bad == 0 ? State{Mark::good, "all served or forbidden"}
                     : State{Mark::bad, std::to_string(bad) + " out of reach"});
        link_place();
    }

    /// From the box that was added last to the one of a record.
    template <class Record>
    void link(std::span<const Record> records, const Places& places, std::int32_t index) {
        std::vector<std::size_t>& below = map_.boxes.back().below;
        if (zav::follow(records, index) != nullptr) {
            const std::size_t place = places[static_cast<std::size_t>(index)];
            if (std::ranges::find(below, place) == below.end()) {
                below.push_back(place);
            }
        }
    }

    /// Each box beside the middle of what it lies on, several on the same thing around it; those on
    /// nothing come last. No two boxes of a column overlap.
    void lay_out() {
        std::map<std::pair<Column, std::vector<std::size_t>>, std::vector<std::size_t>> families;
        for (std::size_t at = 0; at < map_.boxes.size(); ++at) {
            families[{map_.boxes[at].column, map_.boxes[at].below}].push_back(at);
        }
        for (const Column column : {Column::bays, Column::arrays, Column::groups, Column::pools,
                                    Column::filesystems, Column::shares}) {
            std::vector<std::size_t> boxes;
            for (std::size_t at = 0; at < map_.boxes.size(); ++at) {
                if (map_.boxes[at].column == column) {
                    map_.boxes[at].top = wanted_top(at, families[{column, map_.boxes[at].below}]);
                    boxes.push_back(at);
                }
            }
            stack(std::move(boxes));
        }
    }

    double wanted_top(std::size_t at, const std::vector<std::size_t>& family) const {
        constexpr double last = 1e9;
        constexpr double half = 0.5;
        const std::vector<std::size_t>& below = map_.boxes[at].below;
        if (below.empty()) {
            return last;
        }
        double sum = 0;
        for (const std::size_t place : below) {
            sum += map_.boxes[place].top;
        }
        const auto number = static_cast<double>(std::ranges::find(family, at) - family.begin());
        const double offset = number - (static_cast<double>(family.size()) - 1) * half;
        return sum / static_cast<double>(below.size()) + offset;
    }

    void stack(std::vector<std::size_t> boxes) {
        constexpr double last = 1e8;
        std::ranges::stable_sort(boxes, {}, [this](std::size_t at) { return map_.boxes[at].top; });
        double free = 0;
        for (const std::size_t at : boxes) {
            Box& box = map_.boxes[at];
            box.top = box.top < last ? std::max(box.top, free) : free;
            free = box.top + 1;
        }
        map_.rows = std::max(map_.rows, free);
    }

    const zav::View& view_;
    const Limits& limits_;
    Map map_;
    Places disks_;
    Places arrays_;
    Places groups_;
    Places pools_;
    Places filesystems_;
};

} // namespace

Map map_of(const zav::View& view, const Limits& limits) {
    return MapMaker(view, limits).make();
}

} // namespace zavinfo
