// SPDX-License-Identifier: MIT
// What the tests of the share operations have in common.
#pragma once

#include "../frame/file_locks.h"
#include "share_machine.h"
#include "shares/share_operations.h"

#include <csignal>
#include <string>

namespace zav::test {

// A share of the group "data" as an operation gets it.
inline share_info share_of(const char* type, const char* users = "", const char* comment = "",
                           const char* name = "pub") {
    const std::string service = type;
    share_info share;
    share.name = name;
    share.type = type;
    share.users = users;
    share.comment = comment;
    share.size = 5;
    share.path = (service == "ftp"     ? "/home/ftpuser/"
                  : service == "iscsi" ? "/dev/data/"
                                       : "/mnt/data/") +
                 std::string(name);
    return share;
}

inline share_info read_only(share_info share) {
    share.write = 0;
    return share;
}

// A line of the exports.
inline std::string export_of(const std::string& path, const std::string& hosts = "*",
                             const std::string& access = "rw") {
    return path + " " + hosts + "(" + access + ",sync,no_root_squash)\n";
}

// A target as it stands in its file; `users` are its lines of users.
inline std::string target_of(const std::string& name, const std::string& path,
                             const std::string& users = "") {
    return "Target iqn.2006-05.com.nas:" + name + "\n" + users + "\tLun 0 Path=" + path +
           ",Type=fileio,IOMode=wb\n\tHeaderDigest\tNone,None\n\tDataDigest\tNone,None\n"
           "\tWthreads\t16\n";
}

// What hands a file to the configuration tool.
inline std::string saved(const std::string& path) {
    return "/usr/local/bin/xconf -s " + path + " > /dev/null";
}

inline Texts joined(const std::vector<Texts>& parts) {
    Texts all;
    for (const Texts& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

// The commands that make a mount point, mount a pool there and register it.
inline Texts mounting(const std::string& directory, const std::string& pool = "/dev/data/pub") {
    return {"mkdir -m 0444 -p " + directory + " > /dev/null",
            "chattr  +i " + directory + " > /dev/null", xfs_mount(pool, directory),
            "chmod 0777 " + directory + " > /dev/null", saved(mdfstab)};
}
inline Texts removing_directory(const std::string& directory) {
    return {"chattr  -i " + directory + " > /dev/null", "rm -rf " + directory + " > /dev/null"};
}
inline std::string unmounting(const std::string& directory) {
    return "umount " + directory + " > /dev/null";
}
inline std::string mdfstab_line(const std::string& directory, const std::string& pool = "pub") {
    return "/dev/data/" + pool + "\t" + directory + "\txfs\tdefaults\t0 0\n";
}
inline Texts restarting(const std::string& script) {
    return {"/etc/init.d/" + script + " stop > /dev/null",
            "/etc/init.d/" + script + " start > /dev/null"};
}
inline const std::string removing_pool = "/sbin/lvremove -f data/pub > /dev/null";

// The commands that give a user its own home, and take its file from the FTP server; or the
// opposite. "mv" names a temporary file.
inline Texts unbinding(const std::string& user) {
    return {"mv /tmp/passwd.XXXXXX /etc/passwd > /dev/null", saved(passwd),
            "/usr/local/bin/fxml --merge -f /etc/vsftpd_user.xml -d /etc/vsftpd/" + user +
                " > /dev/null"};
}
inline Texts rewriting_home() {
    return {"mv /tmp/passwd.XXXXXX /etc/passwd > /dev/null", saved(passwd)};
}
inline Texts setting_user(const std::string& user) {
    return {"/usr/local/bin/fxml --merge -f /etc/vsftpd_user.xml -a /etc/vsftpd/" + user +
                " > /dev/null",
            saved("/etc/vsftpd_user.xml")};
}

// A machine on which share operations run, in a child.
class ShareOperation : public testing::Test {
  protected:
    Result operate(const std::function<int()>& operation, const RunOptions& options = {}) {
        return machine.operation(operation, options);
    }
    // What it returns.
    int result_of(const std::function<int()>& operation, const RunOptions& options = {}) {
        return operate(operation, options).returned;
    }
    // The share "pub" of a service on the pool of its name, mounted and registered everywhere.
    void has_share(const std::string& service, const std::string& users = "") {
        const std::string path = service == "ftp"     ? "/home/ftpuser/pub"
                                 : service == "iscsi" ? "/dev/data/pub"
                                                      : "/mnt/data/pub";
        machine.pools({"/dev/data/pub"});
        machine.shares({{"pub", service, path}});
        if (service != "iscsi") {
            machine.mounts({"/dev/data/pub " + path}).file(mdfstab, mdfstab_line(path));
        }
        if (service == "samba") {
            machine.file(smb_conf, samba_global + samba_section("pub", path, users));
        } else if (service == "nfs") {
            machine.file(exports, export_of(path, users.empty() ? "*" : users));
        } else if (service == "iscsi") {
            machine.file(targets, target_of("pub.20240502140305", path));
        } else if (!users.empty() && users != "ftpuser") {
            machine.file("/etc/vsftpd/" + users, "local_root=" + path + "\n");
        }
        machine.directory("/home/ftpuser/pub");
    }
    // The forbidden share "pub", with what its recycle file has of it.
    void has_forbidden_share(const std::string& recycle_path = "",
                             const std::string& definition = "") {
        machine.pools({"/dev/data/pub"});
        machine.shares({{.name = "pub", .service = ""}});
        if (!recycle_path.empty()) {
            machine.file(recycle_path, definition);
        }
    }
    // Every later run of the tool ends so.
    void fails(const char* tool, const std::string& beginning, int status = 1) {
        machine.tool(tool).on_prefix(beginning).exits(status);
    }
    std::string forbidden_section() const {
        return register_section({.name = "pub", .service = ""});
    }
    ShareMachine machine;
};

} // namespace zav::test
