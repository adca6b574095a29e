#include "CatalogTest.h"
#include "catalogue/VolumeFeatures.h"
#include "catalogue/Volumes.h"
#include "support/FailEach.h"
#include "support/FailingCalls.h"
#include "support/FailingNew.h"
#include "support/FileWorld.h"

#include <gtest/gtest.h>
#include <sys/statvfs.h>
#include <toolbox/VolumeAttributes.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <string_view>

namespace {

using namespace test_files;
using toolbox::os::CallsForTesting;

class VolumeAttributesTest : public CatalogItemsTest<support::FileWorldTest> {
  protected:
    VolumeAttributesTest() {
        toolbox::os::ItemStatus root;
        EXPECT_EQ(0, toolbox::os::GetPathStatus("/", root));
        mRoot = root.Volume();
    }
    ~VolumeAttributesTest() override { CallsForTesting() = mSaved; }

    OSErr GetBytes(void* outBytes, SInt32 inByteCount, SInt16 inVolume = 0) {
        mBlock = {};
        mBlock.ioParam.ioVRefNum = inVolume;
        mBlock.ioParam.ioBuffer = static_cast<Ptr>(outBytes);
        mBlock.ioParam.ioReqCount = inByteCount;
        const OSErr error = PBHGetVolParmsSync(&mBlock);
        EXPECT_EQ(error, mBlock.ioParam.ioResult);
        return error;
    }
    GetVolParmsInfoBuffer Get(SInt16 inVolume = 0) {
        GetVolParmsInfoBuffer parameters = {};
        EXPECT_EQ(noErr, GetBytes(&parameters, sizeof parameters, inVolume));
        EXPECT_EQ(static_cast<SInt32>(sizeof parameters), +mBlock.ioParam.ioActCount);
        return parameters;
    }
    // Of the first volume, as if this were its type and source.
    GetVolParmsInfoBuffer GetOfType(const std::string& inType, const std::string& inSource = "source") {
        sMounts = mFolder.MakeFile(
            "mounts", std::to_string(mRoot.mount) + " 1 8:1 / / rw - " + inType + ' ' + inSource + " rw\n");
        sSaved = mSaved;
        CallsForTesting().openat = [](int inFolder, const char* inPath, int inFlags, mode_t inMode) {
            const bool isTable = std::string_view(inPath) == "/proc/self/mountinfo";
            return sSaved.openat(inFolder, isTable ? sMounts.c_str() : inPath, inFlags, inMode);
        };
        const GetVolParmsInfoBuffer parameters = Get();
        CallsForTesting().openat = mSaved.openat;
        return parameters;
    }
    static bool Has(SInt32 inAttributes, int inBit) {
        return (static_cast<UInt32>(inAttributes) >> inBit & 1) != 0;
    }

