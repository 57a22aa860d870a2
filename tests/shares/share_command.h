// SPDX-License-Identifier: MIT
// Runs of sharemanage: how they end, and the commands of the steps that every service has.
#pragma once

#include "share_machine.h"

namespace zav::test {

// The commands of single steps, as they run.
inline std::string saved(const std::string& item) {
    return "/usr/local/bin/xconf -s " + item + " > /dev/null";
}
inline std::string service(const std::string& script, const std::string& action) {
    return "/etc/init.d/" + script + " " + action + " > /dev/null";
}
inline std::string ftp_list(const std::string& action, const std::string& user) {
    return "/usr/local/bin/fxml --merge -f /etc/vsftpd_user.xml " + action + " /etc/vsftpd/" +
           user + " > /dev/null";
}
inline std::string mdfstab_line(const std::string& directory) {
    return "/dev/data/pub\t" + directory + "\txfs\tdefaults\t0 0\n";
}
// Making a mount point and mounting pool "pub" of group "data" there.
inline Texts mounting(const std::string& directory) {
    return {"mkdir -m 0444 -p " + directory + " > /dev/null",
            "chattr  +i " + directory + " > /dev/null", xfs_mount("/dev/data/pub", directory),
            "chmod 0777 " + directory + " > /dev/null"};
}
// Taking a registered mount point out of the register and away.
inline const Texts unregistering = {"mv /tmp/mdfstab.XXXXXX /etc/mdfstab > /dev/null",
                                    saved(mdfstab)};
inline Texts removing(const std::string& directory) {
    return {"chattr  -i " + directory + " > /dev/null", "rm -rf " + directory + " > /dev/null"};
}
inline const Texts rehoming = {"mv /tmp/passwd.XXXXXX /etc/passwd > /dev/null", saved(passwd)};

inline Texts joined(const std::vector<Texts>& parts) {
    Texts all;
    for (const Texts& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

class ShareCommand : public testing::Test {
  protected:
    ShareCommand() { machine.directory("/etc/lvm/backup"); }

    // Runs sharemanage, with a log of its own.
    int manage(const Texts& arguments) {
        machine.remove("/var/log/log.libzav");
        run = machine.sharemanage(arguments);
        return run.exit_status;
    }
    // The share "pub" of a service, in use, with its pool, and mounted but for iSCSI.
    void have_share(const std::string& type, const std::string& users = "") {
        const bool is_ftp = type == "ftp";
        const bool is_iscsi = type == "iscsi";
        const std::string path = is_ftp     ? "/home/ftpuser/pub"
                                 : is_iscsi ? "/dev/data/pub"
                                            : "/mnt/data/pub";
        machine.shares({{.service = type, .path = path}});
        machine.pools({"/dev/data/pub"});
        if (!is_iscsi) {
            machine.mounts({"/dev/data/pub " + path}).file(mdfstab, mdfstab_line(path));
            machine.directory(path);
        }
        if (type == "samba") {
            machine.file(smb_conf, samba_global + samba_section("pub", path, users));
        } else if (type == "nfs") {
            machine.file(exports,
                         path + " " + (users.empty() ? "*" : users) + "(rw,sync,no_root_squash)\n");
        } else if (is_iscsi) {
            machine.file(targets, target(users.empty() ? "" : "\tIncomingUser " + users + "\n"));
        } else if (!users.empty()) {
            machine.file("/etc/vsftpd/" + users, "write_enable=YES\nlocal_root=" + path + "\n");
        }
    }
    // The forbidden share "pub": of Samba, NFS or (without a recycle file) FTP.
    void have_forbidden_share(const std::string& type) {
        machine.shares({{.service = ""}}).pools({"/dev/data/pub"});
        if (type == "samba") {
            machine.file(smb_recycle,
                         samba_section("pub", "/mnt/data/pub", "anna", "all", "writeable = no"));
        } else if (type == "nfs") {
            machine.file(exports_recycle, "/mnt/data/pub 10.0.0.7(rw,sync,no_root_squash)\n");
        }
    }
    // The target of an iSCSI share "pub" that was made on 2 May 2024.
    static std::string target(const std::string& users = "") {
        return "Target iqn.2006-05.com.nas:pub.20240502140305\n" + users +
               "\tLun 0 Path=/dev/data/pub,Type=fileio,IOMode=wb\n\tHeaderDigest\tNone,None\n"
               "\tDataDigest\tNone,None\n\tWthreads\t16\n";
    }

    void expect_succeeded(const std::string& output = "") const {
        EXPECT_EQ(run.exit_status, 0);
        EXPECT_EQ(run.out, output);
        EXPECT_EQ(run.err, "");
    }
    // The line for the front end last, `before` it, and the code in the log, last.
    void expect_failed(int code, const std::string& logged_by = "sharemanage_main",
                       const std::string& before = "") const {
        EXPECT_EQ(run.exit_status, code & 0xff);
        EXPECT_EQ(run.out, before + "for errno '" + std::to_string(code) + "'\n");
        EXPECT_EQ(run.err, "");
        const Texts messages = machine.logged();
        EXPECT_THAT(messages.empty() ? "" : messages.back(), returned(logged_by, code));
    }
    // A check fails before anything is run or changed.
    void expect_refused(int code, const std::string& check, const Texts& arguments,
                        const std::string& before = "") {
        const Snapshot old = machine.snapshot();
        manage(arguments);
        SCOPED_TRACE(testing::PrintToString(arguments));
        expect_failed(code, check, before);
        EXPECT_THAT(run.commands, testing::IsEmpty());
        EXPECT_THAT(old.changes_to(machine.snapshot()), testing::IsEmpty());
    }

    ShareMachine machine;
    Result run;
};

} // namespace zav::test
