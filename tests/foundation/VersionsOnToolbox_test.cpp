// The application's version over the real Resource Manager.
#include "platform/resources/ResourcesTest.h"

#include <foundation/Versions.h>

#include <string>

namespace {

using namespace test_resources;

constexpr ResType kVersion = FourChars("vers");

class GetVersionOnToolboxTest : public ResourcesTest {
  protected:
    // Of a text and a region, with the number 1.2.3b4 before them and a long text behind.
    static Image VersionOf(short inID, const std::string& inText, short inRegion) {
        std::string data = "\x01\x23\x60\x04";
        data += static_cast<char>(inRegion >> 8);
        data += static_cast<char>(inRegion);
        (data += static_cast<char>(inText.size())) += inText;
        return ImageOf(kVersion, inID, data + "\011all of it");
    }
    // As "text region".
    static std::string Version() {
        Str255 text = "\4text";
        short region = 77;
        GetVersion(text, &region);
        return TextOf(text) + ' ' + std::to_string(region);
    }
};

TEST_F(GetVersionOnToolboxTest, OfTheChainFromTheCurrentFileOn) {
    const SInt16 older = Open(MakeFile("older", {VersionOf(1, "1.0", -242)}));
    const SInt16 newer = Open(MakeFile("newer", {VersionOf(1, "2.5.1 beta", 0x0102)}));
    EXPECT_EQ("2.5.1 beta 258", Version());
    EXPECT_EQ("2.5.1 beta 258", Version()) << "and again, once it was released";
    UseResFile(older);
    EXPECT_EQ("1.0 -242", Version());
    CloseResFile(older);
    CloseResFile(newer);
    EXPECT_EQ(" 0", Version());
}

TEST_F(GetVersionOnToolboxTest, OfAnOlderFileWhenTheCurrentOneHasNone) {
    const SInt16 older = Open(MakeFile("older", {VersionOf(1, "1.0", 14)}));
    const SInt16 newer = Open(MakeFile("newer", {VersionOf(2, "2.0", 15)}));
    EXPECT_EQ("1.0 14", Version());
    Str255 text = {};
    GetVersion(text, nullptr);
    EXPECT_EQ("1.0", TextOf(text));
    CloseResFile(newer);
    CloseResFile(older);
}

TEST_F(GetVersionOnToolboxTest, LeavesNothingLoaded) {
    const SInt16 file = Open(MakeFile("file", {VersionOf(1, "1.0", 14)}));
    const UInt64 handles = GetLiveHandleCount();
    EXPECT_EQ("1.0 14", Version());
    EXPECT_EQ(handles, GetLiveHandleCount());
    CloseResFile(file);
}

TEST_F(GetVersionOnToolboxTest, OfAResourceThatIsNotLoaded) {
    const SInt16 file = Open(MakeFile("file", {VersionOf(1, "1.0", 14)}));
    SetResLoad(false);
    EXPECT_EQ(" 0", Version());
    SetResLoad(true);
    EXPECT_EQ("1.0 14", Version());
    CloseResFile(file);
}

}  // namespace
