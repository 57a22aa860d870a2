// SPDX-License-Identifier: MIT
// The share record and the list of shares.
#include "records/share.h"

#include <gmock/gmock.h>
#include <memory>
#include <string>
#include <vector>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

share_info named(const char* name, const char* type = "samba") {
    share_info share;
    share.name = name;
    share.type = type;
    return share;
}

share_info full_share() {
    share_info share = named("pub", "nfs");
    share.comment = "old comment";
    share.path = "/mnt/data/pub";
    share.device = "md0";
    share.users = "anna";
    share.size = {5};
    share.usedsize = {7};
    return share;
}

void add(share_list& list, const share_info& share) {
    list.append(std::make_unique<share_info>(share));
}

std::vector<std::string> names_of(const share_list& list) {
    std::vector<std::string> names;
    for (const share_info& share : list) {
        names.emplace_back(share.name.view());
    }
    return names;
}

TEST(ShareInfo, BeginsWritableAndWithoutADevice) {
    const share_info share;
    EXPECT_EQ(share.name, "");
    EXPECT_EQ(share.comment, "");
    EXPECT_EQ(share.path, "");
    EXPECT_EQ(share.type, "");
    EXPECT_EQ(share.device, "N.A.");
    EXPECT_EQ(share.users, "");
    EXPECT_EQ(share.write, 1);
    EXPECT_EQ(share.size.count, 0);
    EXPECT_EQ(share.usedsize.count, 0);
    EXPECT_EQ(share.link.next, &share.link);
    EXPECT_EQ(share.link.previous, &share.link);
}

TEST(ShareInfo, HoldsTextsOfTheirFullLength) {
    share_info share;
    const std::string text(300, 'x');
    share.name = text;
    share.comment = text;
    share.path = text;
    share.type = text;
    share.device = text;
    share.users = text;
    EXPECT_EQ(share.name.size(), 63u) << "32 characters and the time of an iSCSI target";
    EXPECT_EQ(share.comment.size(), 128u);
    EXPECT_EQ(share.path.size(), 127u);
    EXPECT_EQ(share.type.size(), 31u);
    EXPECT_EQ(share.device.size(), 7u);
    EXPECT_EQ(share.users.size(), 255u);
}

TEST(ShareType, IsComparedIgnoringCase) {
    EXPECT_TRUE(is_type(named("a", "samba"), share_type::samba));
    EXPECT_TRUE(is_type(named("a", "iSCSI"), share_type::iscsi));
    EXPECT_TRUE(is_type(named("a", "NFS"), share_type::nfs));
    EXPECT_FALSE(is_type(named("a", "samba,nfs"), share_type::samba));
    EXPECT_FALSE(is_type(named("a", ""), share_type::ftp));
}

TEST(LookupName, OfAnIscsiTargetIsWithoutItsTime) {
    EXPECT_EQ(lookup_name(named("disk1.20240502140305", "iscsi")), "disk1");
    EXPECT_EQ(lookup_name(named("disk1.20240502140305", "iSCSI")), "disk1");
    EXPECT_EQ(lookup_name(named("a.b.c", "iscsi")), "a");
    EXPECT_EQ(lookup_name(named("disk1", "iscsi")), "disk1");
}

TEST(LookupName, OfOtherSharesIsWhole) {
    for (const char* type : {"samba", "nfs", "ftp", ""}) {
        EXPECT_EQ(lookup_name(named("a.b", type)), "a.b") << type;
    }
}

TEST(FindByName, ComparesTheWholeNameExactly) {
    share_list list;
    add(list, named("pub2"));
    add(list, named("pub", "nfs"));
    add(list, named("pub", "ftp"));
    add(list, named("disk1.2024", "iscsi"));
    EXPECT_EQ(find_by_name(list, "pub")->type, "nfs") << "the first of two";
    EXPECT_EQ(find_by_name(list, "PUB"), nullptr);
    EXPECT_EQ(find_by_name(list, "pu"), nullptr);
    EXPECT_EQ(find_by_name(list, "disk1"), nullptr);
    EXPECT_NE(find_by_name(list, "disk1.2024"), nullptr);
}

TEST(FindSame, LooksForIscsiTargetsWithoutTheirTime) {
    share_list list;
    add(list, named("disk.x", "samba"));
    add(list, named("disk.20240502140305", "iscsi"));
    EXPECT_EQ(find_same(list, named("disk", "iscsi"))->type, "iscsi");
    EXPECT_EQ(find_same(list, named("disk.20990101000000", "iscsi"))->type, "iscsi");
    EXPECT_EQ(find_same(list, named("disk.x", "nfs"))->type, "samba");
    EXPECT_EQ(find_same(list, named("disk.20240502140305", "nfs")), nullptr);
}

TEST(CopyGiven, LeavesWhatWasNotGiven) {
    BoundedText<8> target("before");
    copy_given(target, BoundedText<4>());
    EXPECT_EQ(target, "before");
    copy_given(target, BoundedText<32>("a longer text"));
    EXPECT_EQ(target, "a longe");
}

