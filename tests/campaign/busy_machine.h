// SPDX-License-Identifier: MIT
// The appliance with tools that keep pools and mounts straight while many commands run at once.
#pragma once

#include "appliance.h"

namespace zav::campaign {

class BusyMachine : public test::Appliance {
  public:
    BusyMachine();

    // What is left over when nothing runs: locks, journals, copies, temporary files.
    test::Texts left_over() const;
};

} // namespace zav::campaign
