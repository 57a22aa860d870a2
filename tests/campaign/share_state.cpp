// SPDX-License-Identifier: MIT
#include "share_state.h"

#include <algorithm>
#include <regex>
#include <sstream>

namespace zav::campaign {
namespace {

using test::PrivateRoot;

constexpr auto ftp_home = "/home/ftpuser/";

std::string quoted(const std::string& line) {
    return "\"" + line + "\"";
}

std::vector<std::string> lines_of(const PrivateRoot& root, const char* path, SharesAtRest& found) {
    if (!root.exists(path)) {
        return {};
    }
    const std::string text = root.read(path);
    if (!text.empty() && text.back() != '\n') {
        found.wrong.push_back(std::string(path) + " does not end with a line feed");
    }
    if (text.find('\0') != std::string::npos) {
        found.wrong.push_back(std::string(path) + " has a zero byte");
    }
    std::istringstream in(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line);
    }
    return lines;
}

// A file of sections whose keys all come in the same order.
using Section = std::map<std::string, std::string>;

std::map<std::string, Section> sections_of(const PrivateRoot& root, const char* path,
                                           const std::vector<std::string>& keys,
                                           SharesAtRest& found) {
    std::map<std::string, Section> sections;
    std::string name;
    size_t next = keys.size();
    for (const std::string& line : lines_of(root, path, found)) {
        const size_t sign = line.find(" =");
        if (line.starts_with('[') && line.ends_with(']') && next == keys.size()) {
            name = line.substr(1, line.size() - 2);
            next = name == "global" ? keys.size() : 0;
            if (!sections.try_emplace(name).second) {
                found.wrong.push_back(std::string(path) + " has " + name + " twice");
            }
        } else if (name != "global" && (next == keys.size() || sign == std::string::npos ||
                                        line.substr(0, sign) != "    " + keys[next])) {
            found.wrong.push_back(std::string(path) + " has no whole section at " + quoted(line));
            return sections;
        } else if (name != "global") {
            sections[name][keys[next++]] = sign + 3 <= line.size() ? line.substr(sign + 3) : "";
        }
    }
    if (next != keys.size()) {
        found.wrong.push_back(std::string(path) + " ends within " + name);
    }
    return sections;
}

void read_register(const PrivateRoot& root, SharesAtRest& found) {
    const std::vector<std::string> services = {"samba", "nfs", "ftp", "iscsi"};
    std::vector<std::string> keys = {"sharename", "path", "size"};
    keys.insert(keys.end(), services.begin(), services.end());
    keys.emplace_back("comment");
    for (auto& [name, section] : sections_of(root, "/etc/sharefolder.conf", keys, found)) {
        std::string served;
        for (const std::string& service : services) {
            if (section[service] == "1") {
                served += (served.empty() ? "" : ",") + service;
            }
        }
        found.registered[name] = served;
    }
}

void read_samba(const PrivateRoot& root, const char* path, const std::string& access,
                std::map<std::string, std::vector<Entry>>& to, SharesAtRest& found) {
    const std::vector<std::string> keys = {"comment",   "path",        "public",     access,
                                           "printable", "create mask", "valid users"};
    for (auto& [name, section] : sections_of(root, path, keys, found)) {
        if (name != "global") {
            to[name].push_back({"samba", section["valid users"], section[access] == "yes"});
        }
    }
}

void read_exports(const PrivateRoot& root, const char* path,
                  std::map<std::string, std::vector<Entry>>& to, SharesAtRest& found) {
    static const std::regex form(R"(/mnt/data/(\w+) (\S+)\((rw|ro),sync,no_root_squash\))");
    for (const std::string& line : lines_of(root, path, found)) {
        std::smatch parts;
        if (!std::regex_match(line, parts, form)) {
            found.wrong.push_back(std::string(path) + " has " + quoted(line));
            continue;
        }
        const std::string users = parts[2] == "*" ? "" : parts[2].str();
        to[parts[1]].push_back({"nfs", users, parts[3] == "rw"});
    }
}

void read_targets(const PrivateRoot& root, SharesAtRest& found) {
    static const std::regex target(R"(Target iqn\.2006-05\.com\.nas:(\w+)\.\d{14})");
    static const std::regex user(R"(\tIncomingUser (\S+) .*)");
    static const std::regex rest(R"(\t(Lun 0 Path=/dev/data/\w+,Type=fileio,IOMode=wb)"
                                 R"(|HeaderDigest\tNone,None|DataDigest\tNone,None|Wthreads\t16))");
    Entry* entry = nullptr;
    int complete = 4;
    for (const std::string& line : lines_of(root, "/etc/ietd.conf", found)) {
        std::smatch parts;
        if (std::regex_match(line, parts, target) && complete == 4) {
            entry = &found.exported[parts[1]].emplace_back(Entry{"iscsi", "", true});
            complete = 0;
        } else if (entry != nullptr && complete == 0 && std::regex_match(line, parts, user)) {
            entry->users += (entry->users.empty() ? "" : ",") + parts[1].str();
        } else if (std::regex_match(line, rest) && complete < 4) {
            ++complete;
        } else {
            found.wrong.push_back("/etc/ietd.conf has " + quoted(line));
        }
    }
    if (complete != 4) {
        found.wrong.emplace_back("/etc/ietd.conf ends within a target");
    }
}

// A share is reached by FTP when it is mounted in the home of ftpuser; who else than ftpuser comes
// in there is in the files of the users.
void read_ftp(const PrivateRoot& root, SharesAtRest& found) {
    std::map<std::string, std::vector<std::string>> users;
    for (const std::string& user : root.list("/etc/vsftpd")) {
        const std::string path = "/etc/vsftpd/" + user;
        bool has_root = user == "ftpuser";
        for (const std::string& line : lines_of(root, path.c_str(), found)) {
            if (line.starts_with(std::string("local_root=") + ftp_home)) {
                users[line.substr(line.rfind('/') + 1)].push_back(user);
                has_root = true;
            }
        }
        if (!has_root) {
            found.wrong.push_back(path + " has no directory: its user sees every share");
        }
    }
    for (const std::string& line : lines_of(root, "/proc/mounts", found)) {
        const size_t at = line.find(ftp_home);
        if (at != std::string::npos) {
            const size_t name = at + std::string(ftp_home).size();
            users[line.substr(name, line.find(' ', name) - name)];
        }
    }
    for (const auto& [name, named] : users) {
        for (const std::string& user : named) {
            found.exported[name].push_back({"ftp", user, true});
        }
        if (named.empty()) {
            found.exported[name].push_back({"ftp", "ftpuser", true});
        }
    }
}

} // namespace

