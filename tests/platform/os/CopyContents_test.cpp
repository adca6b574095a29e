#include "os/CopyContents.h"

#include "os/Descriptor.h"
#include "support/FailEach.h"
#include "support/FailingCalls.h"
#include "support/FileWorld.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/xattr.h>

#include <cerrno>
#include <cstring>
#include <string>

namespace {

using namespace toolbox::os;
using support::FileWorld;
using test_files::FailingCalls;

class CopyContentsTest : public support::FileWorldTest {
  protected:
    ~CopyContentsTest() override { CallsForTesting() = mSaved; }

    void Open(const std::string& inContents) {
        mFolder.MakeFile("from", inContents);
        mFolder.MakeFile("to", "");
        mFrom = Descriptor();
        mTo = Descriptor();
        ASSERT_EQ(0, OpenFile((mFolder / "from").c_str(), O_RDONLY, mFrom));
        ASSERT_EQ(0, OpenFile((mFolder / "to").c_str(), O_RDWR, mTo));
    }
    int Copy() { return CopyContents(mFrom.Number(), mTo.Number()); }
    std::string Copied() const { return FileWorld::Contents(mFolder / "to"); }
    static void NoClones() {
        CallsForTesting().ioctl = [](int, unsigned long, int) { return errno = EOPNOTSUPP, -1; };
    }
    static void NoKernelCopies() {
        CallsForTesting().copy_file_range = [](int, off_t*, int, off_t*, std::size_t, unsigned) -> ssize_t {
            return errno = EXDEV, -1;
        };
    }

