// Resource files of a test's own, and a chain without an application.
#pragma once

#include "formats/ResourceFork.h"
#include "resources/Resources_test_access.h"
#include "support/FolderTest.h"
#include "support/RunningProgram.h"

#include <gtest/gtest.h>
#include <toolbox/Files.h>
#include <toolbox/MacMemory.h>
#include <toolbox/Resources.h>

#include <string>
#include <string_view>
#include <vector>

namespace test_resources {

using toolbox::resources::Image;

constexpr ResType kText = FourChars("TEXT");
constexpr ResType kOther = FourChars("othr");

inline std::string TextOf(Handle inHandle) {
    if (inHandle == nullptr) return "(null)";
    if (*inHandle == nullptr) return "(empty)";
    return {*inHandle, static_cast<std::size_t>(GetHandleSize(inHandle))};
}

inline Image ImageOf(ResType inType, SInt16 inID, std::string_view inData, std::string_view inName = "",
                     UInt8 inAttributes = 0) {
    Image image;
    image.reference.type = inType;
    image.reference.id = inID;
    image.reference.attributes = inAttributes;
    image.reference.hasName = !inName.empty();
    image.reference.name = inName;
    image.bytes.assign(inData.begin(), inData.end());
    return image;
}

inline std::vector<UInt8> ForkOf(std::vector<Image> inImages) {
    std::vector<UInt8> fork;
    EXPECT_TRUE(toolbox::resources::EncodeFork(inImages, 0, fork));
    return fork;
}

// A Pascal string for a call.
class PascalText {
  public:
    PascalText(std::string_view inText) : mBytes(1, static_cast<char>(inText.size())) { mBytes += inText; }
    operator ConstStr255Param() const { return reinterpret_cast<const unsigned char*>(mBytes.data()); }

  private:
    std::string mBytes;
};

inline std::string TextOf(ConstStr255Param inPascalText) {
    return {reinterpret_cast<const char*>(inPascalText + 1), inPascalText[0]};
}

// Of a test with a folder.
template <typename Test>
class ResourceFilesTest : public Test {
  protected:
    ResourceFilesTest() { toolbox::resources::StartAnew(); }
    ~ResourceFilesTest() override {
        mProgram.Put("");
        toolbox::resources::StartAnew();
        SetResLoad(true);
        EXPECT_EQ(mHandles, GetLiveHandleCount());
        EXPECT_EQ(mDescriptors, this->OpenDescriptorCount());
    }

    static FSRef RefOf(const std::string& inPath) {
        FSRef ref = {};
        EXPECT_EQ(noErr, FSPathMakeRef(reinterpret_cast<const UInt8*>(inPath.c_str()), &ref, nullptr))
            << inPath;
        return ref;
    }
    // A file whose data fork is the fork.
    FSRef MakeFileOf(std::string_view inName, const std::vector<UInt8>& inFork) {
        return RefOf(
            this->mFolder.MakeFile(inName, {reinterpret_cast<const char*>(inFork.data()), inFork.size()}));
    }
    FSRef MakeFile(std::string_view inName, std::vector<Image> inImages) {
        return MakeFileOf(inName, ForkOf(std::move(inImages)));
    }
    // Its reference number; -1 on failure.
    static SInt16 Open(const FSRef& inFile, SInt8 inPermission = fsRdWrPerm) {
        SInt16 refNum = 0;
        const OSErr error = FSOpenResourceFile(&inFile, 0, nullptr, inPermission, &refNum);
        EXPECT_EQ(error, ResError());
        EXPECT_EQ(error == noErr, refNum > 0);
        return refNum;
    }
    static Handle NewText(std::string_view inText) {
        Handle handle = nullptr;
        EXPECT_EQ(noErr, PtrToHand(inText.data(), &handle, static_cast<Size>(inText.size())));
        return handle;
    }

    test_files::RunningProgram mProgram;

  private:
    UInt64 mHandles = GetLiveHandleCount();
    std::size_t mDescriptors = this->OpenDescriptorCount();
};
using ResourcesTest = ResourceFilesTest<test_files::FolderTest>;

}  // namespace test_resources
