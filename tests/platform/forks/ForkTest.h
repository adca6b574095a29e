// A file with its two forks, in either world.
#pragma once

#include "companions/Companions.h"
#include "formats/AppleDouble.h"
#include "os/SystemCalls_test_access.h"
#include "support/FileWorld.h"

#include <gtest/gtest.h>
#include <toolbox/CatalogItems.h>
#include <toolbox/Forks.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace test_files {

enum class Which { kData, kResource };

inline std::u16string_view NameOf(Which inFork) {
    return inFork == Which::kData ? u"" : u"RESOURCE_FORK";
}

inline OSErr OpenFork(const FSRef& inFile, Which inFork, SInt8 inPermission, SInt16& outNumber) {
    const std::u16string_view name = NameOf(inFork);
    return FSOpenFork(&inFile, name.size(), reinterpret_cast<const UniChar*>(name.data()), inPermission,
                      &outNumber);
}

// An open fork, closed at the end of a test's block.
class Opened {
  public:
    Opened(const FSRef& inFile, Which inFork, SInt8 inPermission = fsRdWrPerm) {
        EXPECT_EQ(noErr, OpenFork(inFile, inFork, inPermission, mNumber));
    }
    ~Opened() {
        if (mNumber > 0) {
            EXPECT_EQ(noErr, FSCloseFork(mNumber));
        }
    }
    Opened(const Opened&) = delete;
    Opened& operator=(const Opened&) = delete;
    operator SInt16() const { return mNumber; }
    SInt16 Release() { return std::exchange(mNumber, SInt16{0}); }

  private:
    SInt16 mNumber = 0;
};

// The status, and what was read: "-39 rest" for instance.
inline std::string Read(SInt16 inNumber, UInt16 inMode, SInt64 inOffset, ByteCount inByteCount) {
    std::string bytes(inByteCount, '?');
    ByteCount count = 99;
    const OSErr error = FSReadFork(inNumber, inMode, inOffset, inByteCount, bytes.data(), &count);
    return std::to_string(error) + ' ' + bytes.substr(0, count);
}
inline std::string Whole(SInt16 inNumber) {
    SInt64 size = -1;
    EXPECT_EQ(noErr, FSGetForkSize(inNumber, &size));
    return Read(inNumber, fsFromStart, 0, static_cast<ByteCount>(size)).substr(2);
}
inline OSErr Write(SInt16 inNumber, UInt16 inMode, SInt64 inOffset, std::string_view inText) {
    ByteCount count = 99;
    const OSErr error = FSWriteFork(inNumber, inMode, inOffset, inText.size(), inText.data(), &count);
    if (error == noErr) {
        EXPECT_EQ(inText.size(), count);
    }
    return error;
}
inline SInt64 MarkOf(SInt16 inNumber) {
    SInt64 mark = -1;
    EXPECT_EQ(noErr, FSGetForkPosition(inNumber, &mark));
    return mark;
}
inline SInt64 SizeOf(SInt16 inNumber) {
    SInt64 size = -1;
    EXPECT_EQ(noErr, FSGetForkSize(inNumber, &size));
    return size;
}

inline FSRef RefOf(const std::string& inPath) {
    FSRef ref = {};
    EXPECT_EQ(noErr, FSPathMakeRef(reinterpret_cast<const UInt8*>(inPath.c_str()), &ref, nullptr)) << inPath;
    return ref;
}

inline std::vector<UInt8> BytesOf(std::string_view inText) {
    return {inText.begin(), inText.end()};
}

// A companion of these parts, as a file's contents.
inline std::string CompanionOf(const std::vector<toolbox::files::AppleDoublePart>& inParts) {
    std::vector<UInt8> bytes;
    EXPECT_TRUE(toolbox::files::EncodeAppleDouble(inParts, bytes));
    return {bytes.begin(), bytes.end()};
}
// One with Finder information that tells something.
inline std::string CompanionWithFork(std::string_view inFork) {
    std::vector<UInt8> info(32);
    info[0] = 'T';
    return CompanionOf({{toolbox::files::AppleDoubleEntry::kFinderInfo, info},
                        {toolbox::files::AppleDoubleEntry::kResourceFork, BytesOf(inFork)}});
}

// The bytes of an entry of the companion that has a path, read by the format alone; "none" without the entry,
// "unreadable" for a file that contradicts itself.
inline std::string EntryIn(const std::string& inPath, UInt32 inID) {
    using namespace toolbox::files;
    const std::string file = support::FileWorld::Contents(inPath);
    std::vector<AppleDoubleEntry> entries;
    if (!DecodeAppleDouble(reinterpret_cast<const UInt8*>(file.data()), file.size(), file.size(), entries))
        return "unreadable";
    for (const AppleDoubleEntry& entry : entries)
        if (entry.id == inID) return file.substr(entry.offsetBytes, entry.lengthBytes);
    return "none";
}
inline std::string ForkIn(const std::string& inPath) {
    return EntryIn(inPath, toolbox::files::AppleDoubleEntry::kResourceFork);
}

class ForkTest : public support::FileWorldTest {
  protected:
    ~ForkTest() override { EXPECT_EQ(mDescriptors, OpenDescriptorCount()); }

    void MakeFork(std::string_view inText) const { mFolder.MakeFile("._file", CompanionWithFork(inText)); }
    static std::string Contents(const std::string& inPath) { return support::FileWorld::Contents(inPath); }
    OSErr OpeningOf(Which inFork, SInt8 inPermission) const {
        SInt16 number = 0;
        const OSErr error = OpenFork(mRef, inFork, inPermission, number);
        if (error == noErr) {
            EXPECT_EQ(noErr, FSCloseFork(number));
        }
        return error;
    }

    std::string mPath = mFolder.MakeFile("file", "the data");
    std::string mCompanion = mFolder / "._file";
    FSRef mRef = RefOf(mPath);

  private:
    std::size_t mDescriptors = OpenDescriptorCount();
};

}  // namespace test_files
