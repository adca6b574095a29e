// Two files in two folders, each with a companion, whose resource forks change places; in either world.
#pragma once

#include "companions/Companions.h"
#include "companions/ExchangedForks.h"
#include "formats/AppleDouble.h"
#include "os/Rename.h"
#include "os/SystemCalls_test_access.h"
#include "support/FileWorld.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <string>
#include <string_view>
#include <vector>

namespace test_files {

using namespace toolbox::files;
using namespace toolbox::os;
using support::FileWorld;
using Bytes = std::vector<UInt8>;
using Names = ExchangedForks::Names;

constexpr UInt32 kFork = AppleDoubleEntry::kResourceFork;
constexpr UInt32 kIntent = AppleDoubleEntry::kForkIntent;
constexpr UInt32 kComment = 4;

inline Bytes BytesFrom(std::string_view inText) {
    return {inText.begin(), inText.end()};
}

inline std::string FileOf(const std::vector<AppleDoublePart>& inParts) {
    Bytes bytes;
    EXPECT_TRUE(EncodeAppleDouble(inParts, bytes));
    return {bytes.begin(), bytes.end()};
}

class TwoCompanions : public support::FileWorldTest {
  protected:
    TwoCompanions() {
        mFolder.MakeFolder("sub");
        mFolder.MakeFile("a", "of a");
        mFolder.MakeFile("sub/b", "of b");
        MakeCompanion("._a", "a");
        MakeCompanion("sub/._b", "b");
        OpenBoth();
    }
    ~TwoCompanions() override {
        CallsForTesting() = mSaved;
        mA.folder = {};
        mB.folder = {};
        EXPECT_EQ(mDescriptors, OpenDescriptorCount());
    }

    void MakeCompanion(const std::string& inName, const std::string& inOf) const {
        mFolder.MakeFile(inName, FileOf({{AppleDoubleEntry::kFinderInfo, Bytes(32)},
                                         {kComment, BytesFrom("comment of " + inOf)},
                                         {kFork, BytesFrom("fork of " + inOf)}}));
    }
    void OpenBoth() {
        EXPECT_EQ(0, OpenPlaceOf(mFolder / "a", mA));
        EXPECT_EQ(0, OpenPlaceOf(mFolder / "sub/b", mB));
        EXPECT_EQ(0, GetStatus(mA, mStatusA));
        EXPECT_EQ(0, GetStatus(mB, mStatusB));
    }
    int Prepare(ExchangedForks& ioForks, bool inIsTheOtherWay = false) const {
        const FileAtExchange a = {mA, mStatusA};
        const FileAtExchange b = {mB, mStatusB};
        return inIsTheOtherWay ? ioForks.Prepare(b, a) : ioForks.Prepare(a, b);
    }
    int ExchangeFiles() const { return ExchangeNames(mA.folder.Number(), "a", mB.folder.Number(), "b"); }
    // Both with an intent, as who is stopped on the way leaves them.
    void LeaveIntents(bool inAreExchanged) const {
        ExchangedForks forks;
        ASSERT_EQ(0, Prepare(forks));
        forks.SetNames(Names::kUnknown);
        if (inAreExchanged) {
            ASSERT_EQ(0, ExchangeFiles());
        }
    }

    static std::string Entry(const Place& inPlace, UInt32 inID) {
        FileRange range;
        const int error = OpenEntry(inPlace, inID, range);
        if (error != 0) return "errno " + std::to_string(error);
        std::string text(range.SizeBytes(), '\0');
        EXPECT_EQ(0, range.Read(0, text.data(), text.size()));
        return text;
    }
    // Data and forks of both, as who reads finds them: "of a, fork of a; of b, fork of b".
    std::string Forks() const {
        return FileWorld::Contents(mFolder / "a") + ", " + Entry(mA, kFork) + "; " +
               FileWorld::Contents(mFolder / "sub/b") + ", " + Entry(mB, kFork);
    }
    std::string Comments() const { return Entry(mA, kComment) + ", " + Entry(mB, kComment); }
    // On disk, whatever it tells.
    bool HasIntent(const std::string& inName) const {
        const std::string file = FileWorld::Contents(mFolder / inName);
        std::vector<AppleDoubleEntry> entries;
        EXPECT_TRUE(DecodeAppleDouble(reinterpret_cast<const UInt8*>(file.data()), file.size(), file.size(),
                                      entries));
        for (const AppleDoubleEntry& entry : entries)
            if (entry.id == kIntent) return true;
        return false;
    }
    std::string Intents() const {
        return std::string(HasIntent("._a") ? "a" : "") + (HasIntent("sub/._b") ? "b" : "");
    }
    mode_t ModeOf(const std::string& inName) const {
        return FileWorld::StatusOf(mFolder / inName).stx_mode & 07777;
    }
    // Nothing is written, and the locks are gone.
    void ExpectRefused(int inError = ENOTSUP) {
        const std::string before = FileWorld::Contents(mFolder / "._a") + Forks() + Comments();
        for (const bool isTheOtherWay : {false, true}) {
            ExchangedForks forks;
            EXPECT_EQ(inError, Prepare(forks, isTheOtherWay));
        }
        EXPECT_EQ(before, FileWorld::Contents(mFolder / "._a") + Forks() + Comments());
        EXPECT_EQ(0, ReplaceEntry(mA, kComment, BytesFrom("comment of a")));
    }

    const std::size_t mDescriptors = OpenDescriptorCount();
    Place mA;
    Place mB;
    ItemStatus mStatusA;
    ItemStatus mStatusB;
    const SystemCalls mSaved = Calls();
    static inline SystemCalls sReal;
    const std::string mBefore = "of a, fork of a; of b, fork of b";
    const std::string mExchanged = "of b, fork of b; of a, fork of a";
    const std::string mComments = "comment of a, comment of b";
};

}  // namespace test_files