TEST(ShareListUpdate, GivesTheMemberCommentUsersAccessAndService) {
    share_list list;
    add(list, full_share());
    share_info given = named("pub", "samba");
    given.comment = "new comment";
    given.users = "bert";
    given.write = 0;
    given.path = "/elsewhere";
    given.size = {99};
    EXPECT_TRUE(share_list_update(given, list));
    const share_info& member = *list.begin();
    EXPECT_EQ(member.comment, "new comment");
    EXPECT_EQ(member.users, "bert");
    EXPECT_EQ(member.write, 0);
    EXPECT_EQ(member.type, "samba");
    EXPECT_EQ(member.path, "/mnt/data/pub") << "stays";
    EXPECT_EQ(member.size.count, 5) << "stays";
    EXPECT_EQ(member.usedsize.count, 7) << "stays";
    EXPECT_EQ(list.size(), 1u);
}

TEST(ShareListUpdate, KeepsCommentAndUsersThatAreNotGiven) {
    share_list list;
    add(list, full_share());
    EXPECT_TRUE(share_list_update(named("pub", "nfs"), list));
    EXPECT_EQ(list.begin()->comment, "old comment");
    EXPECT_EQ(list.begin()->users, "anna");
}

TEST(ShareListUpdate, ClearsTheServiceOfAForbiddenShare) {
    share_list list;
    add(list, full_share());
    EXPECT_TRUE(share_list_update(named("pub", ""), list));
    EXPECT_EQ(list.begin()->type, "");
}

TEST(ShareListUpdate, AddsAMissingShareWithoutItsSizes) {
    share_list list;
    add(list, named("disk1.2024", "iscsi"));
    share_info given = full_share();
    given.write = 0;
    EXPECT_FALSE(share_list_update(given, list));
    ASSERT_THAT(names_of(list), ElementsAre("disk1.2024", "pub"));
    const share_info& added = *std::next(list.begin());
    EXPECT_EQ(added.path, "/mnt/data/pub");
    EXPECT_EQ(added.comment, "old comment");
    EXPECT_EQ(added.type, "nfs");
    EXPECT_EQ(added.users, "anna");
    EXPECT_EQ(added.write, 0);
    EXPECT_EQ(added.size.count, 0);
    EXPECT_EQ(added.usedsize.count, 0);
    EXPECT_EQ(added.device, "N.A.");
}

TEST(ShareListUpdate, ComparesTheWholeNameEvenOfATarget) {
    share_list list;
    add(list, named("disk1.2024", "iscsi"));
    EXPECT_FALSE(share_list_update(named("disk1", "iscsi"), list));
    EXPECT_THAT(names_of(list), ElementsAre("disk1.2024", "disk1"));
}

TEST(ShareListAdd, AddsACopyAtTheEnd) {
    share_list list;
    add(list, named("first"));
    EXPECT_TRUE(share_list_add(full_share(), list));
    ASSERT_THAT(names_of(list), ElementsAre("first", "pub"));
    const share_info& added = *std::next(list.begin());
    EXPECT_EQ(added.comment, "old comment");
    EXPECT_EQ(added.path, "/mnt/data/pub");
    EXPECT_EQ(added.type, "nfs");
    EXPECT_EQ(added.users, "anna");
    EXPECT_EQ(added.write, 1);
    EXPECT_EQ(added.size.count, 5);
    EXPECT_EQ(added.usedsize.count, 7);
    EXPECT_EQ(added.device, "N.A.");
}

TEST(ShareListAdd, LeavesAListThatHasTheName) {
    share_list list;
    add(list, named("pub", "samba"));
    EXPECT_FALSE(share_list_add(full_share(), list));
    EXPECT_EQ(list.size(), 1u);
    EXPECT_EQ(list.begin()->type, "samba");
    EXPECT_EQ(list.begin()->comment, "");
}

TEST(ShareListRemove, TakesOutTheShareOfThatName) {
    share_list list;
    for (const char* name : {"a", "pub", "b"}) {
        add(list, named(name));
    }
    EXPECT_TRUE(share_list_remove(list, named("pub", "nfs")));
    EXPECT_THAT(names_of(list), ElementsAre("a", "b"));
    EXPECT_FALSE(share_list_remove(list, named("pub", "nfs")));
    EXPECT_THAT(names_of(list), ElementsAre("a", "b"));
}

TEST(ShareListRemove, TakesOutAllOfThatName) {
    share_list list;
    for (const char* name : {"pub", "a", "pub"}) {
        add(list, named(name));
    }
    EXPECT_TRUE(share_list_remove(list, named("pub")));
    EXPECT_THAT(names_of(list), ElementsAre("a"));
}

TEST(ShareListRemove, FindsATargetWithoutItsTime) {
    share_list list;
    add(list, named("disk1x.20240502140305", "iscsi"));
    add(list, named("disk1.20240502140305", "iscsi"));
    EXPECT_TRUE(share_list_remove(list, named("disk1", "iscsi")));
    EXPECT_THAT(names_of(list), ElementsAre("disk1x.20240502140305"));
}

TEST(ShareListRemove, CutsNoNameOfAnotherService) {
    share_list list;
    add(list, named("disk1.x", "samba"));
    EXPECT_FALSE(share_list_remove(list, named("disk1", "samba")));
    EXPECT_EQ(list.size(), 1u);
}

} // namespace
} // namespace zav::test
