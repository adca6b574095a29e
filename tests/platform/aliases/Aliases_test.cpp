#include "aliases/AliasRecord.h"
#include "memory/MacMemory_test_access.h"
#include "platform/catalogue/Refs.h"
#include "support/FailingCalls.h"
#include "support/FailingNew.h"
#include "support/FileWorld.h"

#include <gtest/gtest.h>
#include <sys/sysmacros.h>
#include <toolbox/Aliases.h>
#include <toolbox/MacMemory.h>

#include <cstring>
#include <string>

namespace {

using support::FileWorld;
using test_files::FailingCalls;
using test_files::FailingNew;
using test_files::MakeRef;
using test_files::PathOf;
using toolbox::files::AliasContents;
using toolbox::os::ItemKind;

// An alias of a test's own, disposed of at its end.
class Alias {
  public:
    explicit Alias(const std::string& inPath) {
        FSRef ref;
        EXPECT_EQ(noErr, MakeRef(inPath, &ref)) << inPath;
        EXPECT_EQ(noErr, FSNewAliasMinimal(&ref, &mAlias));
    }
    explicit Alias(const FSRef& inTarget) { EXPECT_EQ(noErr, FSNewAliasMinimal(&inTarget, &mAlias)); }
    explicit Alias(const std::vector<UInt8>& inBytes) {
        Handle handle = nullptr;
        EXPECT_EQ(noErr, PtrToHand(inBytes.data(), &handle, static_cast<Size>(inBytes.size())));
        mAlias = reinterpret_cast<AliasHandle>(handle);
    }
    ~Alias() { DisposeHandle(AsHandle()); }
    Alias(const Alias&) = delete;
    Alias& operator=(const Alias&) = delete;

    AliasHandle Get() const { return mAlias; }
    Handle AsHandle() const { return reinterpret_cast<Handle>(mAlias); }
    std::string Bytes() const {
        return std::string(*AsHandle(), static_cast<std::size_t>(GetHandleSize(AsHandle())));
    }
    AliasContents Contents() const {
        const std::string bytes = Bytes();
        AliasContents contents;
        std::size_t recordBytes = 0;
        EXPECT_EQ(noErr, toolbox::files::DecodeAlias(reinterpret_cast<const UInt8*>(bytes.data()),
                                                     bytes.size(), contents, recordBytes));
        return contents;
    }

    // The path found and whether the record changed: "/a/b changed"; or "status -43".
    std::string Resolve() const {
        FSRef target;
        Boolean wasChanged = 7;
        const OSErr status = FSResolveAlias(nullptr, mAlias, &target, &wasChanged);
        if (status != noErr) return "status " + std::to_string(status) + (wasChanged != 0 ? " changed" : "");
        return PathOf(target) + (wasChanged == 1 ? " changed" : "");
    }