std::string described(const ShareState& state) {
    if (!state.exists) {
        return "absent";
    }
    return (state.service.empty() ? "forbidden" : state.service) + " for " +
           (state.users.empty() ? "all" : state.users) + (state.writable ? " rw" : " ro");
}

ShareState SharesAtRest::state_of(const std::string& name) const {
    const auto found = registered.find(name);
    if (found == registered.end()) {
        return {};
    }
    ShareState state = {true, found->second, "", true, ""};
    if (const auto entry = parked.find(name); entry != parked.end()) {
        state.parked_by = entry->second.front().service;
    }
    for (const auto* entries : {&parked, &exported}) {
        if (const auto entry = entries->find(name);
            entry != entries->end() && !entry->second.empty()) {
            state.users = entry->second.front().users;
            state.writable = entry->second.front().writable;
        }
    }
    return state;
}

std::vector<std::string> SharesAtRest::contradictions(const std::string& name) const {
    std::vector<std::string> texts;
    const auto listed = registered.find(name);
    const std::string service = listed != registered.end() ? listed->second : "";
    const auto live = exported.find(name);
    bool is_served = false;
    for (const Entry& entry : live != exported.end() ? live->second : std::vector<Entry>()) {
        if (entry.service != service && entry.service != "ftp") {
            texts.push_back(name + ": exported by " + entry.service + ", registered for " +
                            (service.empty() ? "none" : service));
        }
        is_served = is_served || entry.service == service;
    }
    if (!service.empty() && service != "ftp" && !is_served) {
        texts.push_back(name + ": registered for " + service + ", whose file does not have it");
    }
    return texts;
}

SharesAtRest read_shares(const PrivateRoot& root) {
    SharesAtRest found;
    read_register(root, found);
    read_samba(root, "/etc/samba/smb.conf", "writable", found.exported, found);
    read_samba(root, "/etc/samba/smb_recy.conf", "writeable", found.parked, found);
    read_exports(root, "/etc/exports", found.exported, found);
    read_exports(root, "/etc/exports_recy", found.parked, found);
    read_targets(root, found);
    read_ftp(root, found);
    return found;
}

} // namespace zav::campaign
