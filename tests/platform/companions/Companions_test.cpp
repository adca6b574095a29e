#include "companions/Companions.h"

#include "formats/AppleDouble.h"
#include "support/CountedCalls.h"
#include "support/FailingCalls.h"
#include "support/FailingNew.h"
#include "support/FileWorld.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <new>
#include <string>
#include <string_view>

namespace {

using namespace toolbox::files;
using namespace toolbox::os;
using test_files::FailingCalls;
using Bytes = std::vector<UInt8>;

constexpr UInt32 kComment = 4;
constexpr UInt32 kFork = AppleDoubleEntry::kResourceFork;

Bytes BytesOf(std::string_view inText) {
    return {inText.begin(), inText.end()};
}

class CompanionsTest : public support::FileWorldTest {
  protected:
    CompanionsTest() { EXPECT_EQ(0, OpenPlaceOf(mFolder.MakeFile("file", "data"), mPlace)); }

    void MakeCompanion(std::string_view inName, const std::vector<AppleDoublePart>& inParts) const {
        Bytes file;
        ASSERT_TRUE(EncodeAppleDouble(inParts, file));
        mFolder.MakeFile(inName, {reinterpret_cast<const char*>(file.data()), file.size()});
    }
    // The entry's bytes as text, or "error" and its number.
    static std::string Entry(const Place& inPlace, UInt32 inID) {
        FileRange range;
        const int error = OpenEntry(inPlace, inID, range);
        if (error != 0) return "error " + std::to_string(error);
        std::string text(range.SizeBytes(), '\0');
        EXPECT_EQ(0, range.Read(0, text.data(), text.size()));
        return text;
    }
    std::string Entry(UInt32 inID) const { return Entry(mPlace, inID); }
    static std::string Error(int inError) { return "error " + std::to_string(inError); }
    bool IsCompanionHere(const std::string& inName) {
        mPlace.name = inName;
        return IsCompanion(mPlace);
    }

