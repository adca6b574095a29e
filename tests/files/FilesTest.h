// What the tests of the file-manager helpers share: a catalogue, and a scenario that must leave nothing
// behind.
//
//   root (2)
//     temp (10)
//     here (20): file (30), folder (40) with inner (41)
//     there (21)
#pragma once

#include "fakes/Calls.h"
#include "fakes/Catalogue.h"
#include "fakes/Converters.h"
#include "fakes/Disks.h"
#include "fakes/Frameworks.h"
#include "fakes/Memory.h"
#include "fakes/OpenForks.h"
#include "fakes/Text.h"

#include <gtest/gtest.h>
#include <toolbox/MacErrors.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

namespace test_files {

using Log = std::vector<std::string>;

constexpr UInt32 kHere = 20;
constexpr UInt32 kThere = 21;
constexpr UInt32 kFile = 30;
constexpr UInt32 kFolder = 40;
constexpr UInt32 kInner = 41;
constexpr UInt32 kMissing = 99;

class FilesTest : public testing::Test {
  protected:
    FilesTest() { Start(); }
    ~FilesTest() override {
        EXPECT_EQ(0, fakes::LiveHandles());
        EXPECT_EQ(0, fakes::LivePtrs());
        EXPECT_EQ(mStrings, fakes::LiveStrings());
        EXPECT_EQ(0, fakes::LiveConverters());
        EXPECT_EQ(0, fakes::LiveIterators());
        EXPECT_EQ(0, fakes::LiveURLs());
        EXPECT_EQ(Log(), fakes::Misuses());
    }

    // A scenario from its beginning.
    static void Start() {
        fakes::StartScenario();
        fakes::PutFolder(kHere, fakes::kRoot, "here");
        fakes::PutFolder(kThere, fakes::kRoot, "there");
        fakes::PutFile(kFile, kHere, "file");
        fakes::PutFolder(kFolder, kHere, "folder");
        fakes::PutFile(kInner, kFolder, "inner");
    }

    static FSSpec Spec(SInt16 inVolume, UInt32 inFolder, const std::string& inName) {
        FSSpec spec = {inVolume, static_cast<SInt32>(inFolder), {}};
        spec.name[0] = static_cast<unsigned char>(inName.size());
        std::copy(inName.begin(), inName.end(), spec.name + 1);
        return spec;
    }
    static HFSUniStr255 Uni(std::u16string_view inText) {
        HFSUniStr255 name = {};
        name.length = static_cast<UInt16>(inText.size());
        std::copy(inText.begin(), inText.end(), name.unicode);
        return name;
    }
    static std::u16string Text(const HFSUniStr255& inName) {
        return {inName.unicode, inName.unicode + inName.length};
    }
    static std::string Text(ConstStr255Param inText) {
        return {reinterpret_cast<const char*>(inText) + 1, inText[0]};
    }

    const int mStrings = fakes::LiveStrings();  // the library has one of its own
};

}  // namespace test_files
