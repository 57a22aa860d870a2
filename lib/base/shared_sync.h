// SPDX-License-Identifier: MIT
/// \file
/// One wait for the disk in place of several. What must be on it when an operation ends, but not
/// yet when its next step begins, is synced once, at the end: names that were removed or replaced.
/// Until then a power cut may undo them, one after the other from the last: a file system keeps the
/// order in which a directory was changed. So no journal is gone for good before what it stood for
/// is there, and one that comes back tells what its files hold.
#pragma once

#include <set>
#include <string>

namespace zav {

/// The end of an operation, in this thread. One within another belongs to that.
class SharedSync {
  public:
    SharedSync();
    SharedSync(const SharedSync&) = delete;
    SharedSync& operator=(const SharedSync&) = delete;
    ~SharedSync();

    /// Makes everything durable that was left for the end. False when that fails; errno says why.
    bool finish();

  private:
    friend bool sync_names_beside(const std::string& path);
    std::set<std::string> directories_;
};

/// Makes the names in the directory of `path` durable, at the end of the operation where one is
/// under way. False when it fails here; errno says why.
bool sync_names_beside(const std::string& path);

} // namespace zav
