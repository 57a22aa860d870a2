// SPDX-License-Identifier: MIT
// Every parser on a text and on one with ten times its lines: the ratio of the times shows whether
// it is linear.
#include "actions/arrays/recovery.h"
#include "base/file.h"
#include "base/key_value.h"
#include "base/text.h"
#include "figure.h"
#include "inventory/groups.h"
#include "records/array.h"
#include "sources/df.h"
#include "sources/fstab.h"
#include "sources/hotspare.h"
#include "sources/lvm.h"
#include "sources/mdadm.h"
#include "sources/mdfstab.h"
#include "sources/mdstat.h"
#include "sources/meminfo.h"
#include "sources/mounts.h"
#include "sources/mvsata.h"
#include "sources/netfstab.h"
#include "sources/partitions.h"
#include "sources/share_lines.h"
#include "sources/vexadm.h"

#include <benchmark/benchmark.h>
#include <climits>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iostream>
#include <malloc.h>
#include <map>
#include <stdexcept>
#include <unistd.h>

namespace zav::bench {

namespace {

constexpr int short_text = 200; // lines; the records of the longer text fit in a cache too
constexpr int times_longer = 10;
constexpr int rounds = 15;
constexpr double most_time = 11;

using Parse = std::function<void(const std::string& text)>;

struct Parser {
    std::string name;
    std::function<std::string(int line)> line; ///< of a text, by its number
    std::string end;                           ///< comes after the lines
    Parse parse;
    int lines = short_text;
};

// All lines of a text have the same length: 10 times the lines are 10 times the bytes.

/// "sdaaa", "sdaab" and so on, none twice.
std::string disk_name(int number) {
    const auto letter = [](int value) { return static_cast<char>('a' + value % 26); };
    return {'s', 'd', letter(number / 676), letter(number / 26), letter(number)};
}

std::string group_line(int number) {
    return format_text("  vg%05d:r/w:772:-1:0:1:0:-1:0:1:1:2449408:4096:598:512:86:QtywLH-n91d\n",
                       number);
}

std::string volume_line(int number) {
    return format_text("  /dev/md%02d:vg%05d:4907008:-1:8:8:-1:4096:598:86:512:Z322lO-KP70\n",
                       number % 16, number);
}

std::string detail_line(int number) {
    return format_text("     Remark %05d : something else\n", number);
}

std::string slot_line(int number) {
    return format_text("   %7d       8        0        0      active sync   /dev/%s\n", number,
                       disk_name(number).c_str());
}

/// A file with the text, made once per text.
class TextFiles {
  public:
    TextFiles() = default;
    TextFiles(const TextFiles&) = delete;
    TextFiles& operator=(const TextFiles&) = delete;
    ~TextFiles() {
        for (const auto& [size, path] : paths_) {
            ::unlink(path.c_str());
        }
    }
    const char* path_of(const std::string& text) {
        std::string& path = paths_[text.size()];
        if (path.empty()) {
            path = "/tmp/parsers_bench.XXXXXX";
            const int fd = ::mkstemp(path.data());
            if (fd < 0 || ::write(fd, text.data(), text.size()) < 0 || ::close(fd) != 0) {
                throw std::runtime_error("cannot write " + path);
            }
        }
        return path.c_str();
    }

