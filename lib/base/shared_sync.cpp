// SPDX-License-Identifier: MIT
#include "base/shared_sync.h"

#include "base/file.h"

#include <exception>
#include <fcntl.h>
#include <list>
#include <vector>

namespace zav {

namespace {

thread_local SharedSync* operation = nullptr;

} // namespace

SharedSync::SharedSync() {
    if (operation == nullptr) {
        operation = this;
    }
}

SharedSync::~SharedSync() {
    if (operation != this) {
        return;
    }
    operation = nullptr;
    try {
        finish();
    } catch (const std::exception&) {
        return; // without memory it is left to the file system
    }
}

bool SharedSync::finish() {
    std::list<FileDescriptor> opened;
    std::vector<int> fds;
    for (const std::string& directory : directories_) {
        opened.push_back(FileDescriptor::open(directory.c_str(), O_RDONLY | O_DIRECTORY));
        if (!opened.back()) {
            return false;
        }
        fds.push_back(opened.back().get());
    }
    const bool is_durable = sync_files(fds);
    directories_.clear();
    return is_durable;
}

bool sync_names_beside(const std::string& path) {
    if (operation == nullptr) {
        return sync_directory_of(path);
    }
    operation->directories_.insert(directory_of(path));
    return true;
}

} // namespace zav