    Descriptor mFrom;
    Descriptor mTo;
    SystemCalls mSaved = CallsForTesting();
};
INSTANTIATE_TEST_SUITE_P(Worlds, CopyContentsTest, support::BothWorlds(), support::NameOfWorld);

std::string Text(std::size_t inByteCount) {
    std::string text(inByteCount, 0);
    for (std::size_t i = 0; i < inByteCount; ++i)
        text[i] = static_cast<char>('a' + i * 7 % 23);
    return text;
}

TEST_P(CopyContentsTest, EveryWay) {
    for (const std::size_t byteCount : {0U, 1U, 65536U, 200'000U}) {
        const std::string text = Text(byteCount);
        Open(text);
        EXPECT_EQ(0, Copy());
        EXPECT_TRUE(text == Copied()) << byteCount;
        NoClones();
        Open(text);
        EXPECT_EQ(0, Copy());
        EXPECT_TRUE(text == Copied()) << byteCount;
        NoKernelCopies();
        Open(text);
        EXPECT_EQ(0, Copy());
        EXPECT_TRUE(text == Copied()) << byteCount;
        CallsForTesting() = mSaved;
    }
}

TEST_P(CopyContentsTest, SharedContentsAreNotCopied) {
    Open("text");
    static int sFrom;
    sFrom = mFrom.Number();
    CallsForTesting().ioctl = [](int, unsigned long inRequest, int inFrom) {
        EXPECT_EQ(0x40049409UL, inRequest) << "the clone of a file";
        EXPECT_EQ(sFrom, inFrom);
        return 0;
    };
    EXPECT_EQ(0, Copy());
    EXPECT_EQ("", Copied()) << "the kernel has done it all";
}

TEST_P(CopyContentsTest, TheKernelCopiesAPart) {
    const std::string text = Text(10'000);
    Open(text);
    NoClones();
    static int sCalls;
    sCalls = 0;
    static SystemCalls sReal;
    sReal = mSaved;
    CallsForTesting().copy_file_range = [](int inFrom, off_t* ioFrom, int inTo, off_t* ioTo,
                                           std::size_t inCount, unsigned inFlags) -> ssize_t {
        switch (sCalls++) {
            case 0:
                return sReal.copy_file_range(inFrom, ioFrom, inTo, ioTo, std::min<std::size_t>(inCount, 3000),
                                             inFlags);
            case 1:
                return errno = EINTR, -1;
            case 2:
                return sReal.copy_file_range(inFrom, ioFrom, inTo, ioTo, std::min<std::size_t>(inCount, 100),
                                             inFlags);
            default:
                return 0;
        }
    };
    EXPECT_EQ(0, Copy());
    EXPECT_TRUE(text == Copied());
    EXPECT_EQ(4, sCalls);
}

TEST_P(CopyContentsTest, HolesStayHoles) {
    if (mFolder.Memory() != nullptr) GTEST_SKIP() << "files in memory have none";
    Open("");
    NoClones();
    Descriptor file;
    ASSERT_EQ(0, OpenFile((mFolder / "from").c_str(), O_RDWR, file));
    constexpr off_t kLength = 8 << 20;
    ASSERT_EQ(5, Calls().pwrite(file.Number(), "start", 5, 0));
    ASSERT_EQ(6, Calls().pwrite(file.Number(), "middle", 6, 4 << 20));
    ASSERT_EQ(0, Calls().ftruncate(file.Number(), kLength));
    ASSERT_EQ(0, Copy());
    EXPECT_TRUE(FileWorld::Contents(mFolder / "from") == Copied());
    EXPECT_LT(FileWorld::StatusOf(mFolder / "to").stx_blocks, 1000U) << "of 16384";
}

TEST_P(CopyContentsTest, WhereNobodyTellsOfHoles) {
    const std::string text = Text(70'000);
    Open(text);
    NoClones();
    CallsForTesting().lseek = [](int, off_t, int) -> off_t { return errno = EINVAL, -1; };
    EXPECT_EQ(0, Copy());
    EXPECT_TRUE(text == Copied());
}

TEST_P(CopyContentsTest, AFileThatIsCutMeanwhile) {
    Open(Text(100'000));
    NoClones();
    NoKernelCopies();
    static std::string sPath;
    static SystemCalls sReal;
    sReal = mSaved;
    sPath = mFolder / "from";
    CallsForTesting().lseek = [](int, off_t inOffset, int inWhence) -> off_t {
        const int file = sReal.openat(AT_FDCWD, sPath.c_str(), O_RDWR | O_CLOEXEC, 0);
        EXPECT_EQ(0, sReal.ftruncate(file, 1000));
        EXPECT_EQ(0, sReal.close(file));
        return inWhence == SEEK_DATA ? inOffset : 100'000;
    };
    EXPECT_EQ(0, Copy());
    EXPECT_EQ(Text(100'000).substr(0, 1000), Copied());
}

TEST_P(CopyContentsTest, ErrorsAreTold) {
    Open(Text(1000));
    NoClones();
    NoKernelCopies();
    for (const int error : {ENOSPC, EIO}) {
        static int sError;
        sError = error;
        CallsForTesting().pwrite = [](int, const void*, std::size_t, off_t) -> ssize_t {
            return errno = sError, -1;
        };
        EXPECT_EQ(error, Copy());
        CallsForTesting().pwrite = mSaved.pwrite;
        CallsForTesting().pread = [](int, void*, std::size_t, off_t) -> ssize_t {
            return errno = sError, -1;
        };
        EXPECT_EQ(error, Copy());
        CallsForTesting().pread = mSaved.pread;
    }
    CallsForTesting().ftruncate = [](int, off_t) { return errno = EIO, -1; };
    EXPECT_EQ(EIO, Copy());
}

TEST_P(CopyContentsTest, EveryCallFails) {
    const std::string text = Text(1000);
    const int count = support::FailEach<FailingCalls>(
        [&](const auto& inUnderFault) {
            Open(text);
            int error = 0;
            (void)inUnderFault([&] { error = Copy(); });
            EXPECT_TRUE(error == EIO || text == Copied()) << error;
        },
        EIO);
    EXPECT_GE(count, 1);
}

TEST_P(CopyContentsTest, Attributes) {
    Open("text");
    ASSERT_EQ(0, CopyAttributes(mFrom.Number(), mTo.Number()));
    if (mFolder.Memory() != nullptr) return;  // which has none
    ASSERT_EQ(0, fsetxattr(mFrom.Number(), "user.one", "1", 1, 0));
    ASSERT_EQ(0, fsetxattr(mFrom.Number(), "user.empty", "", 0, 0));
    ASSERT_EQ(0, CopyAttributes(mFrom.Number(), mTo.Number()));
    char bytes[10];
    EXPECT_EQ(1, fgetxattr(mTo.Number(), "user.one", bytes, sizeof bytes));
    EXPECT_EQ('1', bytes[0]);
    EXPECT_EQ(0, fgetxattr(mTo.Number(), "user.empty", bytes, sizeof bytes));
}

TEST_P(CopyContentsTest, OnlyTheUsersOwnAttributes) {
    Open("text");
    static std::string sSet;
    sSet.clear();
    CallsForTesting().flistxattr = [](int, char* outNames, std::size_t) -> ssize_t {
        constexpr char kNames[] = "user.a\0security.b\0system.posix_acl_access\0trusted.c\0system.d\0user.e";
        std::memcpy(outNames, kNames, sizeof kNames);
        return sizeof kNames;
    };
    CallsForTesting().fgetxattr = [](int, const char* inName, void* outBytes, std::size_t) -> ssize_t {
        if (std::strcmp(inName, "user.e") == 0) return errno = ENODATA, -1;  // went meanwhile
        std::memcpy(outBytes, "xyz", 3);
        return 3;
    };
    CallsForTesting().fsetxattr = [](int, const char* inName, const void*, std::size_t inByteCount, int) {
        EXPECT_EQ(3U, inByteCount);
        sSet += inName + std::string(" ");
        return 0;
    };
    EXPECT_EQ(0, CopyAttributes(mFrom.Number(), mTo.Number()));
    EXPECT_EQ("user.a ", sSet);
    struct Row {
        int error;
        int told;
    };
    // What the file system has not is left out; what it has no room for is not.
    for (const Row& row :
         {Row{EOPNOTSUPP, 0}, Row{ENOSYS, 0}, Row{EACCES, EACCES}, Row{EPERM, EPERM}, Row{EINVAL, EINVAL},
          Row{ENOSPC, ENOSPC}, Row{E2BIG, ENOSPC}, Row{ERANGE, ENOSPC}, Row{EDQUOT, EDQUOT}}) {
        static int sError;
        sError = row.error;
        CallsForTesting().fsetxattr = [](int, const char*, const void*, std::size_t, int) {
            return errno = sError, -1;
        };
        EXPECT_EQ(row.told, CopyAttributes(mFrom.Number(), mTo.Number())) << row.error;
    }
    CallsForTesting().fgetxattr = [](int, const char*, void*, std::size_t) -> ssize_t {
        return errno = EIO, -1;
    };
    EXPECT_EQ(EIO, CopyAttributes(mFrom.Number(), mTo.Number()));
    CallsForTesting().flistxattr = [](int, char*, std::size_t) -> ssize_t { return errno = EIO, -1; };
    EXPECT_EQ(EIO, CopyAttributes(mFrom.Number(), mTo.Number()));
}

// A list with a user of that number, who may read, and a mask for as much.
std::string ListFor(UInt8 inUser) {
    const UInt8 bytes[] = {
        2,  0, 0, 0,                                                          // version
        1,  0, 6, 0, 255, 255, 255, 255, 2,  0, 4, 0, inUser, 0,   0,   0,    // owner, user
        4,  0, 0, 0, 255, 255, 255, 255, 16, 0, 4, 0, 255,    255, 255, 255,  // group, mask
        32, 0, 0, 0, 255, 255, 255, 255};                                     // everyone else
    return {reinterpret_cast<const char*>(bytes), sizeof bytes};
}

std::string ListOf(int inFile) {
    char bytes[200];
    const ssize_t count = fgetxattr(inFile, "system.posix_acl_access", bytes, sizeof bytes);
    return count < 0 ? std::string() : std::string(bytes, static_cast<std::size_t>(count));
}

TEST_P(CopyContentsTest, Permissions) {
    Open("text");
    for (const mode_t mode : {0640U, 0444U, 0U, 0755U}) {
        EXPECT_EQ(0, CopyAccess(mFrom.Number(), mTo.Number(), mode));
        EXPECT_EQ(mode, FileWorld::StatusOf(mFolder / "to").stx_mode & 07777U);
    }
}

TEST_P(CopyContentsTest, TheAccessListIsThatOfTheOther) {
    if (mFolder.Memory() != nullptr) GTEST_SKIP() << "files in memory have none";
    Open("text");
    const std::string list = ListFor(77);
    const std::string inherited = ListFor(66);
    constexpr char kName[] = "system.posix_acl_access";
    if (fsetxattr(mTo.Number(), kName, inherited.data(), inherited.size(), 0) != 0)
        GTEST_SKIP() << "the file system has no access lists";
    EXPECT_EQ(0, CopyAccess(mFrom.Number(), mTo.Number(), 0640));
    EXPECT_EQ("", ListOf(mTo.Number())) << "what the folder gave goes";
    EXPECT_EQ(0640U, FileWorld::StatusOf(mFolder / "to").stx_mode & 07777U);
    ASSERT_EQ(0, fsetxattr(mFrom.Number(), kName, list.data(), list.size(), 0));
    EXPECT_EQ(0, CopyAccess(mFrom.Number(), mTo.Number(), 0640));
    EXPECT_TRUE(list == ListOf(mTo.Number()));
    EXPECT_EQ(0640U, FileWorld::StatusOf(mFolder / "to").stx_mode & 07777U);
}

TEST_P(CopyContentsTest, WithoutTheListAFileIsItsOwnersAlone) {
    Open("text");
    static int sFrom;
    sFrom = mFrom.Number();
    CallsForTesting().fgetxattr = [](int inFile, const char*, void* outBytes, std::size_t) -> ssize_t {
        if (inFile != sFrom) return errno = EOPNOTSUPP, -1;
        const std::string list = ListFor(77);
        std::memcpy(outBytes, list.data(), list.size());
        return static_cast<ssize_t>(list.size());
    };
    CallsForTesting().fsetxattr = [](int, const char*, const void*, std::size_t, int) {
        return errno = EOPNOTSUPP, -1;
    };
    EXPECT_EQ(0, CopyAccess(mFrom.Number(), mTo.Number(), 0664));
    EXPECT_EQ(0600U, FileWorld::StatusOf(mFolder / "to").stx_mode & 07777U);
    CallsForTesting().fsetxattr = [](int, const char*, const void*, std::size_t, int) {
        return errno = EIO, -1;
    };
    EXPECT_EQ(EIO, CopyAccess(mFrom.Number(), mTo.Number(), 0664));
    CallsForTesting().fsetxattr = [](int, const char*, const void*, std::size_t, int) {
        return errno = E2BIG, -1;
    };
    EXPECT_EQ(ENOSPC, CopyAccess(mFrom.Number(), mTo.Number(), 0664));
    EXPECT_EQ(0600U, FileWorld::StatusOf(mFolder / "to").stx_mode & 07777U);
}

}  // namespace
