// SPDX-License-Identifier: MIT
#pragma once

#include "private_root.h"

namespace zav::test {

// A root in which /usr/bin/zavbox is victim.cpp.
class VictimRoot : public PrivateRoot {
  public:
    VictimRoot() { bind(ZAV_TEST_VICTIM, "/usr/bin/zavbox"); }
};

} // namespace zav::test
