#include "aliases/AliasRecord.h"
#include "memory/MacMemory_test_access.h"
#include "platform/catalogue/Refs.h"
#include "support/FailingCalls.h"
#include "support/FailingNew.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <toolbox/Aliases.h>
#include <toolbox/MacMemory.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <string>

namespace {

namespace fs = std::filesystem;
using test_files::FailingCalls;
using test_files::FailingNew;
using test_files::MakeRef;
using test_files::OpenDescriptorCount;
using test_files::PathOf;
using test_files::TemporaryFolder;
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

TEST(FSNewAliasMinimal, RecordOfTheItem) {
    const TemporaryFolder folder;
    const std::string path = folder.MakeFile("tone.m4a");
    const Alias alias(path);
    const std::string bytes = alias.Bytes();
    EXPECT_EQ(std::string(4, '\0'), bytes.substr(0, 4));
    EXPECT_EQ(bytes.size(), static_cast<UInt8>(bytes[4]) * 256u + static_cast<UInt8>(bytes[5]));
    struct stat status = {};
    ASSERT_EQ(0, stat(path.c_str(), &status));
    const AliasContents contents = alias.Contents();
    EXPECT_EQ(ItemKind::kFile, contents.kind);
    EXPECT_EQ(status.st_dev, contents.identity.device);
    EXPECT_EQ(status.st_ino, contents.identity.inode);
    EXPECT_EQ(path, contents.path);
}

TEST(FSNewAliasMinimal, BadArguments) {
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

TEST(FSNewAliasMinimal, ItemThatIsGone) {
    const TemporaryFolder folder;
    const std::string path = folder.MakeFile("a");
    FSRef ref;
    ASSERT_EQ(noErr, MakeRef(path, &ref));
    fs::remove(path);
    AliasHandle alias = reinterpret_cast<AliasHandle>(&ref);
    EXPECT_EQ(fnfErr, FSNewAliasMinimal(&ref, &alias));
    EXPECT_EQ(nullptr, alias);
}

TEST(FSResolveAlias, WhereItWas) {
    const TemporaryFolder folder;
    for (const std::string& name :
         {std::string("a.m4a"), std::string("\xFF \xF0\x9F\x8E\xB5"), std::string(255, 'n')}) {
        const std::string path = folder.MakeFile(name);
        const Alias alias(path);
        EXPECT_EQ(path, alias.Resolve());
        EXPECT_EQ(path, alias.Resolve());
    }
    EXPECT_EQ(folder.Path(), Alias(folder.Path()).Resolve());
    EXPECT_EQ("/", Alias("/").Resolve());
}

TEST(FSResolveAlias, FileToResolveFromIsNotNeeded) {
    const TemporaryFolder folder;
    const std::string path = folder.MakeFile("a");
    const Alias alias(path);
    FSRef from;
    FSRef target;
    Boolean wasChanged = 1;
    ASSERT_EQ(noErr, MakeRef("/", &from));
    EXPECT_EQ(noErr, FSResolveAlias(&from, alias.Get(), &target, &wasChanged));
    EXPECT_EQ(path, PathOf(target));
    EXPECT_EQ(0, wasChanged);
}

TEST(FSResolveAlias, RenamedInItsFolder) {
    const TemporaryFolder folder;
    const std::string path = folder.MakeFile("a");
    const Alias alias(path);
    fs::rename(path, folder / "a much longer name than it had");
    EXPECT_EQ(folder / "a much longer name than it had changed", alias.Resolve());
    EXPECT_EQ(folder / "a much longer name than it had", alias.Contents().path);
    EXPECT_EQ(folder / "a much longer name than it had", alias.Resolve());
    fs::rename(folder / "a much longer name than it had", path);
    EXPECT_EQ(path + " changed", alias.Resolve());
    EXPECT_EQ(path, alias.Resolve());
}

TEST(FSResolveAlias, MovedToAPlaceThatThisProcessKnows) {
    const TemporaryFolder folder;
    folder.MakeFolder("sub");
    const std::string path = folder.MakeFile("a");
    const Alias alias(path);
    fs::rename(path, folder / "sub/b");
    EXPECT_EQ("status -43", alias.Resolve());
    FSRef seen;
    ASSERT_EQ(noErr, MakeRef(folder / "sub/b", &seen));
    EXPECT_EQ(folder / "sub/b changed", alias.Resolve());
}

TEST(FSResolveAlias, AnotherFileInItsPlace) {
    const TemporaryFolder folder;
    const std::string path = folder.MakeFile("a");
    const Alias alias(path);
    fs::rename(path, folder / "backup");
    folder.MakeFile("a", "saved anew");
    EXPECT_EQ(path + " changed", alias.Resolve());
    EXPECT_EQ(path, alias.Resolve());
    struct stat status = {};
    ASSERT_EQ(0, stat(path.c_str(), &status));
    EXPECT_EQ(status.st_ino, alias.Contents().identity.inode);
}

TEST(FSResolveAlias, AFolderInAFilesPlaceIsNotIt) {
    const TemporaryFolder folder;
    const std::string path = folder.MakeFile("a");
    const Alias alias(path);
    fs::rename(path, folder / "b");
    folder.MakeFolder("a");
    EXPECT_EQ(folder / "b changed", alias.Resolve());
    const Alias second(folder / "b");
    fs::remove(folder / "b");
    folder.MakeFolder("b");
    EXPECT_EQ("status -43", second.Resolve());
}

TEST(FSResolveAlias, ALinkInItsPlace) {
    const TemporaryFolder folder;
    folder.MakeFolder("sub");
    const std::string path = folder.MakeFile("a");
    const Alias alias(path);
    fs::rename(path, folder / "sub/a");
    ASSERT_EQ(0, symlink("sub/a", path.c_str()));
    EXPECT_EQ(folder / "sub/a changed", alias.Resolve());
}

TEST(FSResolveAlias, RecordOfAnEarlierRun) {
    const TemporaryFolder folder;
    const std::string path = folder.MakeFile("a");
    const Alias later(ForgetIdentity(Alias(path)));
    EXPECT_EQ(path + " changed", later.Resolve());
    EXPECT_EQ(path, later.Resolve());
}

TEST(FSResolveAlias, RecordOfAnEarlierRunOfARenamedItem) {
    const TemporaryFolder folder;
    const std::string path = folder.MakeFile("never referred to");
    struct stat status = {};
    ASSERT_EQ(0, stat(path.c_str(), &status));
    // The birth may be unknown to the run that made the record.
    const Alias alias(
        Encode({0, ItemKind::kFile, {status.st_dev, status.st_ino, 0}, folder / "former name"}));
    EXPECT_EQ(path + " changed", alias.Resolve());
    EXPECT_EQ(path, alias.Resolve());
}

TEST(FSResolveAlias, DeletedItem) {
    const TemporaryFolder folder;
    folder.MakeFolder("sub");
    const std::string path = folder.MakeFile("sub/a");
    const Alias alias(path);
    const std::string before = alias.Bytes();
    fs::remove(path);
    EXPECT_EQ("status -43", alias.Resolve());
    fs::remove_all(folder / "sub");
    EXPECT_EQ("status -43", alias.Resolve());
    EXPECT_EQ(before, alias.Bytes());
}

TEST(FSResolveAlias, UserTypeAndBytesBehindTheRecordStay) {
    const TemporaryFolder folder;
    const std::string path = folder.MakeFile("a");
    for (const std::string& name : {std::string("a name that is longer"), std::string("b")}) {
        AliasContents contents = Alias(folder / "a").Contents();
        contents.userType = FourChars("MINE");
        std::vector<UInt8> bytes = Encode(contents);
        for (const char one : std::string("tail"))
            bytes.push_back(static_cast<UInt8>(one));
        const Alias alias(bytes);
        fs::rename(folder / "a", folder / name);
        EXPECT_EQ(folder / (name + " changed"), alias.Resolve());
        EXPECT_EQ("MINE", alias.Bytes().substr(0, 4));
        EXPECT_EQ("tail", alias.Bytes().substr(alias.Bytes().size() - 4));
        EXPECT_EQ(40 + folder.Path().size() + 1 + name.size() + 4, alias.Bytes().size());
        EXPECT_EQ(folder / name, alias.Resolve());
        fs::rename(folder / name, path);
    }
}

TEST(FSResolveAlias, RecordThatCannotGrowStays) {
    const TemporaryFolder folder;
    const std::string path = folder.MakeFile("a");
    const Alias alias(path);
    const std::string before = alias.Bytes();
    const std::string longer = folder / std::string(200, 'n');
    fs::rename(path, longer);
    SetMemoryLimit(GetMemoryInUse());
    EXPECT_EQ(longer, alias.Resolve());
    SetMemoryLimit(0);
    EXPECT_EQ(before, alias.Bytes());
    EXPECT_EQ(longer + " changed", alias.Resolve());
}

TEST(FSResolveAlias, BlocksThatMove) {
    const TemporaryFolder folder;
    const std::string path = folder.MakeFile("a");
    const Alias alias(path);
    toolbox::memory::SetMovesAtEveryResize(true);
    for (const std::string& name :
         {std::string(100, 'n'), std::string("b"), std::string(200, 'm'), std::string("a")}) {
        fs::rename(alias.Contents().path, folder / name);
        EXPECT_EQ(folder / (name + " changed"), alias.Resolve());
        EXPECT_EQ(folder / name, alias.Contents().path);
    }
    toolbox::memory::SetMovesAtEveryResize(false);
}

// What kept the search from ending is told, not that nothing was found.
TEST(FSResolveAlias, SearchThatFails) {
    const TemporaryFolder folder;
    const std::string path = folder.MakeFile("a");
    const Alias alias(path);
    fs::rename(path, folder / "b");
    const toolbox::os::SystemCalls real = toolbox::os::Calls();
    toolbox::os::CallsForTesting().fdopendir = [](int) -> DIR* {
        errno = EMFILE;
        return nullptr;
    };
    EXPECT_EQ("status -42", alias.Resolve());
    toolbox::os::CallsForTesting() = real;
    EXPECT_EQ(folder / "b changed", alias.Resolve());
}

TEST(FSResolveAlias, NullArguments) {
    const TemporaryFolder folder;
    const Alias alias(folder.Path());
    FSRef target;
    Boolean wasChanged = 0;
    EXPECT_EQ(paramErr, FSResolveAlias(nullptr, nullptr, &target, &wasChanged));
    EXPECT_EQ(paramErr, FSResolveAlias(nullptr, alias.Get(), nullptr, &wasChanged));
    EXPECT_EQ(paramErr, FSResolveAlias(nullptr, alias.Get(), &target, nullptr));
}

TEST(FSResolveAlias, BadRecords) {
    const TemporaryFolder folder;
    const std::string bytes = Alias(folder.Path()).Bytes();
    for (std::size_t size = 0; size < bytes.size(); ++size) {
        EXPECT_EQ("status -50", Alias(std::vector<UInt8>(bytes.begin(), bytes.begin() + size)).Resolve())
            << size;
    }
    EXPECT_EQ("status -50", Alias(std::vector<UInt8>(1000, 0xFF)).Resolve());
    EXPECT_EQ("status -50", Alias(std::vector<UInt8>(1000, 0)).Resolve());
    const Alias emptied(folder.Path());
    EmptyHandle(emptied.AsHandle());
    EXPECT_EQ("status -50", emptied.Resolve());
}

TEST(FSResolveAlias, FailureLeavesTheTarget) {
    const TemporaryFolder folder;
    const Alias alias(std::vector<UInt8>(100, 0));
    FSRef target;
    std::memset(&target, 0x5A, sizeof(target));
    const FSRef before = target;
    Boolean wasChanged = 1;
    EXPECT_EQ(paramErr, FSResolveAlias(nullptr, alias.Get(), &target, &wasChanged));
    EXPECT_EQ(0, std::memcmp(&before, &target, sizeof(target)));
    EXPECT_EQ(0, wasChanged);
}

TEST(FSNewAliasMinimal, NoMemoryForTheHandle) {
    const TemporaryFolder folder;
    FSRef ref;
    ASSERT_EQ(noErr, MakeRef(folder.Path(), &ref));
    const UInt64 handles = GetLiveHandleCount();
    AliasHandle alias = reinterpret_cast<AliasHandle>(&ref);
    SetMemoryLimit(1);
    EXPECT_EQ(memFullErr, FSNewAliasMinimal(&ref, &alias));
    SetMemoryLimit(0);
    EXPECT_EQ(nullptr, alias);
    EXPECT_EQ(handles, GetLiveHandleCount());
}

TEST(Aliases, EveryFailingCall) {
    const TemporaryFolder folder;
    const std::string path = folder.MakeFile("a");
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

TEST(Aliases, EveryFailingAllocation) {
    const TemporaryFolder folder;
    const std::string path = folder.MakeFile("a name of more than some bytes");
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
