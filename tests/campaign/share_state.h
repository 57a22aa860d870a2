// SPDX-License-Identifier: MIT
// What the files say of shares, read with parsers of their own: anything that no complete line of
// the product's could be is reported.
#pragma once

#include "private_root.h"

#include <map>
#include <string>
#include <vector>

namespace zav::campaign {

struct ShareState {
    bool exists = false;
    std::string service; // samba, nfs, iscsi, ftp; empty: forbidden
    std::string users;   // empty: everybody; for FTP the user
    bool writable = true;
    std::string parked_by; // the service whose recycle file has it
};

std::string described(const ShareState& state);

struct Entry {
    std::string service;
    std::string users;
    bool writable = true;
};

struct SharesAtRest {
    std::map<std::string, std::string> registered;      // name: service
    std::map<std::string, std::vector<Entry>> exported; // name: how clients reach it
    std::map<std::string, std::vector<Entry>> parked;   // name: in a recycle file
    std::vector<std::string> wrong;                     // what is not whole

    // The state of one share, and what its files say against each other.
    ShareState state_of(const std::string& name) const;
    std::vector<std::string> contradictions(const std::string& name) const;
};

SharesAtRest read_shares(const test::PrivateRoot& root);

} // namespace zav::campaign