    Place mPlace;
};
INSTANTIATE_TEST_SUITE_P(Worlds, CompanionsTest, support::BothWorlds(), support::NameOfWorld);

TEST(CompanionName, HasThePrefix) {
    EXPECT_EQ("._b", CompanionName("b"));
    EXPECT_EQ("._._b", CompanionName("._b"));
}

TEST_P(CompanionsTest, EntriesAreThoseOfTheFileBeside) {
    EXPECT_EQ(Error(ENOENT), Entry(kFork));
    MakeCompanion("._file", {{kComment, BytesOf("comment")}, {kFork, BytesOf("rsrc")}});
    EXPECT_EQ("rsrc", Entry(kFork));
    EXPECT_EQ("comment", Entry(kComment));
    EXPECT_EQ(Error(ENOENT), Entry(AppleDoubleEntry::kFinderInfo));
}

TEST_P(CompanionsTest, WhatIsNoneIsRefusedAndStays) {
    mFolder.MakeFile("._file", "something else altogether, and long enough");
    EXPECT_EQ(Error(EBADMSG), Entry(kFork));
    EXPECT_EQ(EBADMSG, ReplaceEntry(mPlace, kFork, BytesOf("x")));
    ItemStatus status;
    ASSERT_EQ(0, GetPathStatus((mFolder / "._file").c_str(), status));
    EXPECT_EQ(42, status.sizeBytes);
    mFolder.MakeFile("._file", "short");
    EXPECT_EQ(Error(ENODATA), Entry(kFork));
    mFolder.Remove(mFolder / "._file");
    mFolder.MakeFolder("._file");
    EXPECT_EQ(Error(EISDIR), Entry(kFork));
    EXPECT_EQ(EISDIR, ReplaceEntry(mPlace, kFork, BytesOf("x")));
}

TEST_P(CompanionsTest, ALinkIsNone) {
    MakeCompanion("elsewhere", {{kFork, BytesOf("rsrc")}});
    mFolder.MakeLink("elsewhere", "._file");
    EXPECT_EQ(Error(EISDIR), Entry(kFork));
    EXPECT_EQ(EISDIR, ReplaceEntry(mPlace, kFork, BytesOf("x")));
    ItemStatus status;
    ASSERT_EQ(0, GetPathStatus((mFolder / "._file").c_str(), status));
    EXPECT_EQ(ItemKind::kLink, status.kind) << "a link of somebody's is left alone";
    EXPECT_FALSE(IsCompanionHere("._file"));
}

TEST_P(CompanionsTest, AreMadeWithFinderInformationAndKeepTheRest) {
    ASSERT_EQ(0, ReplaceEntry(mPlace, kFork, BytesOf("first")));
    EXPECT_EQ("first", Entry(kFork));
    EXPECT_EQ(std::string(32, '\0'), Entry(AppleDoubleEntry::kFinderInfo));
    ASSERT_EQ(0, ReplaceEntry(mPlace, kComment, BytesOf("comment")));
    EXPECT_EQ("first", Entry(kFork));
    EXPECT_EQ("comment", Entry(kComment));
    ASSERT_EQ(0, ReplaceEntry(mPlace, AppleDoubleEntry::kFinderInfo, BytesOf("finder")));
    EXPECT_EQ("finder", Entry(AppleDoubleEntry::kFinderInfo));
    EXPECT_EQ("comment", Entry(kComment));
}

TEST_P(CompanionsTest, AreWrittenInTheirItemsFolderWhereverThatIsByNow) {
    mFolder.MakeFolder("sub");
    Place place;
    ASSERT_EQ(0, OpenPlaceOf(mFolder.MakeFile("sub/a"), place));
    mFolder.Rename(mFolder / "sub", mFolder / "moved");
    mFolder.MakeFolder("sub");
    EXPECT_EQ(0, ReplaceEntry(place, kFork, BytesOf("rsrc")));
    EXPECT_TRUE(mFolder.Exists(mFolder / "moved/._a"));
    EXPECT_FALSE(mFolder.Exists(mFolder / "sub/._a"));
}

// First the contents, then the name: both are there once it is told so.
TEST_P(CompanionsTest, FileAndFolderAreSynced) {
    std::string calls;
    static std::string* sCalls;
    sCalls = &calls;
    const SystemCalls before = Calls();
    static SystemCalls sReal;
    sReal = before;
    CallsForTesting().fsync = [](int inDescriptor) { return *sCalls += "sync ", sReal.fsync(inDescriptor); };
    CallsForTesting().renameat2 = [](int inOld, const char* inOldName, int inNew, const char* inNewName,
                                     unsigned inFlags) {
        *sCalls += "rename ";
        return sReal.renameat2(inOld, inOldName, inNew, inNewName, inFlags);
    };
    const int error = ReplaceEntry(mPlace, kFork, BytesOf("rsrc"));
    CallsForTesting() = before;
    EXPECT_EQ(0, error);
    EXPECT_EQ("sync rename sync ", calls);
}

TEST_P(CompanionsTest, NameWithoutRoomForThePrefix) {
    Place place;
    ASSERT_EQ(0, OpenPlaceOf(mFolder.MakeFile(std::string(254, 'n')), place));
    EXPECT_EQ(Error(ENOENT), Entry(place, kFork));
    EXPECT_EQ(ENAMETOOLONG, ReplaceEntry(place, kFork, BytesOf("x")));
    ASSERT_EQ(0, OpenPlaceOf(mFolder.MakeFile(std::string(253, 'n')), place));
    EXPECT_EQ(0, ReplaceEntry(place, kFork, BytesOf("x")));
    EXPECT_EQ("x", Entry(place, kFork));
}

TEST_P(CompanionsTest, AreToldByFormatAndItem) {
    EXPECT_FALSE(IsCompanionHere("file"));
    EXPECT_FALSE(IsCompanionHere("._file")) << "nothing is there";
    mFolder.MakeFile("._file", "an ordinary file that somebody named so");
    EXPECT_FALSE(IsCompanionHere("._file"));
    MakeCompanion("._file", {{kFork, BytesOf("rsrc")}});
    EXPECT_TRUE(IsCompanionHere("._file"));
    MakeCompanion("._orphan", {{kFork, BytesOf("rsrc")}});
    EXPECT_FALSE(IsCompanionHere("._orphan")) << "without its item";
    MakeCompanion("._", {{kFork, BytesOf("rsrc")}});
    EXPECT_FALSE(IsCompanionHere("._")) << "of no name";
    MakeCompanion("unlike", {{kFork, BytesOf("rsrc")}});
    EXPECT_FALSE(IsCompanionHere("unlike"));
    mFolder.MakeFolder("folder");
    MakeCompanion("._folder", {{AppleDoubleEntry::kFinderInfo, Bytes(32)}});
    EXPECT_TRUE(IsCompanionHere("._folder"));
}

TEST_P(CompanionsTest, OrdinaryNamesCostNothing) {
    mPlace.name = "file";
    const test_files::CountedCalls calls;
    EXPECT_FALSE(IsCompanion(mPlace));
    EXPECT_EQ("none", calls.Made());
}

// Whatever fails, the companion is the old one or the new one.
TEST_P(CompanionsTest, EveryFailingCall) {
    for (const auto extent : {FailingCalls::kOnce, FailingCalls::kForever}) {
        for (int failing = 1;; ++failing) {
            ASSERT_EQ(0, ReplaceEntry(mPlace, kFork, BytesOf("old")));
            const std::size_t descriptors = mFolder.OpenDescriptorCount();
            int error = 0;
            bool delivered = false;
            {
                const FailingCalls calls(failing, EIO, extent);
                error = ReplaceEntry(mPlace, kFork, BytesOf("new"));
                delivered = calls.Delivered();
            }
            EXPECT_EQ(descriptors, mFolder.OpenDescriptorCount()) << failing;
            EXPECT_EQ(error == 0 ? "new" : "old", Entry(kFork)) << failing;
            EXPECT_TRUE(error == 0 || error == EIO) << failing << ": " << error;
            if (!delivered) {
                EXPECT_EQ(0, error);
                break;
            }
            ASSERT_LT(failing, 100);
        }
    }
}

TEST_P(CompanionsTest, EveryFailingAllocation) {
    const Bytes fork = BytesOf("new");
    for (int failing = 1;; ++failing) {
        ASSERT_EQ(0, ReplaceEntry(mPlace, kFork, BytesOf("old")));
        const std::size_t descriptors = mFolder.OpenDescriptorCount();
        bool ranOut = false;
        {
            const test_files::FailingNew memory(failing);
            try {
                EXPECT_EQ(0, ReplaceEntry(mPlace, kFork, fork));
            } catch (const std::bad_alloc&) {
                ranOut = true;
            }
        }
        EXPECT_EQ(descriptors, mFolder.OpenDescriptorCount()) << failing;
        if (!ranOut) break;
        if (mFolder.Memory() == nullptr) {
            EXPECT_EQ("old", Entry(kFork)) << failing;
        }
    }
    EXPECT_EQ("new", Entry(kFork));
}

}  // namespace
