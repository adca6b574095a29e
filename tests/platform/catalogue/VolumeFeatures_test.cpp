#include "catalogue/VolumeFeatures.h"

#include "support/FailingNew.h"

#include <gtest/gtest.h>

namespace {

using namespace toolbox::files;

TEST(VolumeFeatures, ExchangeWhereTheKernelHasIt) {
    for (const char* const type : {"ext3", "ext4", "xfs", "btrfs", "tmpfs", "f2fs", "overlay"})
        EXPECT_TRUE(FeaturesOf(type).hasExchange) << type;
    for (const char* const type :
         {"ext2", "vfat", "exfat", "nfs4", "cifs", "9p", "fuse.sshfs", "squashfs", ""})
        EXPECT_FALSE(FeaturesOf(type).hasExchange) << type;
}

TEST(VolumeFeatures, WhatOthersHaveNot) {
    EXPECT_FALSE(FeaturesOf("exfat").hasOwners);
    EXPECT_FALSE(FeaturesOf("exfat").hasLinks);
    EXPECT_TRUE(FeaturesOf("exfat").hasLongFiles);
    EXPECT_FALSE(FeaturesOf("vfat").hasLongFiles);
    EXPECT_TRUE(FeaturesOf("ext4").hasJournal);
    EXPECT_FALSE(FeaturesOf("tmpfs").hasJournal);
    EXPECT_TRUE(FeaturesOf("nfs4").isOfServer);
    EXPECT_FALSE(FeaturesOf("ext4").isOfServer);
}

TEST(VolumeFeatures, NewNamesAreToldWhereNobodyElseMakesAny) {
    for (const char* const type : {"btrfs", "ext2", "ext3", "ext4", "f2fs", "tmpfs", "xfs"})
        EXPECT_TRUE(FeaturesOf(type).tellsNewNames) << type;
    for (const char* const type : {"nfs", "nfs4", "cifs", "smb3", "9p", "afs", "ceph", "gfs2", "overlay",
                                   "fuse", "fuse.sshfs", "fuseblk", "virtiofs", "proc", "a new one", ""})
        EXPECT_FALSE(FeaturesOf(type).tellsNewNames) << type;
}

TEST(VolumeFeatures, NumbersOfTypes) {
    EXPECT_EQ(0xEF53, FileSystemIDOf("ext4"));
    EXPECT_EQ(0xEF53, FileSystemIDOf("ext2"));
    EXPECT_EQ(0xBAB0, FileSystemIDOf("exfat"));
    EXPECT_EQ(0x5342, FileSystemIDOf("xfs"));
    EXPECT_EQ(0, FileSystemIDOf("a new one"));
}

TEST(VolumeFeatures, OfANewType) {
    const VolumeFeatures features = FeaturesOf("a new one");
    EXPECT_FALSE(features.hasExchange);
    EXPECT_TRUE(features.hasOwners);
    EXPECT_TRUE(features.hasLinks);
    EXPECT_TRUE(features.hasLongFiles);
    EXPECT_FALSE(features.hasJournal);
    EXPECT_FALSE(features.isOfServer);
}

TEST(ForbidExchange, OfOneVolume) {
    EXPECT_FALSE(IsExchangeForbidden({7, 8}));
    {
        const test_files::FailingNew failure(1);
        ForbidExchange({7, 8});
    }
    EXPECT_FALSE(IsExchangeForbidden({7, 8})) << "there was no room to remember it";
    ForbidExchange({7, 8});
    ForbidExchange({7, 8});
    EXPECT_TRUE(IsExchangeForbidden({7, 8}));
    EXPECT_FALSE(IsExchangeForbidden({7, 9}));
    EXPECT_FALSE(IsExchangeForbidden({8, 8}));
}

}  // namespace
