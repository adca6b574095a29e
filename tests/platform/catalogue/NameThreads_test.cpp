// Items made, moved, renamed, looked for and deleted by several threads at once. Run under the thread
// sanitizer too.
#include "ItemChanges.h"
#include "catalogue/KnownNames.h"
#include "support/OneWorld.h"

#include <gtest/gtest.h>
#include <toolbox/ItemLookup.h>

#include <atomic>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace test_files;

constexpr int kMovers = 4;
constexpr int kItems = 3;
constexpr int kRounds = 60;

class NameThreads : public ItemChangesTest<support::RealFolderTest> {};

// Somebody else was quicker.
bool IsOutcome(OSErr inError) {
    return inError == noErr || inError == fnfErr || inError == dupFNErr || inError == fBsyErr;
}

std::u16string NameOfRound(int inItem, int inRound) {
    return {static_cast<char16_t>(u'a' + inItem), static_cast<char16_t>(u'0' + inRound % 3)};
}

TEST_F(NameThreads, EachItemKeepsItsCompanion) {
    const std::vector<std::string> folders = {mFolder.MakeFolder("one"), mFolder.MakeFolder("two")};
    const std::vector<FSRef> folderRefs = {RefOf(folders[0]), RefOf(folders[1])};
    const FSCatalogInfo info = InfoOf(folders[0], kFSCatInfoVolume | kFSCatInfoNodeID);
    for (int item = 0; item < kItems; ++item)
        MakeWithCompanion("one/", {static_cast<char>('a' + item), '0'});
    const std::size_t descriptors = test_files::OpenDescriptorCount();

    std::atomic<int> changeCount = 0;
    const auto change = [&](int inThread) {
        for (int round = 0; round < kRounds; ++round) {
            const int item = (inThread + round) % kItems;
            for (const std::string& folder : folders) {
                const std::u16string name = NameOfRound(item, inThread + round / 2);
                FSRef ref = {};
                if (MakeRef(folder + '/' + std::string(name.begin(), name.end()), &ref) != noErr) continue;
                const OSErr error = round % 2 == 0 ? Move(ref, folderRefs[(inThread + round / 3) % 2])
                                                   : Rename(ref, NameOfRound(item, round + inThread + 1));
                EXPECT_TRUE(IsOutcome(error)) << error;
                changeCount += error == noErr;
            }
        }
    };
    const auto look = [&] {
        for (int round = 0; round < kRounds; ++round) {
            const std::u16string name = NameOfRound(round % kItems, round);
            FSSpec spec = {};
            const OSErr error = FSMakeFSSpec(info.volume, static_cast<SInt32>(info.nodeID),
                                             PascalName(std::string(name.begin(), name.end())), &spec);
            EXPECT_TRUE(IsOutcome(error)) << error;
        }
    };
    const auto makeAndDelete = [&] {
        for (int round = 0; round < kRounds; ++round) {
            FSRef ref = {};
            EXPECT_EQ(noErr, MakeFile(folderRefs[round % 2], u"passing", &ref));
            EXPECT_EQ(noErr, FSDeleteObject(&ref));
        }
    };
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kMovers; ++thread)
        threads.emplace_back([&change, thread] { change(thread); });
    threads.emplace_back(look);
    threads.emplace_back(makeAndDelete);
    for (std::thread& thread : threads)
        thread.join();

    EXPECT_GT(changeCount, 0);
    EXPECT_EQ(descriptors, test_files::OpenDescriptorCount());
    std::set<std::string> items;
    std::set<std::string> expected;
    for (int item = 0; item < kItems; ++item)
        expected.insert("of " + std::string{static_cast<char>('a' + item), '0'});
    std::size_t nameCount = 0;
    for (const std::string& folder : folders) {
        LookFor({folder + "/a0", folder + "/a1", folder + "/a2", folder + "/b0", folder + "/b1",
                 folder + "/b2", folder + "/c0", folder + "/c1", folder + "/c2"});
        for (const std::string& name : support::FileWorld::NamesIn(folder)) {
            ++nameCount;
            if (name[0] == '.') continue;
            const std::string contents = support::FileWorld::Contents(folder + '/' + name);
            EXPECT_TRUE(items.insert(contents).second) << "twice: " << contents;
            EXPECT_EQ(CompanionBytes("fork " + contents),
                      support::FileWorld::Contents(folder + "/._" + name));
        }
    }
    EXPECT_EQ(expected, items);
    EXPECT_EQ(2U * kItems, nameCount) << Picture();
}