  private:
    AliasHandle mAlias = nullptr;
};

std::vector<UInt8> Encode(const AliasContents& inContents) {
    std::vector<UInt8> record;
    EXPECT_EQ(noErr, toolbox::files::EncodeAlias(inContents, record));
    return record;
}

// As a record of an earlier run: the same item under numbers that this process has never seen.
std::vector<UInt8> ForgetIdentity(const Alias& inAlias) {
    AliasContents contents = inAlias.Contents();
    contents.identity = {0xFFFFFFFF, 0xFFFFFFFFFF, 1};
    return Encode(contents);
}

class FSNewAliasMinimalTest : public support::FileWorldTest {};
class FSResolveAliasTest : public support::FileWorldTest {};
class AliasesTest : public support::FileWorldTest {};
INSTANTIATE_TEST_SUITE_P(Worlds, FSNewAliasMinimalTest, support::BothWorlds(), support::NameOfWorld);
INSTANTIATE_TEST_SUITE_P(Worlds, FSResolveAliasTest, support::BothWorlds(), support::NameOfWorld);
INSTANTIATE_TEST_SUITE_P(Worlds, AliasesTest, support::BothWorlds(), support::NameOfWorld);

TEST_P(FSNewAliasMinimalTest, RecordOfTheItem) {
    const std::string path = mFolder.MakeFile("tone.m4a");
    const Alias alias(path);
    const std::string bytes = alias.Bytes();
    EXPECT_EQ(std::string(4, '\0'), bytes.substr(0, 4));
    EXPECT_EQ(bytes.size(), static_cast<UInt8>(bytes[4]) * 256u + static_cast<UInt8>(bytes[5]));
    const struct statx status = FileWorld::StatusOf(path);
    const AliasContents contents = alias.Contents();
    EXPECT_EQ(ItemKind::kFile, contents.kind);
    EXPECT_EQ(makedev(status.stx_dev_major, status.stx_dev_minor), contents.identity.device);
    EXPECT_EQ(status.stx_ino, contents.identity.inode);
    EXPECT_EQ(path, contents.path);
}

TEST_P(FSNewAliasMinimalTest, BadArguments) {
    FSRef ref;
    ASSERT_EQ(noErr, MakeRef("/", &ref));
    AliasHandle alias = reinterpret_cast<AliasHandle>(&ref);
    EXPECT_EQ(paramErr, FSNewAliasMinimal(&ref, nullptr));
    EXPECT_EQ(paramErr, FSNewAliasMinimal(nullptr, &alias));
    EXPECT_EQ(nullptr, alias);
    alias = reinterpret_cast<AliasHandle>(&ref);
    const FSRef none = {};
    EXPECT_EQ(errFSBadFSRef, FSNewAliasMinimal(&none, &alias));
    EXPECT_EQ(nullptr, alias);
}

TEST_P(FSNewAliasMinimalTest, ItemThatIsGone) {
    const std::string path = mFolder.MakeFile("a");
    FSRef ref;
    ASSERT_EQ(noErr, MakeRef(path, &ref));
    FileWorld::Remove(path);
    AliasHandle alias = reinterpret_cast<AliasHandle>(&ref);
    EXPECT_EQ(fnfErr, FSNewAliasMinimal(&ref, &alias));
    EXPECT_EQ(nullptr, alias);
}

TEST_P(FSResolveAliasTest, OfALinkLeadsToTheLink) {
    mFolder.MakeFile("target");
    const std::string path = mFolder.MakeLink("target", "link");
    FSRef ref = {};
    ASSERT_EQ(noErr, FSPathMakeRefWithOptions(reinterpret_cast<const UInt8*>(path.c_str()),
                                              kFSPathMakeRefDoNotFollowLeafSymlink, &ref, nullptr));
    const Alias alias(ref);
    EXPECT_EQ(path, alias.Resolve());
    const Alias earlier(ForgetIdentity(alias));
    EXPECT_EQ(path + " changed", earlier.Resolve());
    mFolder.Rename(path, mFolder / "renamed");
    EXPECT_EQ(mFolder / "renamed changed", alias.Resolve());
}

TEST_P(FSResolveAliasTest, WhereItWas) {
    for (const std::string& name :
         {std::string("a.m4a"), std::string("\xFF \xF0\x9F\x8E\xB5"), std::string(255, 'n')}) {
        const std::string path = mFolder.MakeFile(name);
        const Alias alias(path);
        EXPECT_EQ(path, alias.Resolve());
        EXPECT_EQ(path, alias.Resolve());
    }
    EXPECT_EQ(mFolder.Path(), Alias(mFolder.Path()).Resolve());
    EXPECT_EQ("/", Alias("/").Resolve());
}

TEST_P(FSResolveAliasTest, FileToResolveFromIsNotNeeded) {
    const std::string path = mFolder.MakeFile("a");
    const Alias alias(path);
    FSRef from;
    FSRef target;
    Boolean wasChanged = 1;
    ASSERT_EQ(noErr, MakeRef("/", &from));
    EXPECT_EQ(noErr, FSResolveAlias(&from, alias.Get(), &target, &wasChanged));
    EXPECT_EQ(path, PathOf(target));
    EXPECT_EQ(0, wasChanged);
}

TEST_P(FSResolveAliasTest, RenamedInItsFolder) {
    const std::string path = mFolder.MakeFile("a");
    const Alias alias(path);
    FileWorld::Rename(path, mFolder / "a much longer name than it had");
    EXPECT_EQ(mFolder / "a much longer name than it had changed", alias.Resolve());
    EXPECT_EQ(mFolder / "a much longer name than it had", alias.Contents().path);
    EXPECT_EQ(mFolder / "a much longer name than it had", alias.Resolve());
    FileWorld::Rename(mFolder / "a much longer name than it had", path);
    EXPECT_EQ(path + " changed", alias.Resolve());
    EXPECT_EQ(path, alias.Resolve());
}

TEST_P(FSResolveAliasTest, MovedToAPlaceThatThisProcessKnows) {
    mFolder.MakeFolder("sub");
    const std::string path = mFolder.MakeFile("a");
    const Alias alias(path);
    FileWorld::Rename(path, mFolder / "sub/b");
    EXPECT_EQ("status -43", alias.Resolve());
    FSRef seen;
    ASSERT_EQ(noErr, MakeRef(mFolder / "sub/b", &seen));
    EXPECT_EQ(mFolder / "sub/b changed", alias.Resolve());
}

TEST_P(FSResolveAliasTest, AnotherFileInItsPlace) {
    const std::string path = mFolder.MakeFile("a");
    const Alias alias(path);
    FileWorld::Rename(path, mFolder / "backup");
    mFolder.MakeFile("a", "saved anew");
    EXPECT_EQ(path + " changed", alias.Resolve());
    EXPECT_EQ(path, alias.Resolve());
    const struct statx status = FileWorld::StatusOf(path);
    EXPECT_EQ(status.stx_ino, alias.Contents().identity.inode);
}

TEST_P(FSResolveAliasTest, AFolderInAFilesPlaceIsNotIt) {
    const std::string path = mFolder.MakeFile("a");
    const Alias alias(path);
    FileWorld::Rename(path, mFolder / "b");
    mFolder.MakeFolder("a");
    EXPECT_EQ(mFolder / "b changed", alias.Resolve());
    const Alias second(mFolder / "b");
    FileWorld::Remove(mFolder / "b");
    mFolder.MakeFolder("b");
    EXPECT_EQ("status -43", second.Resolve());
}

TEST_P(FSResolveAliasTest, ALinkInItsPlace) {
    mFolder.MakeFolder("sub");
    const std::string path = mFolder.MakeFile("a");
    const Alias alias(path);
    FileWorld::Rename(path, mFolder / "sub/a");
    mFolder.MakeLink("sub/a", "a");
    EXPECT_EQ(mFolder / "sub/a changed", alias.Resolve());
}

TEST_P(FSResolveAliasTest, RecordOfAnEarlierRun) {
    const std::string path = mFolder.MakeFile("a");
    const Alias later(ForgetIdentity(Alias(path)));
    EXPECT_EQ(path + " changed", later.Resolve());
    EXPECT_EQ(path, later.Resolve());
}

TEST_P(FSResolveAliasTest, RecordOfAnEarlierRunOfARenamedItem) {
    const std::string path = mFolder.MakeFile("never referred to");
    const struct statx status = FileWorld::StatusOf(path);
    // The birth may be unknown to the run that made the record.
    const Alias alias(Encode({0,
                              ItemKind::kFile,
                              {makedev(status.stx_dev_major, status.stx_dev_minor), status.stx_ino, 0},
                              mFolder / "former name"}));
    EXPECT_EQ(path + " changed", alias.Resolve());
    EXPECT_EQ(path, alias.Resolve());
}

TEST_P(FSResolveAliasTest, DeletedItem) {
    mFolder.MakeFolder("sub");
    const std::string path = mFolder.MakeFile("sub/a");
    const Alias alias(path);
    const std::string before = alias.Bytes();
    FileWorld::Remove(path);
    EXPECT_EQ("status -43", alias.Resolve());
    FileWorld::RemoveAll(mFolder / "sub");
    EXPECT_EQ("status -43", alias.Resolve());
    EXPECT_EQ(before, alias.Bytes());
}

TEST_P(FSResolveAliasTest, UserTypeAndBytesBehindTheRecordStay) {
    const std::string path = mFolder.MakeFile("a");
    for (const std::string& name : {std::string("a name that is longer"), std::string("b")}) {
        AliasContents contents = Alias(mFolder / "a").Contents();
        contents.userType = FourChars("MINE");
        std::vector<UInt8> bytes = Encode(contents);
        for (const char one : std::string("tail"))
            bytes.push_back(static_cast<UInt8>(one));
        const Alias alias(bytes);
        FileWorld::Rename(mFolder / "a", mFolder / name);
        EXPECT_EQ(mFolder / (name + " changed"), alias.Resolve());
        EXPECT_EQ("MINE", alias.Bytes().substr(0, 4));
        EXPECT_EQ("tail", alias.Bytes().substr(alias.Bytes().size() - 4));
        EXPECT_EQ(40 + mFolder.Path().size() + 1 + name.size() + 4, alias.Bytes().size());
        EXPECT_EQ(mFolder / name, alias.Resolve());
        FileWorld::Rename(mFolder / name, path);
    }
}

TEST_P(FSResolveAliasTest, RecordThatCannotGrowStays) {
    const std::string path = mFolder.MakeFile("a");
    const Alias alias(path);
    const std::string before = alias.Bytes();
    const std::string longer = mFolder / std::string(200, 'n');
    FileWorld::Rename(path, longer);
    SetMemoryLimit(GetMemoryInUse());
    EXPECT_EQ(longer, alias.Resolve());
    SetMemoryLimit(0);
    EXPECT_EQ(before, alias.Bytes());
    EXPECT_EQ(longer + " changed", alias.Resolve());
}

TEST_P(FSResolveAliasTest, BlocksThatMove) {
    const std::string path = mFolder.MakeFile("a");
    const Alias alias(path);
    toolbox::memory::SetMovesAtEveryResize(true);
    for (const std::string& name :
         {std::string(100, 'n'), std::string("b"), std::string(200, 'm'), std::string("a")}) {
        FileWorld::Rename(alias.Contents().path, mFolder / name);
        EXPECT_EQ(mFolder / (name + " changed"), alias.Resolve());
        EXPECT_EQ(mFolder / name, alias.Contents().path);
    }
    toolbox::memory::SetMovesAtEveryResize(false);
}

// What kept the search from ending is told, not that nothing was found.
TEST_P(FSResolveAliasTest, SearchThatFails) {
    const std::string path = mFolder.MakeFile("a");
    const Alias alias(path);
    FileWorld::Rename(path, mFolder / "b");
    const toolbox::os::SystemCalls real = toolbox::os::Calls();
    toolbox::os::CallsForTesting().fdopendir = [](int) -> DIR* {
        errno = EMFILE;
        return nullptr;
    };
    EXPECT_EQ("status -42", alias.Resolve());
    toolbox::os::CallsForTesting() = real;
    EXPECT_EQ(mFolder / "b changed", alias.Resolve());
}

TEST_P(FSResolveAliasTest, NullArguments) {
    const Alias alias(mFolder.Path());
    FSRef target;
    Boolean wasChanged = 0;
    EXPECT_EQ(paramErr, FSResolveAlias(nullptr, nullptr, &target, &wasChanged));
    EXPECT_EQ(paramErr, FSResolveAlias(nullptr, alias.Get(), nullptr, &wasChanged));
    EXPECT_EQ(paramErr, FSResolveAlias(nullptr, alias.Get(), &target, nullptr));
}

TEST_P(FSResolveAliasTest, BadRecords) {
    const std::string bytes = Alias(mFolder.Path()).Bytes();
    for (std::size_t size = 0; size < bytes.size(); ++size) {
        EXPECT_EQ("status -50", Alias(std::vector<UInt8>(bytes.begin(), bytes.begin() + size)).Resolve())
            << size;
    }
    EXPECT_EQ("status -50", Alias(std::vector<UInt8>(1000, 0xFF)).Resolve());
    EXPECT_EQ("status -50", Alias(std::vector<UInt8>(1000, 0)).Resolve());
    const Alias emptied(mFolder.Path());
    EmptyHandle(emptied.AsHandle());
    EXPECT_EQ("status -50", emptied.Resolve());
}

TEST_P(FSResolveAliasTest, FailureLeavesTheTarget) {
    const Alias alias(std::vector<UInt8>(100, 0));
    FSRef target;
    std::memset(&target, 0x5A, sizeof(target));
    const FSRef before = target;
    Boolean wasChanged = 1;
    EXPECT_EQ(paramErr, FSResolveAlias(nullptr, alias.Get(), &target, &wasChanged));
    EXPECT_EQ(0, std::memcmp(&before, &target, sizeof(target)));
    EXPECT_EQ(0, wasChanged);
}

TEST_P(FSNewAliasMinimalTest, NoMemoryForTheHandle) {
    FSRef ref;
    ASSERT_EQ(noErr, MakeRef(mFolder.Path(), &ref));
    const UInt64 handles = GetLiveHandleCount();
    AliasHandle alias = reinterpret_cast<AliasHandle>(&ref);
    SetMemoryLimit(1);
    EXPECT_EQ(memFullErr, FSNewAliasMinimal(&ref, &alias));
    SetMemoryLimit(0);
    EXPECT_EQ(nullptr, alias);
    EXPECT_EQ(handles, GetLiveHandleCount());
}

TEST_P(AliasesTest, EveryFailingCall) {
    const std::string path = mFolder.MakeFile("a");
    FSRef ref;
    ASSERT_EQ(noErr, MakeRef(path, &ref));
    const UInt64 handles = GetLiveHandleCount();
    const std::size_t descriptors = OpenDescriptorCount();
    for (const FailingCalls::Extent extent : {FailingCalls::kOnce, FailingCalls::kForever}) {
        for (int failing = 1;; ++failing) {
            AliasHandle alias = nullptr;
            FSRef target = {};
            Boolean wasChanged = 0;
            OSErr made = noErr;
            OSErr resolved = noErr;
            bool delivered = false;
            {
                const FailingCalls calls(failing, EIO, extent);
                made = FSNewAliasMinimal(&ref, &alias);
                if (made == noErr) resolved = FSResolveAlias(nullptr, alias, &target, &wasChanged);
                delivered = calls.Delivered();
            }
            DisposeHandle(reinterpret_cast<Handle>(alias));
            EXPECT_EQ(handles, GetLiveHandleCount());
            EXPECT_EQ(descriptors, OpenDescriptorCount());
            if (!delivered) {
                EXPECT_GT(failing, 3);
                EXPECT_EQ(noErr, made);
            }
            if (made != noErr) {
                EXPECT_EQ(ioErr, made);
            } else if (resolved == noErr) {
                // The path could not be looked at once, and the item was found as the node that it is.
                EXPECT_EQ(0, std::memcmp(&ref, &target, sizeof(ref)));
                EXPECT_EQ(0, wasChanged);
                EXPECT_TRUE(!delivered || extent == FailingCalls::kOnce);
            } else {
                EXPECT_EQ(ioErr, resolved);
            }
            if (!delivered) break;
        }
    }
}

TEST_P(AliasesTest, EveryFailingAllocation) {
    const std::string path = mFolder.MakeFile("a name of more than some bytes");
    FSRef ref;
    ASSERT_EQ(noErr, MakeRef(path, &ref));
    const UInt64 handles = GetLiveHandleCount();
    for (int failing = 1;; ++failing) {
        AliasHandle alias = nullptr;
        FSRef target = {};
        Boolean wasChanged = 0;
        OSErr made = noErr;
        OSErr resolved = noErr;
        bool delivered = false;
        {
            const FailingNew memory(failing);
            made = FSNewAliasMinimal(&ref, &alias);
            if (made == noErr) resolved = FSResolveAlias(nullptr, alias, &target, &wasChanged);
            delivered = memory.Delivered();
        }
        DisposeHandle(reinterpret_cast<Handle>(alias));
        EXPECT_EQ(handles, GetLiveHandleCount());
        if (!delivered) {
            EXPECT_EQ(noErr, made);
            EXPECT_EQ(noErr, resolved);
            EXPECT_EQ(0, std::memcmp(&ref, &target, sizeof(ref)));
            EXPECT_GT(failing, 5);
            break;
        }
        EXPECT_EQ(memFullErr, made == noErr ? resolved : made) << failing;
    }
}

}  // namespace
