// Items that differ in all that can be set of them.
#pragma once

#include <gtest/gtest.h>
#include <toolbox/CatalogInfo.h>
#include <toolbox/MacErrors.h>

#include <cstring>

namespace test_files {

// Every item of another mark gets information of its own, and none that is its default; but for permissions
// and the dates that changes set.
inline void SetMarkedInfo(const FSRef& inItem, UInt8 inMark) {
    FSCatalogInfo info = {};
    info.textEncodingHint = inMark;
    info.createDate = {0, 3'000'000'000U + inMark, 0};
    info.backupDate = {0, 3'100'000'000U + inMark, 0};
    std::memset(info.finderInfo, inMark, sizeof info.finderInfo);
    std::memset(info.extFinderInfo, inMark, sizeof info.extFinderInfo);
    EXPECT_EQ(noErr, FSSetCatalogInfo(&inItem,
                                      kFSCatInfoTextEncoding | kFSCatInfoCreateDate | kFSCatInfoBackupDate |
                                          kFSCatInfoFinderInfo | kFSCatInfoFinderXInfo,
                                      &info));
}

}  // namespace test_files
