// SPDX-License-Identifier: MIT
#include "zavinfo/loss.h"
#include "zavinfo/records.h"

#include <gmock/gmock.h>

namespace zavinfo::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr auto active = ZAV_MEMBER_ACTIVE;
constexpr auto faulty = ZAV_MEMBER_FAULTY;
constexpr auto missing = ZAV_MEMBER_MISSING;
constexpr auto rebuilding = ZAV_MEMBER_REBUILDING;
constexpr auto spare = ZAV_MEMBER_SPARE;

// What goes with sda, the first member of an array of that level.
Loss loss_in(const char* level, const std::vector<zav_member_state>& states,
             zav_array_state state = ZAV_ARRAY_CLEAN) {
    Records records;
    records.arrays[0].level = level;
    records.arrays[0].state = state;
    records.members.clear();
    for (const zav_member_state member : states) {
        const int disk = records.members.empty() ? 0 : ZAV_NONE;
        records.members.push_back({"sda", disk, member, 0});
    }
    return loss_of(records.view(), 0);
}

TEST(Loss, IsWhatTheLevelCannotDoWithout) {
    EXPECT_EQ(loss_in("raid0", {active, active}).kind, LossKind::data);
    EXPECT_EQ(loss_in("linear", {active}).kind, LossKind::data);
    EXPECT_EQ(loss_in("raid1", {active, active}).kind, LossKind::guard);
    EXPECT_EQ(loss_in("raid1", {active}).kind, LossKind::data);
    EXPECT_EQ(loss_in("raid1", {active, missing}).kind, LossKind::data);
    EXPECT_EQ(loss_in("raid1", {active, active, faulty}).kind, LossKind::guard);
    EXPECT_EQ(loss_in("raid5", {active, active, active}).kind, LossKind::guard);
    EXPECT_EQ(loss_in("raid5", {active, active, missing}).kind, LossKind::data);
    EXPECT_EQ(loss_in("raid5", {active, active, active, spare}).kind, LossKind::guard);
    EXPECT_EQ(loss_in("raid6", {active, active, active, missing}).kind, LossKind::guard);
    EXPECT_EQ(loss_in("raid6", {active, active, faulty, missing}).kind, LossKind::data);
    EXPECT_EQ(loss_in("raid10", {active, active}).kind, LossKind::unknown);
}

TEST(Loss, CountsAMemberThatIsBeingRebuiltAsLacking) {
    EXPECT_EQ(loss_in("raid5", {active, active, rebuilding}).kind, LossKind::data);
    EXPECT_EQ(loss_in("raid5", {rebuilding, active, active}).kind, LossKind::guard);
    // The rebuild goes on in the slot of the faulty one.
    EXPECT_EQ(loss_in("raid6", {active, active, active, faulty, rebuilding}).kind, LossKind::guard);
}

TEST(Loss, OfAFaultyOrSpareMemberIsNone) {
    EXPECT_EQ(loss_in("raid5", {faulty, active, active}).kind, LossKind::nothing);
    EXPECT_EQ(loss_in("raid5", {spare, active, active, active}).kind, LossKind::spare);
}

TEST(Loss, OfAnArrayThatDoesNotRunHasHappened) {
    const Loss loss = loss_in("raid5", {spare, spare}, ZAV_ARRAY_INACTIVE);
    EXPECT_EQ(loss.kind, LossKind::gone);
    EXPECT_THAT(loss.shares, ElementsAre(0));
}

TEST(Loss, HasAllThatLiesOnTheArray) {
    const Loss loss = loss_in("raid0", {active, active});
    EXPECT_THAT(loss.arrays, ElementsAre(0));
    EXPECT_THAT(loss.groups, ElementsAre(0));
    EXPECT_THAT(loss.pools, ElementsAre(0));
    EXPECT_THAT(loss.filesystems, ElementsAre(0));
    EXPECT_THAT(loss.shares, ElementsAre(0));
    EXPECT_EQ(loss_summary(loss), "data lost, 1 pool with 1 share");
    EXPECT_THAT(loss_in("raid1", {active, active}).shares, IsEmpty());
}

TEST(Loss, HasAGroupOnTheDiskItself) {
    Records records;
    records.volumes = {{"3", ZAV_NONE, 2, 100 * gib, 0}};
    const Loss loss = loss_of(records.view(), 2);
    EXPECT_EQ(loss.kind, LossKind::data);
    EXPECT_THAT(loss.pools, ElementsAre(0));
}

TEST(Loss, OfADiskBesideIsNoneOrASpare) {
    Records records;
    EXPECT_EQ(loss_of(records.view(), 2).kind, LossKind::spare);
    records.disks[2].is_hotspare = 0;
    EXPECT_EQ(loss_of(records.view(), 2).kind, LossKind::nothing);
    records.disks[2].is_used = 1;
    EXPECT_EQ(loss_of(records.view(), 2).kind, LossKind::unknown);
}

TEST(Loss, IsNotKnownWhenSomethingWasNotRead) {
    Records records;
    records.failures.push_back({"arrays", "", ZAV_E_NO_ARRAY_LIST, ""});
    EXPECT_EQ(loss_of(records.view(), 2).kind, LossKind::unknown);
    records.failures[0].part = "health";
    EXPECT_EQ(loss_of(records.view(), 2).kind, LossKind::spare);
}

} // namespace
} // namespace zavinfo::test
