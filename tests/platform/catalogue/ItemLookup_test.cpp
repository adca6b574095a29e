#include "CatalogTest.h"
#include "support/CountedCalls.h"
#include "support/FailingCalls.h"
#include "support/FailingNew.h"
#include "support/FileWorld.h"

#include <gtest/gtest.h>
#include <toolbox/ItemLookup.h>

#include <cstring>
#include <string>

namespace {

using namespace test_files;

class ItemLookupTest : public CatalogItemsTest<support::FileWorldTest> {
  protected:
    static OSErr Make(const FSRef& inFolder, std::u16string_view inName, FSRef& outRef) {
        return FSMakeFSRefUnicode(&inFolder, inName.size(), reinterpret_cast<const UniChar*>(inName.data()),
                                  0, &outRef);
    }
    // The path of the item of that name in the test's folder, or "status -43" for instance.
    std::string Find(std::u16string_view inName) const {
        FSRef ref = {};
        const OSErr error = Make(RefOf(mFolder.Path()), inName, ref);
        return error == noErr ? PathOf(ref) : "status " + std::to_string(error);
    }
};
INSTANTIATE_TEST_SUITE_P(Worlds, ItemLookupTest, support::BothWorlds(), support::NameOfWorld);

TEST_P(ItemLookupTest, NamesOfTheCatalogue) {
    const std::string names[] = {"plain.txt", "a:b", std::string(255, 'n'), "\xF0\x9F\x98\x80"};
    for (const std::string& name : names)
        mFolder.MakeFile(name);
    mFolder.MakeFile("not\xFF");
    EXPECT_EQ(mFolder / "plain.txt", Find(u"plain.txt"));
    EXPECT_EQ(mFolder / "a:b", Find(u"a/b"));
    EXPECT_EQ(mFolder / names[2], Find(std::u16string(255, u'n'))) << "longer than a specification's";
    EXPECT_EQ(mFolder / names[3], Find(u"\U0001F600"));
    EXPECT_EQ(mFolder / "not\xFF", Find(u"not\uF7FF"));
    EXPECT_EQ("status -43", Find(u"none"));
    const std::string folder = mFolder.MakeFolder("folder");
    EXPECT_EQ(folder, Find(u"folder"));
}

TEST_P(ItemLookupTest, SimilarNames) {
    const std::string path = mFolder.MakeFile("Caf\xC3\xA9");
    EXPECT_EQ(path, Find(u"cAFE\u0301"));
    const std::string exact = mFolder.MakeFile("caf\xC3\xA9");
    EXPECT_EQ(exact, Find(u"caf\u00E9"));
}

TEST_P(ItemLookupTest, LinksAreItems) {
    mFolder.MakeFolder("target");
    for (const char* target : {"target", "nowhere"}) {
        const std::string path = mFolder.MakeLink(target, std::string("link to ") + target);
        FSRef ref = {};
        FSCatalogInfo info = {};
        EXPECT_EQ(path, Find(std::u16string(u"link to ") + std::u16string(target, target + strlen(target))));
        ASSERT_EQ(noErr,
                  Make(RefOf(mFolder.Path()),
                       std::u16string(u"LINK TO ") + std::u16string(target, target + strlen(target)), ref));
        EXPECT_EQ(noErr, FSGetCatalogInfo(&ref, kFSCatInfoNodeFlags, &info, nullptr, nullptr, nullptr));
        EXPECT_EQ(0, info.nodeFlags & kFSNodeIsDirectoryMask);
        FSRef inner = {};
        EXPECT_EQ(errFSNotAFolder, Make(ref, u"x", inner));
    }
}

// Of several names of an item it is the one that was looked up.
TEST_P(ItemLookupTest, HardLinks) {
    ASSERT_EQ(0, mFolder.MakeHardLink(mFolder.MakeFile("a"), mFolder / "b"));
    EXPECT_EQ(mFolder / "a", Find(u"a"));
    EXPECT_EQ(mFolder / "b", Find(u"b"));
    EXPECT_EQ(mFolder / "a", Find(u"a"));
}

TEST_P(ItemLookupTest, NamesThatCannotBe) {
    EXPECT_EQ("status -1411", Find(u""));
    EXPECT_EQ("status -37", Find(std::u16string(256, u'n')));
    EXPECT_EQ("status -37", Find(std::u16string(255, u'\u6587'))) << "765 bytes on disk";
    EXPECT_EQ("status -37", Find(u"."));
    EXPECT_EQ("status -37", Find(u".."));
    EXPECT_EQ("status -37", Find(std::u16string(u"a\0b", 3)));
    EXPECT_EQ("status -37", Find(std::u16string(1, char16_t{0xD800})));
}

TEST_P(ItemLookupTest, BadArguments) {
    const FSRef folder = RefOf(mFolder.Path());
    const FSRef file = RefOf(mFolder.MakeFile("file"));
    const FSRef none = {};
    const UniChar name[] = {'f'};
    FSRef ref;
    std::memset(&ref, 0x5A, sizeof ref);
    const FSRef untouched = ref;
    EXPECT_EQ(paramErr, FSMakeFSRefUnicode(nullptr, 1, name, 0, &ref));
    EXPECT_EQ(paramErr, FSMakeFSRefUnicode(&folder, 1, name, 0, nullptr));
    EXPECT_EQ(errFSMissingName, FSMakeFSRefUnicode(&folder, 1, nullptr, 0, &ref));
    EXPECT_EQ(errFSMissingName, FSMakeFSRefUnicode(&folder, 0, name, 0, &ref));
    EXPECT_EQ(bdNamErr, FSMakeFSRefUnicode(&folder, ~UniCharCount{0} / 4, name, 0, &ref)) << "not read";
    EXPECT_EQ(errFSNotAFolder, FSMakeFSRefUnicode(&file, 1, name, 0, &ref));
    EXPECT_EQ(errFSBadFSRef, FSMakeFSRefUnicode(&none, 1, name, 0, &ref));
    const FSRef gone = RefOf(mFolder.MakeFolder("gone"));
    mFolder.Remove(mFolder / "gone", true);
    EXPECT_EQ(fnfErr, FSMakeFSRefUnicode(&gone, 1, name, 0, &ref));
    EXPECT_EQ(0, std::memcmp(&untouched, &ref, sizeof ref));
}

TEST_P(ItemLookupTest, CallsHoweverDeep) {
    mFolder.MakeFolder("1/2/3/4/5/6/7/8");
    mFolder.MakeFile("1/2/3/4/5/6/7/8/file");
    const FSRef folder = RefOf(mFolder / "1/2/3/4/5/6/7/8");
    FSRef ref = {};
    const CountedCalls calls;
    EXPECT_EQ(noErr, Make(folder, u"file", ref));
    EXPECT_EQ("openat 1, close 1, statx 2", calls.Made());
}

TEST_P(ItemLookupTest, BlockOfFolderAndName) {
    mFolder.MakeFile("file");
    const FSRef folder = RefOf(mFolder.Path());
    const UniChar name[] = {'F', 'I', 'L', 'E'};
    FSRef ref = {};
    FSRefParam block = {};
    block.ref = &folder;
    block.nameLength = 4;
    block.name = name;
    block.newRef = &ref;
    block.ioResult = 1;
    EXPECT_EQ(noErr, PBMakeFSRefUnicodeSync(&block));
    EXPECT_EQ(noErr, block.ioResult);
    EXPECT_EQ(mFolder / "file", PathOf(ref));
    block.nameLength = 3;
    EXPECT_EQ(fnfErr, PBMakeFSRefUnicodeSync(&block));
    EXPECT_EQ(fnfErr, block.ioResult);
    block.newRef = nullptr;
    EXPECT_EQ(paramErr, PBMakeFSRefUnicodeSync(&block));
    EXPECT_EQ(paramErr, block.ioResult);
    EXPECT_EQ(paramErr, PBMakeFSRefUnicodeSync(nullptr));
}

TEST_P(ItemLookupTest, BlockOfVolumeFolderAndName) {
    mFolder.MakeFile("file");
    const FSSpec here = Here("");
    FSRef ref = {};
    FSRefParam block = {};
    block.ioVRefNum = here.vRefNum;
    block.ioDirID = here.parID;
    block.newRef = &ref;
    EXPECT_EQ(noErr, PBMakeFSRefSync(&block));
    EXPECT_EQ(mFolder.Path(), PathOf(ref)) << "no name is the folder";
    block.ioNamePtr = reinterpret_cast<const unsigned char*>("\0");
    EXPECT_EQ(noErr, PBMakeFSRefSync(&block));
    EXPECT_EQ(mFolder.Path(), PathOf(ref));
    const PascalName file("File");
    block.ioNamePtr = file;
    EXPECT_EQ(noErr, PBMakeFSRefSync(&block));
    EXPECT_EQ(mFolder / "file", PathOf(ref));
    for (const std::size_t byteCount : {32, 64, 255}) {
        const PascalName tooLong(std::string(byteCount, 'n'));
        block.ioNamePtr = tooLong;
        EXPECT_EQ(bdNamErr, PBMakeFSRefSync(&block)) << byteCount;
        EXPECT_EQ(bdNamErr, block.ioResult);
    }
    block.ioNamePtr = nullptr;
    block.ioVRefNum = 1;
    EXPECT_EQ(nsvErr, PBMakeFSRefSync(&block));
    block.ioVRefNum = here.vRefNum;
    block.ioDirID = 15;
    EXPECT_EQ(dirNFErr, PBMakeFSRefSync(&block));
    block.newRef = nullptr;
    EXPECT_EQ(paramErr, PBMakeFSRefSync(&block));
    EXPECT_EQ(paramErr, block.ioResult);
    EXPECT_EQ(paramErr, PBMakeFSRefSync(nullptr));
}

TEST_P(ItemLookupTest, EveryCallFails) {
    mFolder.MakeFile("file");
    const FSRef folder = RefOf(mFolder.Path());
    const std::size_t descriptors = OpenDescriptorCount();
    for (int failing = 1;; ++failing) {
        FSRef ref = {};
        OSErr error = noErr;
        bool delivered = false;
        {
            const FailingCalls failure(failing, EIO, FailingCalls::kForever);
            error = Make(folder, u"FILE", ref);
            delivered = failure.Delivered();
        }
        EXPECT_EQ(descriptors, OpenDescriptorCount()) << failing;
        if (!delivered) {
            EXPECT_EQ(noErr, error);
            EXPECT_GT(failing, 5);
            break;
        }
        EXPECT_TRUE(error == noErr || error == ioErr) << failing << ": " << error;
    }
}

TEST_P(ItemLookupTest, MemoryFails) {
    const std::string name(100, 'n');
    mFolder.MakeFile(name);
    const FSRef folder = RefOf(mFolder.Path());
    const std::u16string catalogueName(name.begin(), name.end());
    const std::size_t descriptors = OpenDescriptorCount();
    for (int failing = 1;; ++failing) {
        FSRef ref = {};
        OSErr error = noErr;
        bool delivered = false;
        {
            const FailingNew failure(failing);
            error = Make(folder, catalogueName, ref);
            delivered = failure.Delivered();
        }
        EXPECT_EQ(descriptors, OpenDescriptorCount()) << failing;
        EXPECT_EQ(delivered ? memFullErr : noErr, error) << failing;
        if (!delivered) break;
    }
}

}  // namespace
