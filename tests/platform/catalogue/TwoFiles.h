// Two files in two folders that exchange their contents; in either world.
#pragma once

#include "ItemChanges.h"
#include "MarkedItem.h"
#include "catalogue/VolumeFeatures_test_access.h"
#include "support/FileWorld.h"

#include <gtest/gtest.h>
#include <toolbox/CatalogItems.h>

#include <cstddef>
#include <cstring>
#include <string>

namespace test_files {

using support::FileWorld;

constexpr FSCatalogInfoBitmap kStays = kFSCatInfoNodeID | kFSCatInfoParentDirID | kFSCatInfoTextEncoding |
                                       kFSCatInfoNodeFlags | kFSCatInfoBackupDate | kFSCatInfoPermissions |
                                       kFSCatInfoFinderInfo | kFSCatInfoFinderXInfo;

class TwoFiles : public ItemChangesTest<support::FileWorldTest> {
  protected:
    TwoFiles() {
        mFolder.MakeFile("a", "of a");
        mFolder.MakeFolder("sub");
        mFolder.MakeFile("sub/b", "contents of b");
        FileWorld::SetMode(mFolder / "a", 0640);
        FileWorld::SetMode(mFolder / "sub/b", 0604);
        mA = RefOf(mFolder / "a");
        mB = RefOf(mFolder / "sub/b");
    }
    ~TwoFiles() override {
        toolbox::files::AllowExchanges();
        EXPECT_EQ(mDescriptors, OpenDescriptorCount());
    }

    static FSCatalogInfo Info(const FSRef& inRef, FSCatalogInfoBitmap inWhich) {
        FSCatalogInfo info = {};
        EXPECT_EQ(noErr, FSGetCatalogInfo(&inRef, inWhich, &info, nullptr, nullptr, nullptr));
        return info;
    }
    // What does not go with the contents.
    static std::string WhatStays(const FSRef& inRef) {
        const FSCatalogInfo info = Info(inRef, kStays);
        const UInt64 created = Info(inRef, kFSCatInfoCreateDate).createDate.lowSeconds;
        return std::string(reinterpret_cast<const char*>(&info), sizeof info) + PathOf(inRef) +
               std::to_string(created);
    }
    std::string ContentsOfBoth() const {
        return FileWorld::Contents(mFolder / "a") + ", " + FileWorld::Contents(mFolder / "sub/b");
    }

    FSRef mA = {};
    FSRef mB = {};

  private:
    std::size_t mDescriptors = OpenDescriptorCount();
};

}  // namespace test_files