    static inline std::string sMounts;
    static inline toolbox::os::SystemCalls sSaved;
    HParamBlockRec mBlock = {};
    toolbox::os::VolumeKey mRoot;
    toolbox::os::SystemCalls mSaved = CallsForTesting();
};
INSTANTIATE_TEST_SUITE_P(Worlds, VolumeAttributesTest, support::BothWorlds(), support::NameOfWorld);

TEST_P(VolumeAttributesTest, WhatAllHave) {
    const GetVolParmsInfoBuffer parameters = Get();
    EXPECT_GE(parameters.vMVersion, 3);
    EXPECT_EQ(nullptr, +parameters.vMLocalHand);
    EXPECT_EQ(nullptr, +parameters.vMDeviceID);
    EXPECT_EQ(255U, +parameters.vMMaxNameLength);
    EXPECT_EQ(0, parameters.vMForeignPrivID);
    for (const int bit : {bNoVNEdit, bNoBootBlks, bHasExtFSVol, bHasCopyFile, bHasMoveRename, bHasFileIDs})
        EXPECT_TRUE(Has(parameters.vMAttrib, bit)) << bit;
    for (const int bit : {bHasOpenDeny, bHasDesktopMgr, bHasCatSearch, bHasBTreeMgr, bLimitFCBs})
        EXPECT_FALSE(Has(parameters.vMAttrib, bit)) << bit;
    for (const int bit : {bSupportsHFSPlusAPIs, bSupportsLongNames, bSupportsMultiScriptNames,
                          bIsCasePreserving, bSupportsSubtreeIterators, bSupportsExclusiveLocks})
        EXPECT_TRUE(Has(parameters.vMExtendedAttributes, bit)) << bit;
    for (const int bit : {bSupportsFSCatalogSearch, bSupportsNamedForks, bIsCaseSensitive, bIsEjectable})
        EXPECT_FALSE(Has(parameters.vMExtendedAttributes, bit)) << bit;
}

TEST_P(VolumeAttributesTest, ByType) {
    struct Row {
        const char* type;
        bool hasExchange, hasOwners, hasLinks, hasLongFiles, hasJournal;
    };
    constexpr Row kRows[] = {
        {"ext4", true, true, true, true, true},      {"ext3", true, true, true, false, true},
        {"ext2", false, true, true, false, false},   {"tmpfs", true, true, true, true, false},
        {"exfat", false, false, false, true, false}, {"vfat", false, false, false, false, false},
        {"unheard", false, true, true, true, false}};
    for (const Row& row : kRows) {
        const GetVolParmsInfoBuffer parameters = GetOfType(row.type);
        EXPECT_EQ(row.hasExchange, Has(parameters.vMExtendedAttributes, bSupportsFSExchangeObjects))
            << row.type;
        EXPECT_EQ(row.hasOwners, Has(parameters.vMAttrib, bAccessCntl)) << row.type;
        EXPECT_EQ(row.hasLinks, Has(parameters.vMExtendedAttributes, bSupportsSymbolicLinks)) << row.type;
        EXPECT_EQ(row.hasLongFiles, Has(parameters.vMExtendedAttributes, bSupports2TBFiles)) << row.type;
        EXPECT_EQ(row.hasJournal, Has(parameters.vMExtendedAttributes, bSupportsJournaling)) << row.type;
        EXPECT_EQ(0, +parameters.vMServerAdr) << row.type;
    }
}

TEST_P(VolumeAttributesTest, ExchangeIsNotToldAfterARefusal) {
    if (!mFolder.MayMount()) GTEST_SKIP() << "this process may not mount";
    ASSERT_EQ(0, mFolder.MountVolume(mFolder.MakeFolder("volume")));
    const SInt16 number = InfoOf(mFolder / "volume", kFSCatInfoVolume).volume;
    toolbox::files::Volume volume;
    ASSERT_EQ(noErr, toolbox::files::GetVolume(number, volume));
    // The file system in memory is of a type of its own.
    const bool hasIt = mFolder.Memory() == nullptr;
    EXPECT_EQ(hasIt, Has(Get(number).vMExtendedAttributes, bSupportsFSExchangeObjects));
    toolbox::files::ForbidExchange(volume.key);
    EXPECT_FALSE(Has(Get(number).vMExtendedAttributes, bSupportsFSExchangeObjects));
}

TEST_P(VolumeAttributesTest, Servers) {
    const SInt32 one = GetOfType("nfs4", "server:/export/a").vMServerAdr;
    EXPECT_NE(0, one);
    EXPECT_EQ(one, +GetOfType("nfs", "server:/export/b").vMServerAdr);
    EXPECT_EQ(one, +GetOfType("cifs", "//server/share").vMServerAdr);
    EXPECT_NE(one, +GetOfType("nfs4", "other:/export/a").vMServerAdr);
    EXPECT_EQ(0, +GetOfType("ext4", "server:/export/a").vMServerAdr);
}

TEST_P(VolumeAttributesTest, Removable) {
    for (const char* const removable : {"/removable", "/../removable", "/nothing"}) {
        static std::string_view sEnd;
        sEnd = removable;
        sMounts = mFolder.MakeFile("one", "1\n");
        sSaved = mSaved;
        CallsForTesting().openat = [](int inFolder, const char* inPath, int inFlags, mode_t inMode) -> int {
            const std::string_view path = inPath;
            if (!path.starts_with("/sys/dev/block/")) return sSaved.openat(inFolder, inPath, inFlags, inMode);
            const std::size_t part = path.find('/', std::string_view("/sys/dev/block/").size());
            if (path.substr(part) != sEnd) return errno = ENOENT, -1;
            return sSaved.openat(inFolder, sMounts.c_str(), inFlags, inMode);
        };
        EXPECT_EQ(sEnd != "/nothing", Has(Get().vMExtendedAttributes, bIsRemovable)) << removable;
        CallsForTesting().openat = mSaved.openat;
    }
}

TEST_P(VolumeAttributesTest, AHiddenMountIsOfAnUnknownType) {
    mRoot.mount += 999'999;
    EXPECT_FALSE(Has(GetOfType("ext4").vMExtendedAttributes, bSupportsJournaling));
}

TEST_P(VolumeAttributesTest, AsManyBytesAsAreWanted) {
    const GetVolParmsInfoBuffer whole = Get();
    UInt8 bytes[sizeof whole + 10];
    for (const std::size_t wanted :
         {std::size_t{0}, std::size_t{14}, std::size_t{20}, sizeof whole, sizeof bytes}) {
        std::memset(bytes, 0xEE, sizeof bytes);
        ASSERT_EQ(noErr, GetBytes(bytes, static_cast<SInt32>(wanted)));
        const std::size_t expected = std::min(wanted, sizeof whole);
        EXPECT_EQ(static_cast<SInt32>(expected), +mBlock.ioParam.ioActCount);
        EXPECT_EQ(0, std::memcmp(&whole, bytes, expected));
        for (std::size_t i = expected; i < sizeof bytes; ++i)
            ASSERT_EQ(0xEE, bytes[i]) << i;
    }
}

TEST_P(VolumeAttributesTest, Refused) {
    GetVolParmsInfoBuffer parameters = {};
    EXPECT_EQ(paramErr, PBHGetVolParmsSync(nullptr));
    EXPECT_EQ(paramErr, GetBytes(nullptr, 32));
    EXPECT_EQ(paramErr, GetBytes(&parameters, -1));
    EXPECT_EQ(nsvErr, GetBytes(&parameters, sizeof parameters, -31000));
    EXPECT_EQ(0, parameters.vMVersion);
}

TEST_P(VolumeAttributesTest, AsksNoFileSystem) {
    CallsForTesting().statvfs = [](const char*, struct statvfs*) {
        ADD_FAILURE();
        return errno = EIO, -1;
    };
    (void)Get();
}

TEST_P(VolumeAttributesTest, EveryStepFails) {
    const std::size_t descriptors = OpenDescriptorCount();
    const auto check = [&](const auto& inUnderFault, OSErr inExpected) {
        GetVolParmsInfoBuffer parameters = {};
        OSErr error = 1;
        const bool isDelivered = inUnderFault([&] { error = GetBytes(&parameters, sizeof parameters); });
        EXPECT_EQ(descriptors, OpenDescriptorCount());
        EXPECT_TRUE(error == noErr || (isDelivered && error == inExpected)) << error;
        EXPECT_EQ(error == noErr, parameters.vMVersion != 0);
    };
    EXPECT_GT(
        support::FailEach<FailingCalls>([&](const auto& inUnderFault) { check(inUnderFault, ioErr); }, EIO),
        3);
    EXPECT_GT(
        support::FailEach<FailingNew>([&](const auto& inUnderFault) { check(inUnderFault, memFullErr); }), 3);
}

}  // namespace
