#include "Refs.h"
#include "places/NodeTable.h"
#include "status/StatusOfErrno.h"
#include "support/FailingCalls.h"
#include "support/FailingNew.h"
#include "support/FileWorld.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <toolbox/Files.h>

#include <cstring>
#include <string>

namespace {

using support::FileWorld;
using test_files::FailingCalls;
using test_files::FailingNew;
using test_files::MakeRef;
using test_files::MakeRefOfItself;
using test_files::PathOf;

class FSPathMakeRefTest : public support::FileWorldTest {};
class FSRefMakePathTest : public support::FileWorldTest {};
class FSCompareFSRefsTest : public support::FileWorldTest {};
INSTANTIATE_TEST_SUITE_P(Worlds, FSPathMakeRefTest, support::BothWorlds(), support::NameOfWorld);
INSTANTIATE_TEST_SUITE_P(Worlds, FSRefMakePathTest, support::BothWorlds(), support::NameOfWorld);
INSTANTIATE_TEST_SUITE_P(Worlds, FSCompareFSRefsTest, support::BothWorlds(), support::NameOfWorld);

TEST_P(FSPathMakeRefTest, FileAndFolder) {
    const std::string path = mFolder.MakeFile("tone.m4a");
    FSRef ref;
    Boolean isDirectory = 1;
    ASSERT_EQ(noErr, MakeRef(path, &ref, &isDirectory));
    EXPECT_EQ(0, isDirectory);
    EXPECT_EQ(path, PathOf(ref));
    ASSERT_EQ(noErr, MakeRef(mFolder.Path(), &ref, &isDirectory));
    EXPECT_EQ(1, isDirectory);
    EXPECT_EQ(mFolder.Path(), PathOf(ref));
}

TEST_P(FSPathMakeRefTest, RootFolder) {
    FSRef ref;
    Boolean isDirectory = 0;
    for (const char* path : {"/", "//", "/.", "/..", "/tmp/.."}) {
        ASSERT_EQ(noErr, MakeRef(path, &ref, &isDirectory)) << path;
        EXPECT_EQ(1, isDirectory);
        EXPECT_EQ("/", PathOf(ref));
    }
}

TEST_P(FSPathMakeRefTest, NullArguments) {
    FSRef ref;
    std::memset(&ref, 0x5A, sizeof(ref));
    const FSRef before = ref;
    EXPECT_EQ(paramErr, FSPathMakeRef(nullptr, &ref, nullptr));
    EXPECT_EQ(paramErr, FSPathMakeRef(reinterpret_cast<const UInt8*>("/"), nullptr, nullptr));
    EXPECT_EQ(0, std::memcmp(&before, &ref, sizeof(ref)));
}

TEST_P(FSPathMakeRefTest, MissingItemLeavesOutputs) {
    FSRef ref;
    std::memset(&ref, 0x5A, sizeof(ref));
    const FSRef before = ref;
    Boolean isDirectory = 7;
    EXPECT_EQ(fnfErr, MakeRef(mFolder / "none", &ref, &isDirectory));
    EXPECT_EQ(7, isDirectory);
    EXPECT_EQ(0, std::memcmp(&before, &ref, sizeof(ref)));
}

TEST_P(FSPathMakeRefTest, MissingItemAndMissingFolder) {
    const FileWorld::CurrentFolder inside(mFolder, mFolder.Path());
    mFolder.MakeFile("file");
    mFolder.MakeLink("nowhere", "dangling");
    FSRef ref;
    EXPECT_EQ(fnfErr, MakeRef("", &ref));
    EXPECT_EQ(fnfErr, MakeRef("none", &ref));
    EXPECT_EQ(fnfErr, MakeRef("none/", &ref));
    EXPECT_EQ(fnfErr, MakeRef("/no such item at the root", &ref));
    EXPECT_EQ(fnfErr, MakeRef("/no such item at the root///", &ref));
    EXPECT_EQ(fnfErr, MakeRef("dangling", &ref));
    EXPECT_EQ(dirNFErr, MakeRef("none/below", &ref));
    EXPECT_EQ(dirNFErr, MakeRef("none/below//", &ref));
    EXPECT_EQ(dirNFErr, MakeRef("dangling/below", &ref));
    EXPECT_EQ(dirNFErr, MakeRef(mFolder / "none/far/below", &ref));
    EXPECT_EQ(dirNFErr, MakeRef("file/below", &ref));
    EXPECT_EQ(dirNFErr, MakeRef("file/", &ref));
}

TEST_P(FSPathMakeRefTest, TrailingSlashes) {
    mFolder.MakeFolder("sub");
    FSRef plain;
    FSRef slashes;
    ASSERT_EQ(noErr, MakeRef(mFolder / "sub", &plain));
    ASSERT_EQ(noErr, MakeRef(mFolder / "sub///", &slashes));
    EXPECT_EQ(noErr, FSCompareFSRefs(&plain, &slashes));
    EXPECT_EQ(mFolder / "sub", PathOf(slashes));
}

TEST_P(FSPathMakeRefTest, RelativePathStartsAtTheFolderOfTheMoment) {
    mFolder.MakeFolder("one");
    mFolder.MakeFolder("two");
    mFolder.MakeFile("one/a");
    mFolder.MakeFile("two/a");
    FSRef first;
    FSRef second;
    {
        const FileWorld::CurrentFolder inside(mFolder, mFolder / "one");
        ASSERT_EQ(noErr, MakeRef("a", &first));
    }
    {
        const FileWorld::CurrentFolder inside(mFolder, mFolder / "two");
        ASSERT_EQ(noErr, MakeRef("./a", &second));
        EXPECT_EQ(mFolder / "one/a", PathOf(first));
        ASSERT_EQ(noErr, MakeRef("../one/../one//a", &second));
    }
    EXPECT_EQ(noErr, FSCompareFSRefs(&first, &second));
}

TEST_P(FSPathMakeRefTest, RelativePathWhenTheCurrentFolderIsGone) {
    mFolder.MakeFolder("gone");
    const FileWorld::CurrentFolder inside(mFolder, mFolder / "gone");
    FileWorld::Remove(mFolder / "gone", true);
    FSRef ref;
    EXPECT_EQ(fnfErr, MakeRef("a", &ref));
}

TEST_P(FSPathMakeRefTest, LinksAreFollowed) {
    const std::string path = mFolder.MakeFile("real");
    mFolder.MakeFolder("sub");
    mFolder.MakeFile("sub/inner");
    mFolder.MakeLink("real", "link");
    mFolder.MakeLink("link", "link to link");
    mFolder.MakeLink("sub", "sublink");
    FSRef ref;
    ASSERT_EQ(noErr, MakeRef(mFolder / "link to link", &ref));
    EXPECT_EQ(path, PathOf(ref));
    ASSERT_EQ(noErr, MakeRef(mFolder / "sublink/inner", &ref));
    EXPECT_EQ(mFolder / "sub/inner", PathOf(ref));
}

TEST_P(FSPathMakeRefTest, LastLinkIsNotFollowedWhereAsked) {
    const std::string path = mFolder.MakeFile("real");
    mFolder.MakeFolder("sub");
    mFolder.MakeLink("../real", "sub/link");
    mFolder.MakeLink("sub", "sublink");
    mFolder.MakeLink("nowhere", "dangling");
    mFolder.MakeLink("circle", "circle");
    FSRef ref;
    Boolean isDirectory = 7;
    ASSERT_EQ(noErr, MakeRefOfItself(mFolder / "sublink/link", &ref));
    EXPECT_EQ(mFolder / "sub/link", PathOf(ref)) << "but a link on the way is";
    ASSERT_EQ(noErr, MakeRefOfItself(mFolder / "sublink", &ref, &isDirectory));
    EXPECT_EQ(mFolder / "sublink", PathOf(ref));
    EXPECT_EQ(0, isDirectory) << "a link to a folder is none";
    ASSERT_EQ(noErr, MakeRefOfItself(mFolder / "sublink/", &ref, &isDirectory));
    EXPECT_EQ(mFolder / "sub", PathOf(ref));
    EXPECT_EQ(1, isDirectory);
    for (const char* name : {"dangling", "circle"}) {
        ASSERT_EQ(noErr, MakeRefOfItself(mFolder / name, &ref)) << name;
        EXPECT_EQ(mFolder / name, PathOf(ref));
    }
    ASSERT_EQ(noErr, MakeRefOfItself(path, &ref));
    EXPECT_EQ(path, PathOf(ref));
    EXPECT_EQ(fnfErr, MakeRefOfItself(mFolder / "none", &ref));
    EXPECT_EQ(dirNFErr, MakeRefOfItself(mFolder / "none/below", &ref));
    const std::string link = mFolder.MakeLink("real", "\xF0\x9F\x8E\xB5");
    ASSERT_EQ(noErr, MakeRefOfItself(mFolder / "\xED\xA0\xBC\xED\xBE\xB5", &ref));
    EXPECT_EQ(link, PathOf(ref));
    const FileWorld::CurrentFolder inside(mFolder, mFolder / "sub");
    ASSERT_EQ(noErr, MakeRefOfItself("link", &ref));
    EXPECT_EQ(mFolder / "sub/link", PathOf(ref));
}

TEST_P(FSPathMakeRefTest, LastLinkOfALongModifiedName) {
    std::string name;
    std::string modified;
    for (int count = 0; count < 60; ++count) {
        name += "\xF0\x9F\x8E\xB5";
        modified += "\xED\xA0\xBC\xED\xBE\xB5";
    }
    mFolder.MakeFile("target");
    mFolder.MakeLink("target", name);
    FSRef ref;
    ASSERT_EQ(noErr, MakeRefOfItself(mFolder / modified, &ref));
    EXPECT_EQ(mFolder / name, PathOf(ref));
}

TEST_P(FSPathMakeRefTest, OptionsThatAreNotKnown) {
    FSRef ref;
    const auto* root = reinterpret_cast<const UInt8*>("/");
    EXPECT_EQ(paramErr, FSPathMakeRefWithOptions(root, 2, &ref, nullptr));
    EXPECT_EQ(paramErr, FSPathMakeRefWithOptions(nullptr, 0, &ref, nullptr));
    EXPECT_EQ(paramErr, FSPathMakeRefWithOptions(root, 1, nullptr, nullptr));
    EXPECT_EQ(noErr, FSPathMakeRefWithOptions(root, 1, &ref, nullptr));
    EXPECT_EQ("/", PathOf(ref));
}

TEST_P(FSPathMakeRefTest, EveryFailingCallForALink) {
    mFolder.MakeFile("target");
    const std::string path = mFolder.MakeLink("target", "link");
    const std::size_t descriptors = OpenDescriptorCount();
    for (const auto extent : {FailingCalls::kOnce, FailingCalls::kForever}) {
        for (int failing = 1;; ++failing) {
            FSRef ref;
            OSStatus status = noErr;
            bool delivered = false;
            {
                const FailingCalls calls(failing, EIO, extent);
                status = MakeRefOfItself(path, &ref);
                delivered = calls.Delivered();
            }
            EXPECT_EQ(descriptors, OpenDescriptorCount());
            if (status == noErr) {
                EXPECT_EQ(path, PathOf(ref)) << failing << ": never what it leads to";
            }
            if (!delivered) {
                EXPECT_EQ(noErr, status);
                EXPECT_GT(failing, 4);
                break;
            }
            // Only closing the folder failed.
            EXPECT_TRUE(status == noErr || status == ioErr) << failing << ": " << status;
        }
    }
}

TEST_P(FSPathMakeRefTest, LinksInACircle) {
    mFolder.MakeLink("b", "a");
    mFolder.MakeLink("a", "b");
    FSRef ref;
    EXPECT_EQ(bdNamErr, MakeRef(mFolder / "a", &ref));
}

TEST_P(FSPathMakeRefTest, NamesOfAnyBytes) {
    for (const std::string& name :
         {std::string("with space.m4a"), std::string(" "), std::string("gr\xC3\xBC\xC3\x9F.m4a"),
          std::string("gru\xCC\x88.m4a"), std::string("\xF0\x9F\x8E\xB5"),
          std::string("\xFF\xFE\x80 not text"), std::string("a:b\\c\"d'e"), std::string("line\nbreak"),
          std::string("-rf"), std::string("\xC0\x80"), std::string("\xED\xA0\xBC lone"), std::string("..."),
          std::string(255, 'n')}) {
        const std::string path = mFolder.MakeFile(name);
        FSRef ref;
        ASSERT_EQ(noErr, MakeRef(path, &ref)) << name;
        EXPECT_EQ(path, PathOf(ref));
    }
}

TEST_P(FSPathMakeRefTest, BothNormalFormsAreTwoFiles) {
    FSRef composed;
    FSRef decomposed;
    ASSERT_EQ(noErr, MakeRef(mFolder.MakeFile("\xC3\xBC"), &composed));
    ASSERT_EQ(noErr, MakeRef(mFolder.MakeFile("u\xCC\x88"), &decomposed));
    EXPECT_EQ(errFSRefsDifferent, FSCompareFSRefs(&composed, &decomposed));
    EXPECT_EQ(mFolder / "\xC3\xBC", PathOf(composed));
}

TEST_P(FSPathMakeRefTest, NameOrPathTooLong) {
    FSRef ref;
    EXPECT_EQ(bdNamErr, MakeRef(mFolder / std::string(256, 'n'), &ref));
    std::string deep = mFolder.Path();
    while (deep.size() < 5000)
        deep += "/sub";
    EXPECT_EQ(dirNFErr, MakeRef(deep, &ref));
}

// Folders nested so deep that the innermost has no path that the system takes.
TEST_P(FSPathMakeRefTest, RelativePathToAPlaceTooDeepForAPath) {
    FileWorld::CurrentFolder current(mFolder, mFolder.Path());
    const std::string name(250, 'd');
    constexpr int kLevels = 20;
    std::string path = mFolder.Path();
    for (int level = 0; level < kLevels; ++level) {
        ASSERT_EQ(0, toolbox::os::Calls().mkdirat(AT_FDCWD, name.c_str(), 0700));
        current.Go(name);
        path += '/' + name;
    }
    FSRef ref;
    EXPECT_EQ(bdNamErr, MakeRef(".", &ref));
    EXPECT_EQ(bdNamErr, MakeRef(path, &ref));
    for (int level = 0; level < kLevels; ++level) {
        current.Go("..");
        FileWorld::Remove(name, true);
    }
}

TEST_P(FSPathMakeRefTest, ModifiedUTF8IsTriedSecond) {
    mFolder.MakeFolder("\xF0\x9F\x98\x80 mood");
    const std::string path = mFolder.MakeFile("\xF0\x9F\x98\x80 mood/\xF0\x9F\x8E\xB5.m4a");
    FSRef ref;
    ASSERT_EQ(noErr, MakeRef(mFolder / "\xED\xA0\xBD\xED\xB8\x80 mood/\xED\xA0\xBC\xED\xBE\xB5.m4a", &ref));
    EXPECT_EQ(path, PathOf(ref));
}

TEST_P(FSPathMakeRefTest, TheNameAsGivenComesFirst) {
    const std::string joined = mFolder.MakeFile("\xF0\x9F\x8E\xB5");
    const std::string paired = mFolder.MakeFile("\xED\xA0\xBC\xED\xBE\xB5");
    FSRef ref;
    ASSERT_EQ(noErr, MakeRef(paired, &ref));
    EXPECT_EQ(paired, PathOf(ref));
    ASSERT_EQ(noErr, MakeRef(joined, &ref));
    EXPECT_EQ(joined, PathOf(ref));
}

TEST_P(FSPathMakeRefTest, ModifiedUTF8LongerThanANameMayBe) {
    std::string name;
    std::string modified;
    for (int count = 0; count < 60; ++count) {
        name += "\xF0\x9F\x8E\xB5";
        modified += "\xED\xA0\xBC\xED\xBE\xB5";
    }
    const std::string path = mFolder.MakeFile(name);
    FSRef ref;
    ASSERT_EQ(noErr, MakeRef(mFolder / modified, &ref));
    EXPECT_EQ(path, PathOf(ref));
}

TEST_P(FSPathMakeRefTest, MissingEitherWay) {
    FSRef ref;
    EXPECT_EQ(fnfErr, MakeRef(mFolder / "\xED\xA0\xBC\xED\xBE\xB5", &ref));
    EXPECT_EQ(dirNFErr, MakeRef(mFolder / "\xED\xA0\xBC\xED\xBE\xB5/a", &ref));
}

TEST_P(FSPathMakeRefTest, OneItemHasOneReference) {
    const std::string path = mFolder.MakeFile("a");
    FSRef first;
    ASSERT_EQ(noErr, MakeRef(path, &first));
    const std::size_t nodes = toolbox::files::NodeTable::Shared().Count();
    for (int count = 0; count < 100; ++count) {
        FSRef again;
        ASSERT_EQ(noErr, MakeRef(path, &again));
        EXPECT_EQ(noErr, FSCompareFSRefs(&first, &again));
    }
    EXPECT_EQ(nodes, toolbox::files::NodeTable::Shared().Count());
}

TEST_P(FSPathMakeRefTest, HardLinksAreOneItem) {
    const std::string path = mFolder.MakeFile("a");
    ASSERT_EQ(0, mFolder.MakeHardLink(path, mFolder / "b"));
    FSRef first;
    FSRef second;
    ASSERT_EQ(noErr, MakeRef(path, &first));
    ASSERT_EQ(noErr, MakeRef(mFolder / "b", &second));
    EXPECT_EQ(noErr, FSCompareFSRefs(&first, &second));
    EXPECT_EQ(path, PathOf(first));
    EXPECT_EQ(mFolder / "b", PathOf(second));
}

TEST_P(FSCompareFSRefsTest, ItemsNotNames) {
    FSRef file;
    FSRef renamed;
    FSRef other;
    FSRef folder;
    ASSERT_EQ(noErr, MakeRef(mFolder.MakeFile("a"), &file));
    ASSERT_EQ(noErr, MakeRef(mFolder.MakeFile("b"), &other));
    ASSERT_EQ(noErr, MakeRef(mFolder.Path(), &folder));
    EXPECT_EQ(noErr, FSCompareFSRefs(&file, &file));
    EXPECT_EQ(errFSRefsDifferent, FSCompareFSRefs(&file, &other));
    EXPECT_EQ(errFSRefsDifferent, FSCompareFSRefs(&file, &folder));
    FileWorld::Rename(mFolder / "a", mFolder / "A");
    ASSERT_EQ(noErr, MakeRef(mFolder / "A", &renamed));
    EXPECT_EQ(noErr, FSCompareFSRefs(&renamed, &file)) << "made by another name";
    FileWorld::Remove(mFolder / "A");
    EXPECT_EQ(noErr, FSCompareFSRefs(&renamed, &file)) << "gone, and the same";
}

TEST_P(FSCompareFSRefsTest, NullAndForeignArguments) {
    const FSRef none = {};
    FSRef root;
    ASSERT_EQ(noErr, MakeRef("/", &root));
    EXPECT_EQ(paramErr, FSCompareFSRefs(nullptr, &root));
    EXPECT_EQ(paramErr, FSCompareFSRefs(&root, nullptr));
    EXPECT_EQ(errFSBadFSRef, FSCompareFSRefs(&root, &none));
    EXPECT_EQ(errFSBadFSRef, FSCompareFSRefs(&none, &root));
    EXPECT_EQ(errFSBadFSRef, FSCompareFSRefs(&none, &none));
}

TEST_P(FSRefMakePathTest, BufferSizes) {
    const std::string path = mFolder.MakeFile("a");
    FSRef ref;
    ASSERT_EQ(noErr, MakeRef(path, &ref));
    const UInt32 needed = static_cast<UInt32>(path.size() + 1);
    std::string buffer(needed + 1, '#');
    UInt8* bytes = reinterpret_cast<UInt8*>(buffer.data());
    EXPECT_EQ(pathTooLongErr, FSRefMakePath(&ref, bytes, 0));
    EXPECT_EQ(pathTooLongErr, FSRefMakePath(&ref, bytes, 1));
    EXPECT_EQ(pathTooLongErr, FSRefMakePath(&ref, bytes, needed - 1));
    EXPECT_EQ(std::string(needed + 1, '#'), buffer);
    EXPECT_EQ(noErr, FSRefMakePath(&ref, bytes, needed));
    EXPECT_EQ(path + '\0' + '#', buffer);
}

TEST_P(FSRefMakePathTest, NullAndForeignArguments) {
    UInt8 path[8];
    FSRef ref = {};
    EXPECT_EQ(paramErr, FSRefMakePath(nullptr, path, sizeof(path)));
    EXPECT_EQ(paramErr, FSRefMakePath(&ref, nullptr, 8));
    EXPECT_EQ(errFSBadFSRef, FSRefMakePath(&ref, path, sizeof(path)));
    std::memset(&ref, 0xFF, sizeof(ref));
    EXPECT_EQ(errFSBadFSRef, FSRefMakePath(&ref, path, sizeof(path)));
}

TEST_P(FSRefMakePathTest, ReferenceToAnItemNeverSeen) {
    FSRef ref;
    ASSERT_EQ(noErr, MakeRef("/", &ref));
    std::memset(ref.hidden + 8, 0xEE, 24);
    EXPECT_EQ("status -43", PathOf(ref));
}

TEST_P(FSPathMakeRefTest, EveryFailingCall) {
    const std::string path = mFolder.MakeFile("a");
    const std::size_t descriptors = OpenDescriptorCount();
    for (const int number : {EIO, EACCES, ENOMEM, EMFILE}) {
        for (int failing = 1;; ++failing) {
            FSRef ref;
            OSStatus status = noErr;
            bool delivered = false;
            {
                const FailingCalls calls(failing, number);
                status = MakeRef(path, &ref);
                delivered = calls.Delivered();
            }
            EXPECT_EQ(descriptors, OpenDescriptorCount());
            if (!delivered) {
                EXPECT_EQ(noErr, status);
                EXPECT_GT(failing, 2);
                break;
            }
            EXPECT_EQ(toolbox::StatusOfErrno(number), status) << failing;
        }
    }
}

TEST_P(FSPathMakeRefTest, EveryFailingAllocation) {
    for (int failing = 1;; ++failing) {
        // A path that was never seen, with a name that needs memory of its own.
        const std::string path =
            mFolder.MakeFile("a name of more than some bytes " + std::to_string(failing));
        FSRef ref;
        UInt8 found[4096];
        OSStatus made = noErr;
        OSStatus answered = noErr;
        bool delivered = false;
        {
            const UInt8* bytes = reinterpret_cast<const UInt8*>(path.c_str());
            const FailingNew memory(failing);
            made = FSPathMakeRef(bytes, &ref, nullptr);
            if (made == noErr) answered = FSRefMakePath(&ref, found, sizeof(found));
            delivered = memory.Delivered();
        }
        if (!delivered) {
            EXPECT_EQ(noErr, made);
            EXPECT_EQ(noErr, answered);
            EXPECT_GT(failing, 8);
            break;
        }
        EXPECT_EQ(memFullErr, made == noErr ? answered : made) << failing;
        ASSERT_EQ(noErr, MakeRef(path, &ref));
        EXPECT_EQ(path, PathOf(ref));
    }
}

}  // namespace