  private:
    std::map<std::size_t, std::string> paths_;
};

void parse_groups_and_volumes(const std::string& text, bool with_arrays) {
    static const disk_list disks;
    static mdinfo_list arrays;
    if (arrays.empty()) {
        for (int i = 0; i < 16; ++i) {
            arrays.append().name = format_text("md%02d", i);
        }
    }
    vginfo_list groups;
    parse_vgdisplay(text, groups);
    if (with_arrays) {
        parse_pvdisplay(text, groups, [&](pvinfo& volume, vginfo& group) {
            locate_on_disks(volume, group, disks, arrays);
        });
    }
    benchmark::DoNotOptimize(groups);
}

template <class Parsing>
Parse discard(Parsing parsing) {
    return [parsing](const std::string& text) { benchmark::DoNotOptimize(parsing(text)); };
}

template <class Record, class Parsing>
Parse fill(Parsing parsing) {
    return [parsing](const std::string& text) {
        RecordList<Record> list;
        parsing(text, list);
        benchmark::DoNotOptimize(list);
    };
}

std::vector<Parser> text_parsers() {
    static TextFiles files;
    constexpr int file_lines = 1000; // with fewer, opening the file takes most of the time
    const auto any_line = [](int i) { return format_text("key%05d : value\n", i); };
    const auto item = [](int i) { return format_text("\tkey%05d = value\n", i); };
    return {
        {"a line by number", any_line, "",
         [](const std::string& text) {
             benchmark::DoNotOptimize(get_line(text, nullptr, text.size(), ":"));
         }},
        {"a line by key", any_line, "last : 1\n",
         [](const std::string& text) {
             benchmark::DoNotOptimize(get_value_from_file(text, "last", 0, ":"));
         }},
        {"key/value file, reading", item, "[product]\n\ttype = X\n",
         [](const std::string& text) {
             char value[32] = "";
             ignore(key_value_get(files.path_of(text), "product", "type", value, sizeof value));
             benchmark::DoNotOptimize(value);
         },
         file_lines},
        {"key/value file, writing", item, "[product]\n\ttype = Y\n",
         [](const std::string& text) {
             ignore(key_value_set(files.path_of(text), "product", "type", "Y"));
         },
         file_lines},
        {"memory in use", any_line, "MemTotal: 4\nMemFree: 1\nBuffers: 1\nCached: 1\n",
         discard(memory_in_use)},
    };
}

std::vector<Parser> disk_parsers() {
    const auto partition = [](int i) {
        return format_text("   8 %8d  976762584 %s\n", i, disk_name(i).c_str());
    };
    const auto mount = [](int i) {
        return format_text("/dev/%s1  264212084 18081364 82255824  19%% /mnt/%05d\n",
                           disk_name(i).c_str(), i);
    };
    const auto slot = [](int i) { return format_text("%05d /DISK-2000/931/running/Free\n", i); };
    return {
        {"controller status", detail_line, "PCI location : 0,1,4\n",
         fill<disk_info>(parse_controller_status)},
        {"controller scan", slot, "", fill<disk_info>(parse_controller_scan)},
        {"hot-spare list", detail_line, "Global hotspare disk: sda sdb\n",
         discard(parse_hotspare_list)},
        {"partitions, disks", partition, "", discard(parse_partition_disks)},
        {"df", mount, "", discard(parse_mounted_disks)},
    };
}

std::vector<Parser> array_parsers() {
    const auto array = [](int i) {
        return i % 4 == 0   ? format_text("md%05d : active raid5 sdc[2] sdb[1] sda[0]\n", i)
               : i % 4 == 1 ? std::string("      2453504 blocks super 1.2 level 5 [3/2] [U_U]\n")
               : i % 4 == 2 ? std::string("      [>...]  recovery =  0.7% (9088/1226752) "
                                          "finish=4.4min speed=4544K/sec\n")
                            : std::string("\n");
    };
    const auto partition = [](int i) { return format_text("   9 %8d  976762584 md%05d\n", i, i); };
    const auto scanned = [](int i) {
        return (i == 0 ? "===\n" : "") + format_text("md%05d /5/3/clean/932/sda/ #1 #2 #3\n", i);
    };
    return {
        {"mdstat, names", array, "", discard(parse_mdstat_names)},
        {"mdstat, progress of every array", array, "",
         [](const std::string& text) {
             const RebuildProgress progress(text);
             for (const std::string& name : parse_mdstat_names(text)) {
                 benchmark::DoNotOptimize(progress.of(name));
             }
         }},
        {"partitions, arrays", partition, "", discard(parse_partition_arrays)},
        {"array details", detail_line, "State : clean\n",
         [](const std::string& text) {
             benchmark::DoNotOptimize(parse_detail_value(text, detail_key::state));
         }},
        {"controller arrays", scanned, "", fill<mdinfo>(parse_controller_arrays)},
        {"member table", slot_line, "Raid Devices : 4\n", discard(parse_member_table)},
        {"superblock", slot_line, "",
         [](const std::string& text) {
             static const std::vector<std::string> members(16, "/dev/none");
             benchmark::DoNotOptimize(superblock_names_one_of(text, members));
         }},
    };
}

std::vector<Parser> group_parsers() {
    return {
        {"vgdisplay", group_line, "",
         [](const std::string& text) { parse_groups_and_volumes(text, false); }},
        {"vgdisplay and pvdisplay, a group a line",
         [](int i) { return i % 2 == 0 ? group_line(i / 2) : volume_line(i / 2); }, "",
         [](const std::string& text) { parse_groups_and_volumes(text, true); }},
        {"vgdisplay, one group", group_line, "",
         [](const std::string& text) { benchmark::DoNotOptimize(has_group_line(text, "none")); }},
    };
}

std::string pool_line(int number) {
    return format_text("  /dev/vg%05d/pool:vg%05d:3:1:-1:0:4194304:512:-1:0:-1:254:0\n", number,
                       number);
}

std::string register_line(int number) {
    return format_text("/dev/vg%05d/pool\t/mnt/vg%05d/pool\txfs\tdefaults\t0 0\n", number, number);
}

std::string mount_line(int number) {
    return format_text("/dev/mapper/vg%05d-pool /mnt/vg%05d/pool xfs rw,relatime 0 0\n", number,
                       number);
}

std::vector<Parser> pool_parsers() {
    constexpr int pools = 410; // ten times that is 4,100
    return {
        {"lvdisplay", pool_line, "",
         [](const std::string& text) {
             static const vginfo_list groups;
             pool_list list;
             parse_lvdisplay(text, groups, list);
         },
         pools},
        {"lvdisplay, one pool", pool_line, "",
         [](const std::string& text) { benchmark::DoNotOptimize(has_pool_line(text, "none")); },
         pools},
        {"mdfstab", register_line, "", fill<fs_info>(parse_mdfstab), pools},
        {"netfstab", register_line, "", fill<fs_info>(parse_netfstab), pools},
        {"mdfstab, a line less", register_line, "/dev/vg/pool /mnt/none xfs\n",
         [](const std::string& text) {
             benchmark::DoNotOptimize(register_without(text, "/mnt/none"));
         },
         pools},
        {"mount table", mount_line, "", discard(parse_mounts), pools},
    };
}

std::vector<Parser> all_parsers() {
    std::vector<Parser> all;
    for (const auto part :
         {text_parsers, disk_parsers, array_parsers, group_parsers, pool_parsers}) {
        std::ranges::move(part(), std::back_inserter(all));
    }
    return all;
}

std::string text_for(const Parser& parser, int lines) {
    std::string text;
    for (int i = 0; i < lines; ++i) {
        text += parser.line(i);
    }
    return text + parser.end;
}

/// Keeps the times of each run, by the benchmark's name.
class TimeKeeper : public benchmark::BenchmarkReporter {
  public:
    bool ReportContext(const Context&) override { return true; }
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.run_type == Run::RT_Iteration && !run.error_occurred) {
                times[run.run_name.function_name].push_back(run.GetAdjustedCPUTime());
            }
        }
    }
    std::map<std::string, std::vector<double>> times;
};

