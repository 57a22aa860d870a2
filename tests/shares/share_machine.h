// SPDX-License-Identifier: MIT
// An appliance that shares folders: registers, service files and users, all of whose tools and init
// scripts answer as they do on a good day.
#pragma once

#include "pools/pool_machine.h"

#include <string>

namespace zav::test {

inline constexpr auto share_register = "/etc/sharefolder.conf";
inline constexpr auto smb_conf = "/etc/samba/smb.conf";
inline constexpr auto smb_recycle = "/etc/samba/smb_recy.conf";
inline constexpr auto exports = "/etc/exports";
inline constexpr auto exports_recycle = "/etc/exports_recy";
inline constexpr auto targets = "/etc/ietd.conf";
inline constexpr auto passwd = "/etc/passwd";
inline constexpr auto user_file = "/etc/nas_userfile.conf";
inline constexpr auto ftp_template = "/etc/vsftpd/ftpuser";

inline constexpr auto samba_global = "[global]\n    workgroup = NAS\n";

// A share as the register has it.
struct RegisteredShare {
    std::string name = "pub";
    std::string service = "samba"; // samba, nfs, ftp, iscsi, or "" for a forbidden one
    std::string path = "/mnt/data/pub";
    std::string size = "5";
    std::string comment = "";
};

inline std::string register_section(const RegisteredShare& share) {
    std::string text = "[" + share.name + "]\n    sharename = " + share.name +
                       "\n    path = " + share.path + "\n    size = " + share.size + "\n";
    for (const char* service : {"samba", "nfs", "ftp", "iscsi"}) {
        text +=
            std::string("    ") + service + " = " + (share.service == service ? "1" : "0") + "\n";
    }
    return text + "    comment = " + share.comment + "\n";
}

// A section of a Samba file; `access` is its line, such as "writable = yes".
inline std::string samba_section(const std::string& name, const std::string& path,
                                 const std::string& users = "", const std::string& comment = "",
                                 const std::string& access = "writable = yes") {
    return "[" + name + "]\n    comment = " + comment + "\n    path = " + path +
           "\n    public = yes\n    " + access +
           "\n    printable = no\n    create mask = 0777\n    valid users = " + users + "\n";
}

// Beside what a PoolMachine has: an empty register, smb.conf with a global part, empty exports,
// targets and recycle files, the users anna (secret "annasecret") and bert of the appliance, carla
// and ftpuser of the system, the FTP server's file of ftpuser.
class ShareMachine : public PoolMachine {
  public:
    explicit ShareMachine(const std::string& model = "KOR7206H") : PoolMachine(model) {
        for (const char* service : {"samba", "nfs", "vsftpd", "iscsi-target"}) {
            tool(std::string("/etc/init.d/") + service).any().as_default();
        }
        tool("/usr/local/bin/fxml").any().as_default();
        file(share_register, "");
        file(smb_conf, samba_global);
        for (const char* path : {smb_recycle, exports, exports_recycle, targets}) {
            file(path, "");
        }
        file(user_file, "anna|1001|annasecret\nbert|1002|\n");
        file(passwd, "root:x:0:0:root:/root:/bin/sh\n"
                     "anna:x:1001:100:Anna:/home/anna:/bin/sh\n"
                     "annabel:x:1004:100::/home/annabel:/bin/false\n"
                     "carla:x:1003:100::/home/carla:/bin/sh\n"
                     "ftpuser:x:500:500::/home/ftpuser:/bin/sh\n");
        file(ftp_template,
             "# defaults\nlocal_umask=022\nwrite_enable=NO\nidle_session_timeout=60\n");
        directory("/home/ftpuser");
    }

    // The shares of the register, one section each.
    ShareMachine& shares(const std::vector<RegisteredShare>& list) {
        std::string text;
        for (const RegisteredShare& share : list) {
            text += register_section(share);
        }
        file(share_register, text);
        return *this;
    }

    // Runs sharemanage. Nothing may stay in /tmp.
    Result sharemanage(Texts arguments, const RunOptions& options = {}) {
        arguments.insert(arguments.begin(), "sharemanage");
        return manage(arguments, options);
    }
};

} // namespace zav::test