// Each sets a part of its own, and finds it as it set it, whatever the others set.
TEST_F(NameThreads, NoPartIsLost) {
    const FSRef ref = RefOf(mFolder.MakeFile("a"));
    const auto set = [&](FSCatalogInfoBitmap inWhich, const FSCatalogInfo& inInfo) {
        EXPECT_EQ(noErr, FSSetCatalogInfo(&ref, inWhich, &inInfo));
        FSCatalogInfo now = {};
        EXPECT_EQ(noErr, FSGetCatalogInfo(&ref, inWhich, &now, nullptr, nullptr, nullptr));
        return now;
    };
    const auto lock = [&] {
        for (int round = 0; round < kRounds; ++round) {
            FSCatalogInfo info = {};
            info.nodeFlags = round % 2 == 0 ? kFSNodeLockedMask : 0;
            EXPECT_EQ(info.nodeFlags, set(kFSCatInfoNodeFlags, info).nodeFlags) << round;
        }
    };
    const auto setType = [&] {
        for (int round = 0; round < kRounds; ++round) {
            FSCatalogInfo info = {};
            info.finderInfo[0] = static_cast<UInt8>(round % 3);
            EXPECT_EQ(info.finderInfo[0], set(kFSCatInfoFinderInfo, info).finderInfo[0]) << round;
        }
    };
    const auto setHint = [&] {
        for (int round = 0; round < kRounds; ++round) {
            FSCatalogInfo info = {};
            info.textEncodingHint = static_cast<TextEncoding>(round % 4);
            EXPECT_EQ(info.textEncodingHint, set(kFSCatInfoTextEncoding, info).textEncodingHint) << round;
        }
    };
    std::thread threads[] = {std::thread(lock), std::thread(setType), std::thread(setHint)};
    for (std::thread& thread : threads)
        thread.join();
}

// Each makes and renames files, and finds them by another case at once, whoever reads the folder meanwhile.
TEST_F(NameThreads, WhatAnyThreadMakesIsFound) {
    const std::string folder = mFolder.MakeFolder("large");
    const std::string first = mFolder.MakeFile("large/0 of the names of a large folder");
    for (int i = 1; i < 250; ++i)
        ASSERT_EQ(0, support::FileWorld::MakeHardLink(
                         first, folder + '/' + std::to_string(i) + " of the names of a large folder"));
    const FSRef ref = RefOf(folder);
    const auto look = [&](std::u16string_view inName) {
        FSRef found = {};
        return FSMakeFSRefUnicode(&ref, inName.size(), UnitsOf(inName), 0, &found);
    };
    const auto makeAndLook = [&](int inThread) {
        for (int round = 0; round < kRounds; ++round) {
            std::string name = {static_cast<char>('a' + inThread), static_cast<char>('0' + round % 10),
                                static_cast<char>('0' + round / 10)};
            const std::u16string other = {static_cast<char16_t>(u'A' + inThread),
                                          static_cast<char16_t>(u'0' + round % 10),
                                          static_cast<char16_t>(u'0' + round / 10)};
            EXPECT_EQ(fnfErr, look(other));
            mFolder.MakeFile("large/" + name);
            EXPECT_EQ(noErr, look(other)) << name;
            EXPECT_EQ(fnfErr, look(u"x" + other));
            support::FileWorld::Rename(folder + '/' + name, folder + "/x" + name);
            EXPECT_EQ(noErr, look(u"x" + other)) << name;
        }
    };
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kMovers; ++thread)
        threads.emplace_back(makeAndLook, thread);
    for (std::thread& thread : threads)
        thread.join();
    toolbox::files::KnownNames::Shared().Close();
}

// Contents change places, and none is there twice or not at all; each reference means its name.
TEST_F(NameThreads, ContentsAreExchanged) {
    std::vector<FSRef> files;
    std::vector<std::string> paths;
    for (const std::string name : {"a", "b", "c"}) {
        paths.push_back(mFolder.MakeFile(name, "of " + name));
        files.push_back(RefOf(paths.back()));
    }
    const auto exchange = [&](std::size_t inThread) {
        for (std::size_t round = 0; round < kRounds; ++round) {
            const FSRef& file = files[(inThread + round) % files.size()];
            const FSRef& other = files[(inThread + round + 1 + round % 2) % files.size()];
            const OSErr error = FSExchangeObjects(&file, &other);
            // The file's place may be looked for while it changes.
            EXPECT_TRUE(error == noErr || error == fnfErr) << error;
        }
    };
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < kMovers; ++i)
        threads.emplace_back(exchange, i);
    for (std::thread& thread : threads)
        thread.join();
    std::set<std::string> contents;
    for (std::size_t i = 0; i < files.size(); ++i) {
        EXPECT_EQ(paths[i], PathOf(files[i]));
        contents.insert(support::FileWorld::Contents(paths[i]));
    }
    EXPECT_EQ((std::set<std::string>{"of a", "of b", "of c"}), contents);
}

}  // namespace
