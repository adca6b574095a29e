#include "places/ExchangedItems.h"

#include "support/FailEach.h"
#include "support/FailingNew.h"

#include <gtest/gtest.h>

#include <new>

namespace {

using namespace toolbox::files;
using toolbox::os::ItemIdentity;

constexpr std::uint64_t kDisk = 65024;

ItemIdentity Item(std::uint64_t inInode, std::int64_t inBirthNanos = 1) {
    return {kDisk, inInode, inBirthNanos};
}

// The inode that it has on disk; and the one by which the catalogue knows what has it there.
std::uint64_t OnDisk(const ExchangedItems& inItems, std::uint64_t inInode) {
    return inItems.OnDisk(Item(inInode)).inode;
}
std::uint64_t InCatalogue(const ExchangedItems& inItems, std::uint64_t inInode) {
    return inItems.InCatalogue(Item(inInode)).inode;
}

TEST(ExchangedItems, WhatWasNeverExchangedIsItself) {
    const ExchangedItems items;
    ItemIdentity found;
    EXPECT_EQ(30u, OnDisk(items, 30));
    EXPECT_EQ(30u, InCatalogue(items, 30));
    EXPECT_FALSE(items.FindItem({kDisk, 30}, found));
}

TEST(ExchangedItems, EachIsTheOther) {
    ExchangedItems items;
    items.Exchange(Item(30), Item(40));
    EXPECT_EQ(40u, OnDisk(items, 30));
    EXPECT_EQ(30u, OnDisk(items, 40));
    EXPECT_EQ(40u, InCatalogue(items, 30));
    EXPECT_EQ(30u, InCatalogue(items, 40));
    EXPECT_EQ(50u, OnDisk(items, 50));
    EXPECT_EQ(30u, items.OnDisk({kDisk + 1, 30, 1}).inode) << "an item of another device";
    EXPECT_EQ(30u, items.OnDisk(Item(30, 2)).inode) << "one that was made later";
    ItemIdentity found;
    ASSERT_TRUE(items.FindItem({kDisk, 40}, found));
    EXPECT_EQ(40u, found.inode);
    EXPECT_FALSE(items.FindItem({kDisk, 50}, found));
}

TEST(ExchangedItems, AgainIsAsBefore) {
    ExchangedItems items;
    items.Exchange(Item(30), Item(40));
    items.Exchange(Item(40), Item(30));
    EXPECT_EQ(30u, OnDisk(items, 30));
    EXPECT_EQ(40u, OnDisk(items, 40));
    EXPECT_EQ(30u, InCatalogue(items, 30));
    EXPECT_EQ(40u, InCatalogue(items, 40));
}

// A document that is written anew a hundred times, each time exchanged with the file of the new contents.
TEST(ExchangedItems, ManyTimes) {
    ExchangedItems items;
    for (std::uint64_t inode = 100; inode < 200; ++inode) {
        items.Exchange(Item(OnDisk(items, 30)), Item(inode));
        ASSERT_EQ(inode, OnDisk(items, 30));
        ASSERT_EQ(30u, InCatalogue(items, inode));
    }
    EXPECT_EQ(30u, OnDisk(items, 100));
    for (std::uint64_t inode = 101; inode < 200; ++inode) {
        EXPECT_EQ(inode - 1, OnDisk(items, inode));
        EXPECT_EQ(inode, InCatalogue(items, inode - 1));
    }
}

TEST(ExchangedItems, ShortOfMemory) {
    const int steps = support::FailEach<test_files::FailingNew>([](const auto& inUnderFault) {
        ExchangedItems items;
        items.Exchange(Item(30), Item(40));
        bool hasThrown = false;
        inUnderFault([&] {
            try {
                items.Exchange(Item(30), Item(50));
                for (std::uint64_t inode = 100; inode < 160; ++inode)
                    items.Exchange(Item(inode), Item(inode + 100));
            } catch (const std::bad_alloc&) {
                hasThrown = true;
            }
        });
        for (std::uint64_t inode = 30; inode < 260; ++inode)
            EXPECT_EQ(inode, InCatalogue(items, OnDisk(items, inode)));
        if (hasThrown) return;
        EXPECT_EQ(30u, OnDisk(items, 50));
        EXPECT_EQ(50u, OnDisk(items, 40));
        EXPECT_EQ(40u, OnDisk(items, 30));
    });
    EXPECT_GT(steps, 3);
}

}  // namespace
