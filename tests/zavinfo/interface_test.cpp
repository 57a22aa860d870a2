// SPDX-License-Identifier: MIT
// The C++ interface, zav/zav.hpp.
#include "api/snapshot_machine.h"
#include "zav/zav.hpp"

#include <stdexcept>

namespace zavinfo::test {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;

class Interface : public testing::Test {
  protected:
    zav::test::SnapshotMachine machine;
};

TEST_F(Interface, TakesASnapshot) {
    machine.call([] {
        zav::Context context;
        zav::Snapshot first(context, ZAV_DISKS | ZAV_ARRAYS);
        const zav::View view = first.view();
        const zav::Snapshot snapshot = std::move(first); // the view stays valid
        EXPECT_EQ(view.disks.size(), 7);
        EXPECT_EQ(view.arrays.size(), 2);
        EXPECT_EQ(zav::members(view.arrays[1]).size(), 3);
        EXPECT_EQ(zav::name(view.arrays[1].state), "rebuilding");
        for (const zav_member& member : zav::members(view.arrays[1])) {
            EXPECT_STREQ(zav::follow(view.disks, member.disk)->name, member.name);
        }
        EXPECT_EQ(zav::follow(view.disks, ZAV_NONE), nullptr);
        EXPECT_EQ(zav::follow(view.disks, 7), nullptr);
        EXPECT_THAT(view.shares, IsEmpty());
        EXPECT_EQ(view.health, nullptr);
    });
}

TEST_F(Interface, ThrowsWhatACallFailedWith) {
    try {
        const zav::Context context;
        const zav::Snapshot snapshot(context, 0);
        ADD_FAILURE() << "nothing was thrown";
    } catch (const zav::Error& error) {
        EXPECT_EQ(error.code(), ZAV_E_INVALID_ARGUMENT);
        EXPECT_STREQ(error.details().name, "invalid_argument");
        EXPECT_THAT(error.what(), HasSubstr("a pointer is null"));
    }
    EXPECT_STREQ(zav::Error(ZAV_E_NO_SUCH_DISK).what(), zav_strerror(ZAV_E_NO_SUCH_DISK));
}

TEST_F(Interface, PassesMessagesOnToAFunction) {
    machine.tool("/sbin/lvdisplay").on("/sbin/lvdisplay -c").exits(5);
    machine.call([] {
        std::vector<std::string> messages;
        zav::Context first;
        first.log_to(ZAV_LOG_NOWHERE, [&messages](zav_severity, std::string_view text) {
            messages.emplace_back(text);
        });
        zav::Context context = std::move(first);
        const zav::Snapshot snapshot(context, ZAV_POOLS);
        EXPECT_THAT(messages, Contains(HasSubstr("lvdisplay")));
        EXPECT_FALSE(snapshot.view().failures.empty());

        const std::size_t count = messages.size();
        context.log_to(ZAV_LOG_NOWHERE);
        const zav::Snapshot silent(context, ZAV_POOLS);
        EXPECT_EQ(messages.size(), count);
    });
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(Interface, LetsNoExceptionReachTheLibrary) {
    machine.tool("/sbin/lvdisplay").on("/sbin/lvdisplay -c").exits(5);
    machine.call([] {
        zav::Context context;
        context.log_to(ZAV_LOG_NOWHERE, [](zav_severity, std::string_view) {
            throw std::runtime_error("a message is too much");
        });
        const zav::Snapshot snapshot(context, ZAV_POOLS);
        EXPECT_FALSE(snapshot.view().failures.empty());
    });
}

} // namespace
} // namespace zavinfo::test
