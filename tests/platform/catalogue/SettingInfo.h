// Items whose information a test sets.
#pragma once

#include "CatalogTest.h"
#include "support/FileWorld.h"

#include <gtest/gtest.h>
#include <toolbox/CatalogInfo.h>

#include <string>

namespace test_files {

// Of all that can be set, nothing as it is in a new item.
inline FSCatalogInfo SomeInfo() {
    FSCatalogInfo info = {};
    info.nodeFlags = kFSNodeLockedMask;
    info.createDate = {0, 3'029'529'600, 0};
    info.contentModDate = {0, 3'000'000'000, 0x1235};
    info.accessDate = {0, 3'000'000'001, 0xFFFF};
    info.backupDate = {0, 3'029'529'700, 0};
    info.permissions.mode = 0600;
    for (UInt8 i = 0; i < 16; ++i) {
        info.finderInfo[i] = static_cast<UInt8>(i + 1);
        info.extFinderInfo[i] = static_cast<UInt8>(i + 101);
    }
    info.textEncodingHint = 77;
    return info;
}

class SettingInfoTest : public CatalogItemsTest<support::FileWorldTest> {
  protected:
    static FSCatalogInfo InfoOfRef(const FSRef& inRef) {
        FSCatalogInfo info = {};
        EXPECT_EQ(noErr, FSGetCatalogInfo(&inRef, kFSCatInfoGettableInfo, &info, nullptr, nullptr, nullptr));
        return info;
    }
    static OSErr Set(const std::string& inPath, FSCatalogInfoBitmap inWhich, const FSCatalogInfo& inInfo) {
        const FSRef ref = RefOf(inPath);
        return FSSetCatalogInfo(&ref, inWhich, &inInfo);
    }
    static OSErr SetMode(const std::string& inPath, UInt16 inMode) {
        FSCatalogInfo info = {};
        info.permissions.mode = inMode;
        return Set(inPath, kFSCatInfoPermissions, info);
    }
    static OSErr SetLock(const std::string& inPath, bool inIsLocked) {
        FSCatalogInfo info = {};
        info.nodeFlags = inIsLocked ? kFSNodeLockedMask : 0;
        return Set(inPath, kFSCatInfoNodeFlags, info);
    }
    bool HasCompanion(const std::string& inName) const { return mFolder.Exists(mFolder / ("._" + inName)); }
};

}  // namespace test_files
