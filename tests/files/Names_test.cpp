#include "FilesTest.h"

#include <files/Names.h>
#include <toolbox/CFStringEncodings.h>
#include <toolbox/UnicodeConverter.h>

#include <string_view>

namespace {

using namespace test_files;

class NamesTest : public FilesTest {
  protected:
    static std::u16string Unique(UInt32 inSeed, UInt32 inFolder1 = kHere, UInt32 inFolder2 = kThere) {
        UInt32 seed = inSeed;
        const FSRef folder1 = fakes::RefOf(inFolder1);
        const FSRef folder2 = fakes::RefOf(inFolder2);
        HFSUniStr255 name = {};
        EXPECT_EQ(noErr, GenerateUniqueHFSUniStr(&seed, &folder1, &folder2, &name));
        return Text(name);
    }

    const FSRef mFile = fakes::RefOf(kFile);
    const FSSpec mSpec = Spec(fakes::kVolume, kHere, "file");
    const FSSpec mNoItem = Spec(fakes::kVolume, kHere, "caf\xC3\xA9");
    const FSSpec mNoText = Spec(fakes::kVolume, kHere, "caf\x8E");
};

TEST_F(NamesTest, FSGetFileDirName) {
    HFSUniStr255 name = {};
    EXPECT_EQ(noErr, FSGetFileDirName(&mFile, &name));
    EXPECT_EQ(u"file", Text(name));
    EXPECT_EQ(Log{"FSGetCatalogInfo(30, 0, name)"}, fakes::CallLog());
    EXPECT_EQ(paramErr, FSGetFileDirName(&mFile, nullptr));
    EXPECT_EQ(paramErr, FSGetFileDirName(nullptr, &name));
    const FSRef missing = fakes::RefOf(kMissing);
    EXPECT_EQ(fnfErr, FSGetFileDirName(&missing, &name));
    EXPECT_EQ(u"file", Text(name));
}

TEST_F(NamesTest, UnicodeNameGetHFSName) {
    const HFSUniStr255 cafe = Uni(u"caf\u00E9");
    Str255 name = {};
    EXPECT_EQ(noErr, UnicodeNameGetHFSName(cafe.length, cafe.unicode, kCFStringEncodingMacRoman, name));
    EXPECT_EQ("caf\x8E", Text(name));
    EXPECT_EQ((Log{"CreateUnicodeToTextInfoByEncoding(0)", "ConvertFromUnicodeToPString(8)",
                   "DisposeUnicodeToTextInfo()"}),
              fakes::CallLog());
    EXPECT_EQ(noErr, UnicodeNameGetHFSName(cafe.length, cafe.unicode, kCFStringEncodingUTF8, name));
    EXPECT_EQ("caf\xC3\xA9", Text(name));
}

TEST_F(NamesTest, UnicodeNameGetHFSNameFails) {
    const HFSUniStr255 name = Uni(u"\u0434");
    Str255 bytes = {1, 'x'};
    EXPECT_EQ(kTECUnmappableElementErr, UnicodeNameGetHFSName(1, name.unicode, 0, bytes));
    EXPECT_EQ(kTextUnsupportedEncodingErr, UnicodeNameGetHFSName(1, name.unicode, 0xBAD, bytes));
    EXPECT_EQ(paramErr, UnicodeNameGetHFSName(1, nullptr, 0, bytes));
    EXPECT_EQ(paramErr, UnicodeNameGetHFSName(1, name.unicode, 0, nullptr));
    EXPECT_EQ(paramErr, UnicodeNameGetHFSName(~UniCharCount{0}, name.unicode, 0, bytes));
    EXPECT_EQ("x", Text(bytes));
}

TEST_F(NamesTest, HFSNameGetUnicodeName) {
    HFSUniStr255 name = {};
    EXPECT_EQ(noErr, HFSNameGetUnicodeName(mNoText.name, kCFStringEncodingMacRoman, &name));
    EXPECT_EQ(u"caf\u00E9", Text(name));
    EXPECT_EQ((Log{"CreateTextToUnicodeInfoByEncoding(0)", "ConvertFromPStringToUnicode(510)",
                   "DisposeTextToUnicodeInfo()"}),
              fakes::CallLog());
}

TEST_F(NamesTest, HFSNameGetUnicodeNameFails) {
    HFSUniStr255 name = Uni(u"x");
    EXPECT_EQ(kTextMalformedInputErr, HFSNameGetUnicodeName(mNoText.name, kCFStringEncodingUTF8, &name));
    EXPECT_EQ(kTextUnsupportedEncodingErr, HFSNameGetUnicodeName(mNoText.name, 0xBAD, &name));
    EXPECT_EQ(paramErr, HFSNameGetUnicodeName(nullptr, 0, &name));
    EXPECT_EQ(paramErr, HFSNameGetUnicodeName(mNoText.name, 0, nullptr));
    EXPECT_EQ(u"x", Text(name));
}

TEST_F(NamesTest, UniqueNameOfAFreeSeed) {
    UInt32 seed = 0x2A;
    const FSRef here = fakes::RefOf(kHere);
    const FSRef there = fakes::RefOf(kThere);
    HFSUniStr255 name = {};
    EXPECT_EQ(noErr, GenerateUniqueHFSUniStr(&seed, &here, &there, &name));
    EXPECT_EQ(u"0000002A", Text(name));
    EXPECT_EQ(0x2AU, seed);
    EXPECT_EQ((Log{"PBMakeFSRefUnicodeSync(20, 0000002A)", "PBMakeFSRefUnicodeSync(21, 0000002A)"}),
              fakes::CallLog());
}

TEST_F(NamesTest, UniqueNameHasAllDigits) {
    EXPECT_EQ(u"01234567", Unique(0x01234567));
    EXPECT_EQ(u"89ABCDEF", Unique(0x89ABCDEF));
    EXPECT_EQ(u"00000000", Unique(0));
    EXPECT_EQ(u"FFFFFFFF", Unique(0xFFFFFFFF));
}

TEST_F(NamesTest, UniqueNameIsInNeitherFolder) {
    fakes::PutFile(51, kHere, "0000002A");
    fakes::PutFile(52, kThere, "0000002B");
    UInt32 seed = 0x2A;
    const FSRef here = fakes::RefOf(kHere);
    const FSRef there = fakes::RefOf(kThere);
    HFSUniStr255 name = {};
    EXPECT_EQ(noErr, GenerateUniqueHFSUniStr(&seed, &here, &there, &name));
    EXPECT_EQ(u"0000002C", Text(name));
    EXPECT_EQ(0x2CU, seed);
    EXPECT_EQ((Log{"PBMakeFSRefUnicodeSync(20, 0000002A)", "PBMakeFSRefUnicodeSync(20, 0000002B)",
                   "PBMakeFSRefUnicodeSync(21, 0000002B)", "PBMakeFSRefUnicodeSync(20, 0000002C)",
                   "PBMakeFSRefUnicodeSync(21, 0000002C)"}),
              fakes::CallLog());
}

TEST_F(NamesTest, UniqueNameAfterTheLastSeed) {
    fakes::PutFile(51, kHere, "FFFFFFFF");
    EXPECT_EQ(u"00000000", Unique(0xFFFFFFFF));
}

TEST_F(NamesTest, UniqueNameStopsAtAnyOtherError) {
    const FSRef here = fakes::RefOf(kHere);
    const FSRef there = fakes::RefOf(kThere);
    for (const int failing : {1, 2}) {
        UInt32 seed = 7;
        HFSUniStr255 name = Uni(u"x");
        fakes::SetErrorOfCatalogue(dirNFErr);
        fakes::FailCall(failing);
        EXPECT_EQ(dirNFErr, GenerateUniqueHFSUniStr(&seed, &here, &there, &name));
        EXPECT_EQ(7U, seed);
        EXPECT_EQ(u"x", Text(name));
    }
    EXPECT_EQ(3U, fakes::CallLog().size());
}

TEST_F(NamesTest, UniqueNameOfNullArguments) {
    UInt32 seed = 7;
    HFSUniStr255 name = {};
    EXPECT_EQ(paramErr, GenerateUniqueHFSUniStr(nullptr, &mFile, &mFile, &name));
    EXPECT_EQ(paramErr, GenerateUniqueHFSUniStr(&seed, nullptr, &mFile, &name));
    EXPECT_EQ(paramErr, GenerateUniqueHFSUniStr(&seed, &mFile, nullptr, &name));
    EXPECT_EQ(paramErr, GenerateUniqueHFSUniStr(&seed, &mFile, &mFile, nullptr));
    EXPECT_EQ(Log(), fakes::CallLog());
}

TEST_F(NamesTest, FSSpecToUniStrOfAnItem) {
    fakes::ItemOf(kFile).info.textEncodingHint = kCFStringEncodingMacJapanese;
    HFSUniStr255 name = {};
    TextEncoding encoding = 77;
    EXPECT_EQ(noErr, FSSpecToUniStr(&mSpec, &name, &encoding));
    EXPECT_EQ(u"file", Text(name));
    EXPECT_EQ(TextEncoding{kCFStringEncodingMacJapanese}, encoding);
    EXPECT_EQ((Log{"FSpMakeFSRef(-1, 20)", "FSGetCatalogInfo(30, 1, name)"}), fakes::CallLog());
}

TEST_F(NamesTest, FSSpecToUniStrWithoutAnItem) {
    HFSUniStr255 name = {};
    TextEncoding encoding = 77;
    EXPECT_EQ(noErr, FSSpecToUniStr(&mNoItem, &name, &encoding));
    EXPECT_EQ(u"caf\u00E9", Text(name));
    EXPECT_EQ(TextEncoding{kCFStringEncodingUTF8}, encoding);
    EXPECT_EQ((Log{"FSpMakeFSRef", "CFStringCreateWithPascalString"}),
              fakes::CallsOf({"FSpMakeFSRef", "FSGetCatalogInfo", "CFStringCreateWithPascalString"}));
    fakes::SetApplicationEncoding(kCFStringEncodingMacRoman);
    EXPECT_EQ(noErr, FSSpecToUniStr(&mNoText, &name, &encoding));
    EXPECT_EQ(u"caf\u00E9", Text(name));
    EXPECT_EQ(TextEncoding{kCFStringEncodingMacRoman}, encoding);
}

TEST_F(NamesTest, FSSpecToUniStrOfWhatIsNoText) {
    HFSUniStr255 name = {};
    TextEncoding encoding = 77;
    EXPECT_EQ(noErr, FSSpecToUniStr(&mNoText, &name, &encoding));
    EXPECT_EQ(u"caf\u008E", Text(name)) << "a unit for each byte";
    EXPECT_EQ(0U, encoding);
}

TEST_F(NamesTest, FSSpecToUniStrOfANameThatTellsOfMoreThanItHasRoomFor) {
    struct {
        FSSpec spec = {fakes::kVolume, 20, {}};
        UInt8 behind[256] = {'!'};
    } memory;
    memory.spec.name[0] = 255;
    std::fill_n(memory.spec.name + 1, 63, UInt8{'n'});
    HFSUniStr255 name = {};
    EXPECT_EQ(noErr, FSSpecToUniStr(&memory.spec, &name));
    EXPECT_EQ(std::u16string(63, u'n'), Text(name));
    memory.spec.name[63] = 0x8E;
    EXPECT_EQ(noErr, FSSpecToUniStr(&memory.spec, &name));
    EXPECT_EQ(std::u16string(62, u'n') + u'\u008E', Text(name)) << "a unit for each byte";
}

TEST_F(NamesTest, FSSpecToUniStrOfAnItemThatTellsNothing) {
    fakes::Refuse("FSGetCatalogInfo", ioErr);
    HFSUniStr255 name = {};
    TextEncoding encoding = 77;
    EXPECT_EQ(noErr, FSSpecToUniStr(&mSpec, &name, &encoding));
    EXPECT_EQ(u"file", Text(name));
    EXPECT_EQ(TextEncoding{kCFStringEncodingUTF8}, encoding);
}

TEST_F(NamesTest, FSSpecToUniStrWithoutAnEncoding) {
    HFSUniStr255 name = {};
    EXPECT_EQ(noErr, FSSpecToUniStr(&mSpec, &name));
    EXPECT_EQ(u"file", Text(name));
    EXPECT_EQ(noErr, FSSpecToUniStr(&mNoText, &name));
    EXPECT_EQ(paramErr, FSSpecToUniStr(nullptr, &name));
    EXPECT_EQ(paramErr, FSSpecToUniStr(&mSpec, nullptr));
}

TEST_F(NamesTest, FSSpecToUniStrWhenEveryCallFails) {
    // The item, its name, the string: what fails is gone around.
    const std::u16string names[] = {u"file", u"file", u"file"};
    for (int failing = 1; failing <= 3; ++failing) {
        Start();
        fakes::FailCall(failing);
        HFSUniStr255 name = {};
        EXPECT_EQ(noErr, FSSpecToUniStr(&mSpec, &name));
        EXPECT_EQ(names[failing - 1], Text(name)) << failing;
        EXPECT_EQ(failing < 3, fakes::FailureDelivered());
    }
}

TEST_F(NamesTest, FSSpecToCFString) {
    const FSSpec specs[] = {mSpec, mNoItem};
    const std::string texts[] = {"file", "caf\xC3\xA9"};
    for (int i = 0; i < 2; ++i) {
        const CFStringRef string = FSSpecToCFString(&specs[i]);
        ASSERT_NE(nullptr, string);
        EXPECT_EQ(texts[i], fakes::TextOf(string));
        EXPECT_EQ(mStrings + 1, fakes::LiveStrings());
        CFRelease(string);
    }
    EXPECT_EQ((Log{"FSpMakeFSRef(-1, 20)", "FSGetCatalogInfo(30, 1, name)", "CFStringCreateWithCharacters()",
                   "FSpMakeFSRef(-1, 20)", "CFStringCreateWithPascalString()"}),
              fakes::CallLog());
}

TEST_F(NamesTest, FSSpecToCFStringFails) {
    EXPECT_EQ(nullptr, FSSpecToCFString(nullptr));
    EXPECT_EQ(nullptr, FSSpecToCFString(&mNoText));
    fakes::FailCall(3);
    EXPECT_EQ(nullptr, FSSpecToCFString(&mSpec));
    fakes::FailCall(2);
    EXPECT_EQ(nullptr, FSSpecToCFString(&mNoItem));
}

TEST_F(NamesTest, FSSpecToCStr) {
    char text[6];
    EXPECT_EQ(noErr, FSSpecToCStr(&mSpec, text, 5));
    EXPECT_STREQ("file", text);
    EXPECT_EQ("CFStringGetCString(5, 134217984)", fakes::CallLog().back());
    EXPECT_EQ(noErr, FSSpecToCStr(&mNoItem, text, sizeof text));
    EXPECT_STREQ("caf\xC3\xA9", text);
}

TEST_F(NamesTest, FSSpecToCStrFails) {
    char text[6];
    EXPECT_EQ(coreFoundationUnknownErr, FSSpecToCStr(&mSpec, text, 4)) << "no room";
    EXPECT_EQ(coreFoundationUnknownErr, FSSpecToCStr(&mNoText, text, sizeof text));
    EXPECT_EQ(paramErr, FSSpecToCStr(nullptr, text, sizeof text));
    EXPECT_EQ(paramErr, FSSpecToCStr(&mSpec, nullptr, 6));
    fakes::RefuseCStringsIn(kCFStringEncodingUTF8);
    EXPECT_EQ(coreFoundationUnknownErr, FSSpecToCStr(&mSpec, text, sizeof text));
}

TEST_F(NamesTest, FSSpecToPStr) {
    Str255 text;
    EXPECT_EQ(noErr, FSSpecToPStr(&mSpec, text));
    EXPECT_EQ("file", Text(text));
    EXPECT_EQ("CFStringGetPascalString(256, 134217984)", fakes::CallLog().back());
    EXPECT_EQ(noErr, FSSpecToPStr(&mNoItem, text));
    EXPECT_EQ("caf\xC3\xA9", Text(text));
}

TEST_F(NamesTest, FSSpecToPStrFails) {
    Str255 text;
    EXPECT_EQ(coreFoundationUnknownErr, FSSpecToPStr(&mNoText, text));
    EXPECT_EQ(paramErr, FSSpecToPStr(nullptr, text));
    EXPECT_EQ(paramErr, FSSpecToPStr(&mSpec, nullptr));
    fakes::RefusePascalStringsIn(kCFStringEncodingUTF8);
    EXPECT_EQ(coreFoundationUnknownErr, FSSpecToPStr(&mSpec, text));
}

}  // namespace
