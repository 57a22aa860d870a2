// SPDX-License-Identifier: MIT
// A private root in which commands run real programs, and a real shell where they need one.
#pragma once

#include "private_root.h"
#include "standin/places.h"

#include <string>

namespace zav::test {

class RealToolsRoot : public PrivateRoot {
  public:
    RealToolsRoot() {
        bind("/bin/dash", "/bin/sh");
        remove("/bin/cat").symlink(places::busybox, "/bin/cat");
        for (const char* name : {"cp", "echo", "false", "ls", "sh", "sleep", "true", "wc"}) {
            symlink(places::busybox, std::string("/usr/local/bin/") + name);
        }
    }

    // Installs a script that the kernel can execute directly.
    RealToolsRoot& script(const std::string& path, const std::string& text) {
        remove(path).file(path, std::string("#!") + places::busybox + " sh\n" + text, 0755);
        return *this;
    }
};

} // namespace zav::test
