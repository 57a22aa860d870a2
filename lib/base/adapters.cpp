// SPDX-License-Identifier: MIT
#include "base/adapters.h"

#include "base/file.h"

#include <array>
#include <sys/stat.h>
#include <unistd.h>

namespace zav {

namespace {

constexpr std::string_view tree = "/usr/lib/zavbox/tools";

bool is_tree_of_root() {
    // Innermost first: where it is missing, nothing else is looked at.
    std::string path(tree);
    while (is_directory_of(root_user, path.c_str())) {
        if (path == "/") {
            return true;
        }
        const std::size_t slash = path.rfind('/');
        path.resize(slash == 0 ? 1 : slash);
    }
    return false;
}

/// Takes the first name off a path, empty between two slashes.
std::string take_name(std::string& path) {
    const std::size_t slash = path.find('/');
    std::string name = path.substr(0, slash);
    path.erase(0, slash == std::string::npos ? slash : slash + 1);
    return name;
}

/// Where a path below the tree leads, name by name.
class Walk {
  public:
    explicit Walk(std::string_view path) : rest_(path) {}

    /// Whether it is to a file, and all on the way is root's and in the tree.
    bool ends_at_file_of_root() {
        while (!rest_.empty()) {
            const std::string name = take_name(rest_);
            if (name == "..") {
                if (at_ == tree) {
                    return false;
                }
                leave();
            } else if (!name.empty() && name != "." && !enter(name)) {
                return false;
            }
        }
        return is_file_;
    }

  private:
    bool enter(const std::string& name) {
        at_.append("/").append(name);
        struct stat status = {};
        if (::lstat(at_.c_str(), &status) != 0 || !is_kept_by(root_user, status)) {
            return false;
        }
        is_file_ = S_ISREG(status.st_mode);
        return S_ISLNK(status.st_mode) ? follow() : is_file_ == rest_.empty();
    }

    bool follow() {
        constexpr int most_links = 8;
        std::array<char, 256> target = {};
        const ssize_t size = ::readlink(at_.c_str(), target.data(), target.size() - 1);
        if (++links_ > most_links || size <= 0 || target.front() == '/' ||
            static_cast<std::size_t>(size) == target.size() - 1) {
            return false;
        }
        rest_ = std::string(target.data()) + "/" + rest_;
        if (rest_.ends_with("/")) {
            rest_.pop_back();
        }
        leave();
        return true;
    }

    void leave() { at_.resize(at_.rfind('/')); }

    std::string at_ = std::string(tree);
    std::string rest_;
    int links_ = 0;
    bool is_file_ = false;
};

} // namespace

std::string adapter_of(std::string_view program) {
    static const bool has_tree = is_tree_of_root();
    if (!has_tree || !program.starts_with('/')) {
        return "";
    }
    std::string adapter(tree);
    adapter += program;
    return Walk(program).ends_at_file_of_root() ? adapter : "";
}

} // namespace zav