std::string run_name(const Parser& parser, int lines) {
    return parser.name + "/" + std::to_string(lines);
}

void register_runs(const Parser& parser) {
    for (const int lines : {parser.lines, times_longer * parser.lines}) {
        benchmark::RegisterBenchmark(run_name(parser, lines).c_str(),
                                     [parser, text = text_for(parser, lines)](auto& state) {
                                         while (state.KeepRunning()) {
                                             parser.parse(text);
                                         }
                                     })
            ->Unit(benchmark::kMicrosecond)
            ->Repetitions(rounds)
            ->MinTime(0.01);
    }
}

int measure() {
    const auto parsers = all_parsers();
    std::ranges::for_each(parsers, register_runs);
    TimeKeeper keeper;
    benchmark::RunSpecifiedBenchmarks(&keeper);
    for (const Parser& parser : parsers) {
        const auto& of_short = keeper.times[run_name(parser, parser.lines)];
        const auto& of_long = keeper.times[run_name(parser, times_longer * parser.lines)];
        if (of_short.empty() || of_long.empty()) {
            std::cerr << "parsers_bench: no times of " << parser.name << '\n';
            return EXIT_FAILURE;
        }
        const double before = median(of_short);
        const double after = median(of_long);
        print({"10 times the lines: " + parser.name, after / before, "x", most_time,
               format_text("%.0f us beside %.0f us for %d lines; medians of %d", after, before,
                           parser.lines, rounds)});
    }
    return 0;
}

} // namespace

} // namespace zav::bench

int main(int argc, char** argv) {
    // Memory that is returned to the system and faulted in again with each run would count for the
    // longer text only.
    ::mallopt(M_TRIM_THRESHOLD, INT_MAX);
    ::mallopt(M_MMAP_THRESHOLD, INT_MAX);
    std::vector<char*> arguments(argv, argv + argc);
    char interleaved[] = "--benchmark_enable_random_interleaving=true";
    arguments.push_back(interleaved);
    auto count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    try {
        return zav::bench::measure();
    } catch (const std::exception& error) {
        std::cerr << "parsers_bench: " << error.what() << '\n';
        return EXIT_FAILURE;
    }
}
