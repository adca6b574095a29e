// What tests of specifications share.
#pragma once

#include "FilesTest.h"
#include "Thrown.h"

#include <files/TFSSpec.h>

namespace test_files {

// How a specification lies in memory.
struct SpecImage {
    SInt16 volume;
    UInt32 folder;
    CFStringRef name;
    FSRef folderRef;
    UInt32 hasFolderRef;
};
static_assert(sizeof(SpecImage) == sizeof(TFSSpec));
static_assert(sizeof(void*) != 4 || sizeof(TFSSpec) == 96);

constexpr OSType kText = 0x54455854;
constexpr OSType kEditor = 0x65646974;

class SpecTest : public FilesTest {
  protected:
    static SpecImage ImageOf(const TFSSpec& inSpec) {
        SpecImage image;
        std::memcpy(&image, static_cast<const void*>(&inSpec), sizeof image);
        return image;
    }
    static bool HasFolderRef(const TFSSpec& inSpec) { return ImageOf(inSpec).hasFolderRef == 1; }

    static TCFString String(const char* inText) { return {inText, kCFStringEncodingUTF8}; }
    // "-1 20 file" for instance; without a name "-1 20 ".
    static std::string Fields(const TFSSpec& inSpec) {
        const SpecImage image = ImageOf(inSpec);
        return std::to_string(image.volume) + ' ' + std::to_string(image.folder) + ' ' +
               fakes::TextOf(image.name);
    }
    static std::string Text(const TCFString& inString) { return fakes::TextOf(inString.StringRef()); }
    using FilesTest::Text;

    // What was asked of the system since the last time, but for what strings ask of each other.
    Log Asked() {
        Log asked;
        const Log& log = fakes::CallLog();
        for (; mReadCalls < log.size(); ++mReadCalls)
            if (log[mReadCalls].rfind("CFString", 0) != 0 && log[mReadCalls].rfind("GetText", 0) != 0)
                asked.push_back(log[mReadCalls]);
        return asked;
    }

    const FSRef mHere = fakes::RefOf(kHere);
    const FSRef mFile = fakes::RefOf(kFile);
    const FSRef mFolder = fakes::RefOf(kFolder);
    const FSRef mMissing = fakes::RefOf(kMissing);

  private:
    std::size_t mReadCalls = 0;
};

}  // namespace test_files
