#include <toolbox/Files.h>

#include "TemporaryFolder.h"

#include <gtest/gtest.h>

namespace {

using test_files::TemporaryFolder;

OSStatus MakeRef(const std::string& inPath, FSRef* outRef, Boolean* outIsDirectory = nullptr) {
    return FSPathMakeRef(reinterpret_cast<const UInt8*>(inPath.c_str()), outRef, outIsDirectory);
}

std::string PathOf(const FSRef& inRef) {
    UInt8 path[4096];
    const OSStatus status = FSRefMakePath(&inRef, path, sizeof(path));
    return status == noErr ? reinterpret_cast<char*>(path) : "status " + std::to_string(status);
}

TEST(FSPathMakeRef, FileAndFolder) {
    const TemporaryFolder folder;
    const std::string path = folder.MakeFile("tone.m4a");
    FSRef ref;
    Boolean isDirectory = 1;
    ASSERT_EQ(noErr, MakeRef(path, &ref, &isDirectory));
    EXPECT_EQ(0, isDirectory);
    EXPECT_EQ(path, PathOf(ref));
    ASSERT_EQ(noErr, MakeRef(folder.Path(), &ref, &isDirectory));
    EXPECT_EQ(1, isDirectory);
    EXPECT_EQ(folder.Path(), PathOf(ref));
}

}  // namespace
