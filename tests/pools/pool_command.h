// SPDX-License-Identifier: MIT
// Runs of lvmanage, fsmanage and netmanage: how they end, and the ways in which a tool fails.
#pragma once

#include "pool_machine.h"

#include <csignal>

namespace zav::test {

// How a tool fails, and what the log says of its end.
struct Fault {
    std::string end;
    void (*cause)(PoolMachine&, const char* tool);
};

inline const std::vector<Fault> faults = {
    {"normal with exit(5)",
     [](PoolMachine& machine, const char* tool) { machine.tool(tool).any().exits(5); }},
    {"unnormal with exit(0)",
     [](PoolMachine& machine, const char* tool) { machine.tool(tool).any().killed_by(SIGKILL); }},
    {"normal with exit(127)",
     [](PoolMachine& machine, const char* tool) { machine.remove(tool); }}};

class PoolCommand : public testing::Test {
  protected:
    explicit PoolCommand(const std::string& command) : command_(command) {}

    // Runs the command, with a log of its own.
    int manage(Texts arguments) {
        arguments.insert(arguments.begin(), command_);
        machine.remove("/var/log/log.libzav");
        run = machine.manage(arguments);
        return run.exit_status;
    }

    // Runs `body` with each fault of the tool, which works again in the end.
    void with_each_fault(const char* tool, const std::function<void(const std::string&)>& body) {
        for (const Fault& fault : faults) {
            SCOPED_TRACE(tool + (" " + fault.end));
            fault.cause(machine, tool);
            body(fault.end);
        }
        machine.tool(tool).any();
    }

    // The list of pools cannot be read.
    void hide_pools(const std::string& command = "/sbin/lvdisplay -c") {
        machine.tool(pool_tool::lvdisplay).on(command).does("rm -f /tmp/lvdisplay.*");
    }

    // lvdisplay knows the pool when it is asked for that alone.
    void list_pool_alone(const std::string& group = "data") {
        machine.tool(pool_tool::lvdisplay)
            .on("/sbin/lvdisplay -c " + group + "/pool")
            .prints("  /dev/" + group + "/pool:" + group + ":3:1:-1:0:4194304:512:-1:0:-1:254:0\n");
    }

    // A backup of LVM's whose only volume is gone, so that it gets a RAM disk.
    void lose_volume(const std::string& group, const Texts& pools) {
        machine.tool("/sbin/vgcfgrestore").any().as_default();
        machine.backup(group, pools);
        const std::string path = "/etc/lvm/backup/" + group;
        std::string text = machine.read(path);
        const std::string section = "physical_volumes {\n";
        text.insert(text.find(section) + section.size(),
                    "\t\tpv0 {\n\t\t\tid = \"gone-1\"\n\t\t\tdevice = \"/dev/md7\"\n\t\t}\n");
        machine.file(path, text);
    }

    // The line for the front end last, `before` it, and the code in the log.
    void expect_failed(int code, const std::string& before = "") const {
        EXPECT_EQ(run.exit_status, code & 0xff);
        EXPECT_EQ(run.out, before + "for errno '" + std::to_string(code) + "'\n");
        EXPECT_EQ(run.err, "");
        expect_logged_last(code);
    }
    void expect_succeeded(const std::string& output = "") const {
        EXPECT_EQ(run.exit_status, 0);
        EXPECT_EQ(run.out, output);
        EXPECT_EQ(run.err, "");
    }
    void expect_logged_last(int code) const {
        const Texts messages = machine.logged();
        EXPECT_THAT(messages.empty() ? "" : messages.back(), returned(command_ + "_main", code));
    }
    // Only the code is told, and nothing changes.
    void expect_refused(int code, const Texts& arguments) {
        const Snapshot before = machine.snapshot();
        manage(arguments);
        expect_failed(code);
        EXPECT_THAT(changes(run), testing::IsEmpty());
        EXPECT_THAT(before.changes_to(machine.snapshot()), testing::IsEmpty());
    }
    void expect_each_refused(int code, const Texts& names,
                             const std::function<Texts(const std::string&)>& arguments_with) {
        for (const std::string& name : names) {
            SCOPED_TRACE(name);
            expect_refused(code, arguments_with(name));
            EXPECT_THAT(run.commands, testing::IsEmpty());
        }
    }

    PoolMachine machine;
    Result run;

  private:
    std::string command_;
};

// What is no name of a pool, a group or a disk.
inline const Texts bad_names = {"",     "a b", "a;b", "$(reboot)", "a/b",
                                "../b", "a.b", "a\n", "p'ol",      std::string(33, 'n')};

} // namespace zav::test
