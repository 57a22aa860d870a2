// SPDX-License-Identifier: MIT
#include "base/lists.h"

#include <cstddef>
#include <gmock/gmock.h>
#include <iterator>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Counts the existing objects.
struct Attribute {
    Attribute() { ++alive; }
    Attribute(const Attribute&) = delete;
    Attribute& operator=(const Attribute&) = delete;
    ~Attribute() { --alive; }

    static inline int alive = 0;
    int id = 0;
    ListLink link;
};

struct Disk {
    Disk() { ++alive; }
    Disk(const Disk&) = delete;
    Disk& operator=(const Disk&) = delete;
    ~Disk() { --alive; }

    static inline int alive = 0;
    int channel = 0;
    RecordList<Attribute> attributes;
    ListLink link;
};

using DiskList = RecordList<Disk>;

void fill(DiskList& list, const std::vector<int>& channels) {
    for (const int channel : channels) {
        list.append().channel = channel;
    }
}

std::vector<int> channels_of(const DiskList& list) {
    std::vector<int> channels;
    for (const Disk& disk : list) {
        channels.push_back(disk.channel);
    }
    return channels;
}

TEST(RecordList, BeginsEmpty) {
    const DiskList list;
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(list.size(), 0u);
    EXPECT_EQ(list.begin(), list.end());
}

TEST(RecordList, AppendsAtTheEnd) {
    DiskList list;
    fill(list, {3, 1, 2});
    EXPECT_FALSE(list.empty());
    EXPECT_EQ(list.size(), 3u);
    EXPECT_THAT(channels_of(list), ElementsAre(3, 1, 2));
}

TEST(RecordList, AppendsARecordMadeElsewhere) {
    DiskList list;
    auto disk = std::make_unique<Disk>();
    const Disk* address = disk.get();
    Disk& added = list.append(std::move(disk));
    EXPECT_EQ(&added, address);
    EXPECT_EQ(&*list.begin(), address);
}

TEST(RecordList, RecordsMayBeChangedInPlace) {
    DiskList list;
    fill(list, {1, 2});
    for (Disk& disk : list) {
        disk.channel += 10;
    }
    EXPECT_THAT(channels_of(list), ElementsAre(11, 12));
}

TEST(RecordList, IteratorsMoveForward) {
    DiskList list;
    fill(list, {1, 2});
    auto at = list.begin();
    EXPECT_EQ((at++)->channel, 1);
    EXPECT_EQ(at->channel, 2);
    EXPECT_EQ(++at, list.end());
}

TEST(RecordList, IsARing) {
    DiskList list;
    fill(list, {1, 2, 3});
    Disk& first = *list.begin();
    Disk& second = *std::next(list.begin());
    Disk& third = *std::next(list.begin(), 2);
    const ListLink* head = first.link.previous;
    EXPECT_EQ(first.link.next, &second.link);
    EXPECT_EQ(second.link.previous, &first.link);
    EXPECT_EQ(third.link.next, head);
    EXPECT_EQ(head->previous, &third.link);
    EXPECT_EQ(head->next, &first.link);
}

TEST(RecordList, RemovesOneRecordAndItsOwnLists) {
    DiskList list;
    fill(list, {1, 2, 3});
    Disk& second = *std::next(list.begin());
    second.attributes.append().id = 5;
    list.remove(second);
    EXPECT_THAT(channels_of(list), ElementsAre(1, 3));
    EXPECT_EQ(Disk::alive, 2);
    EXPECT_EQ(Attribute::alive, 0);
}

TEST(RecordList, RemovesItsFirstItsLastAndItsOnlyRecord) {
    DiskList list;
    fill(list, {1, 2, 3});
    list.remove(*list.begin());
    EXPECT_THAT(channels_of(list), ElementsAre(2, 3));
    list.remove(*std::next(list.begin()));
    EXPECT_THAT(channels_of(list), ElementsAre(2));
    list.remove(*list.begin());
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(Disk::alive, 0);
    fill(list, {4});
    EXPECT_THAT(channels_of(list), ElementsAre(4)) << "it goes on being a ring";
}

TEST(RecordList, ClearDestroysEveryRecordAndItsOwnLists) {
    DiskList list;
    fill(list, {1, 2});
    for (Disk& disk : list) {
        disk.attributes.append().id = 5;
        disk.attributes.append().id = 9;
    }
    ASSERT_EQ(Disk::alive, 2);
    ASSERT_EQ(Attribute::alive, 4);
    list.clear();
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(Disk::alive, 0);
    EXPECT_EQ(Attribute::alive, 0);
}

TEST(RecordList, MayBeUsedAgainAfterClear) {
    DiskList list;
    fill(list, {1});
    list.clear();
    fill(list, {2});
    EXPECT_THAT(channels_of(list), ElementsAre(2));
}

TEST(RecordList, DestroysItsRecordsAtItsEnd) {
    {
        DiskList list;
        fill(list, {1, 2, 3});
        EXPECT_EQ(Disk::alive, 3);
    }
    EXPECT_EQ(Disk::alive, 0);
}

TEST(ListLink, PointsToItselfOutsideAList) {
    const ListLink link;
    EXPECT_EQ(link.next, &link);
    EXPECT_EQ(link.previous, &link);
}

TEST(ListLink, UnlinkedRecordLeavesTheOthersInOrder) {
    DiskList list;
    fill(list, {1, 2, 3});
    const std::unique_ptr<Disk> taken(&*std::next(list.begin()));
    taken->link.unlink();
    EXPECT_THAT(channels_of(list), ElementsAre(1, 3));
    EXPECT_EQ(taken->link.next, &taken->link);
    EXPECT_EQ(taken->link.previous, &taken->link);
}

struct Part {
    int number = 0;
    ListLink link;
};

TEST(ListLink, CopyOfARecordIsInNoList) {
    RecordList<Part> list;
    list.append().number = 1;
    const Part copy = *list.begin();
    EXPECT_EQ(copy.number, 1);
    EXPECT_EQ(copy.link.next, &copy.link);
    EXPECT_EQ(copy.link.previous, &copy.link);
}

TEST(ListLink, AssignedRecordStaysInItsList) {
    RecordList<Part> list;
    list.append().number = 1;
    list.append().number = 2;
    Part other;
    other.number = 7;
    *list.begin() = other;
    EXPECT_EQ(list.size(), 2u);
    EXPECT_EQ(list.begin()->number, 7);
    EXPECT_EQ(std::next(list.begin())->number, 2);
}

TEST(Boxed, DataIsFreedWithTheElement) {
    {
        RecordList<Boxed<Attribute>> list;
        list.append(std::make_unique<Boxed<Attribute>>(std::make_unique<Attribute>())).data->id = 3;
        list.append();
        EXPECT_EQ(Attribute::alive, 1);
        EXPECT_EQ(list.begin()->data->id, 3);
        EXPECT_EQ(std::next(list.begin())->data, nullptr);
        list.clear();
        EXPECT_EQ(Attribute::alive, 0);
    }
    EXPECT_THAT(Attribute::alive, 0);
}

} // namespace
} // namespace zav::test
