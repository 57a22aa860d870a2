// SPDX-License-Identifier: MIT
#include "zavinfo/map.h"
#include "zavinfo/names.h"
#include "zavinfo/page_parts.h"
#include "zavinfo/text.h"

namespace zavinfo {

namespace {

struct Chain {
    std::vector<std::string> bays = {};
    std::vector<std::string> arrays = {};
    std::string group = {};
    std::string pool = {};
    std::string filesystem = {};
    std::vector<std::string> shares = {};
};

Row row_of(const Chain& chain) {
    const auto name_or_nothing = [](const std::string& name) {
        return name.empty() ? Html() : name_html(name);
    };
    return {names_html(chain.bays),
            names_html(chain.arrays),
            name_or_nothing(chain.group),
            name_or_nothing(chain.pool),
            name_or_nothing(chain.filesystem),
            names_html(chain.shares)};
}

std::string disk_text(const zav_disk& disk) {
    return bay_text(disk) + (*disk.name != '\0' ? " (" + plain(disk.name) + ")" : "");
}

void add_array(const zav::View& view, const zav_array& array, Chain& chain) {
    chain.arrays.emplace_back(array.name);
    for (const zav_member& member : zav::members(array)) {
        if (const zav_disk* disk = zav::follow(view.disks, member.disk)) {
            chain.bays.push_back(disk_text(*disk));
        }
    }
}

Chain chain_of(const zav::View& view, const zav_group& group) {
    Chain chain;
    chain.group = group.name;
    for (const zav_volume& volume : zav::volumes(group)) {
        if (const zav_array* array = zav::follow(view.arrays, volume.array)) {
            add_array(view, *array, chain);
        }
        if (const zav_disk* disk = zav::follow(view.disks, volume.disk)) {
            chain.bays.push_back(disk_text(*disk));
        }
    }
    return chain;
}

void add_shares(const zav::View& view, const zav_links& links, Chain& chain) {
    for (const std::uint32_t index : zav::items(links)) {
        chain.shares.emplace_back(view.shares[index].name);
    }
}

void add_pool(const zav::View& view, const zav_pool& pool, Chain& chain) {
    chain.pool = pool.name;
    const zav_filesystem* filesystem = zav::follow(view.filesystems, pool.filesystem);
    if (filesystem != nullptr) {
        chain.filesystem = filesystem->mount_point;
        add_shares(view, filesystem->shares, chain);
    }
    for (const std::uint32_t index : zav::items(pool.shares)) {
        const zav_share& share = view.shares[index];
        if (filesystem == nullptr || share.filesystem != pool.filesystem) {
            chain.shares.emplace_back(share.name);
        }
    }
}

void add_pools(const zav::View& view, std::vector<Row>& rows) {
    for (const zav_group& group : view.groups) {
        const Chain below = chain_of(view, group);
        for (const std::uint32_t index : zav::items(group.pools)) {
            Chain chain = below;
            add_pool(view, view.pools[index], chain);
            rows.push_back(row_of(chain));
        }
        if (group.pools.count == 0) {
            rows.push_back(row_of(below));
        }
    }
    for (const zav_pool& pool : view.pools) {
        if (zav::follow(view.groups, pool.group) == nullptr) {
            Chain chain;
            add_pool(view, pool, chain);
            rows.push_back(row_of(chain));
        }
    }
}

void add_the_rest(const zav::View& view, std::vector<Row>& rows) {
    for (const zav_array& array : view.arrays) {
        if (array.group == ZAV_NONE) {
            Chain chain;
            add_array(view, array, chain);
            rows.push_back(row_of(chain));
        }
    }
    for (const zav_filesystem& filesystem : view.filesystems) {
        if (filesystem.pool == ZAV_NONE) {
            Chain chain;
            chain.filesystem = filesystem.mount_point;
            add_shares(view, filesystem.shares, chain);
            rows.push_back(row_of(chain));
        }
    }
    for (const zav_share& share : view.shares) {
        if (share.pool == ZAV_NONE && share.filesystem == ZAV_NONE) {
            rows.push_back(row_of({.shares = {share.name}}));
        }
    }
    for (const zav_disk& disk : view.disks) {
        if (disk.array == ZAV_NONE && disk.groups.count == 0) {
            rows.push_back(row_of({.bays = {disk_text(disk)}}));
        }
    }
}

} // namespace

Html map_table(const zav::View& view) {
    std::vector<Row> rows;
    add_pools(view, rows);
    add_the_rest(view, rows);
    return table_html("What lies on what: each row leads from the bays to the shares.",
                      {"Bays", "Arrays", "Group", "Pool", "File system", "Shares"}, rows);
}

} // namespace zavinfo
