// Items of a test's own folder, by reference and by specification.
#pragma once

#include "Refs.h"
#include "support/FolderTest.h"

#include <gtest/gtest.h>
#include <toolbox/CatalogInfo.h>

#include <string>
#include <string_view>

namespace test_files {

// A Pascal string for a call.
class PascalName {
  public:
    PascalName(std::string_view inText) : mBytes(1, static_cast<char>(inText.size())) { mBytes += inText; }
    operator ConstStr255Param() const { return reinterpret_cast<const unsigned char*>(mBytes.data()); }

  private:
    std::string mBytes;
};

inline std::string NameOf(const FSSpec& inSpec) {
    return {reinterpret_cast<const char*>(inSpec.name) + 1, inSpec.name[0]};
}

// Of a test with a folder.
template <typename Test>
class CatalogItemsTest : public Test {
  protected:
    static FSRef RefOf(const std::string& inPath) {
        FSRef ref = {};
        EXPECT_EQ(noErr, MakeRef(inPath, &ref)) << inPath;
        return ref;
    }
    // Of a link, not of what it leads to.
    static FSRef RefOfItself(const std::string& inPath) {
        FSRef ref = {};
        EXPECT_EQ(noErr, MakeRefOfItself(inPath, &ref)) << inPath;
        return ref;
    }
    static FSCatalogInfo InfoOf(const std::string& inPath, FSCatalogInfoBitmap inWhich) {
        const FSRef ref = RefOf(inPath);
        FSCatalogInfo info = {};
        EXPECT_EQ(noErr, FSGetCatalogInfo(&ref, inWhich, &info, nullptr, nullptr, nullptr)) << inPath;
        return info;
    }
    static FSSpec SpecOf(const std::string& inPath) {
        const FSRef ref = RefOf(inPath);
        FSSpec spec = {};
        EXPECT_EQ(noErr, FSGetCatalogInfo(&ref, kFSCatInfoNone, nullptr, nullptr, &spec, nullptr)) << inPath;
        return spec;
    }
    // The item's path, or "status -43" for instance.
    static std::string PathOfSpec(const FSSpec& inSpec) {
        FSRef ref = {};
        const OSErr error = FSpMakeFSRef(&inSpec, &ref);
        return error == noErr ? PathOf(ref) : "status " + std::to_string(error);
    }
    // A specification in the test's own folder.
    FSSpec Here(std::string_view inName) const {
        const FSCatalogInfo info = InfoOf(this->mFolder.Path(), kFSCatInfoVolume | kFSCatInfoNodeID);
        FSSpec spec = {info.volume, static_cast<SInt32>(info.nodeID), {}};
        spec.name[0] = static_cast<unsigned char>(inName.size());
        inName.copy(reinterpret_cast<char*>(spec.name) + 1, inName.size());
        return spec;
    }
};
using CatalogTest = CatalogItemsTest<FolderTest>;

}  // namespace test_files
