#include "ResourcesTest.h"

namespace {

using namespace test_resources;
using namespace std::string_literals;

constexpr ResType kList = FourChars("STR#");

class StringsTest : public ResourcesTest {
  protected:
    static std::string At(SInt16 inListID, SInt16 inIndex) {
        Str255 text = {99};
        GetIndString(text, inListID, inIndex);
        return TextOf(text);
    }
};

TEST_F(StringsTest, Single) {
    Open(MakeFile("f", {ImageOf(FourChars("STR "), 128, "\3abc")}));
    EXPECT_EQ("\3abc", TextOf(GetString(128)));
    EXPECT_EQ(nullptr, GetString(129));
    EXPECT_EQ(resNotFound, ResError());
}

TEST_F(StringsTest, OfAList) {
    Open(MakeFile("f", {ImageOf(kList, 128, "\0\3\3one\0\5three"s)}));
    EXPECT_EQ("one", At(128, 1));
    EXPECT_EQ("", At(128, 2));
    EXPECT_EQ("three", At(128, 3));
    for (const SInt16 index : {SInt16{0}, SInt16{-1}, SInt16{4}, SInt16{32767}})
        EXPECT_EQ("", At(128, index)) << index;
    EXPECT_EQ("", At(129, 1)) << "no such list";
}

TEST_F(StringsTest, LongestString) {
    Open(MakeFile("f", {ImageOf(kList, 1, "\0\1\xFF"s + std::string(255, 'x'))}));
    EXPECT_EQ(std::string(255, 'x'), At(1, 1));
}

TEST_F(StringsTest, ListCutOff) {
    const std::string list = "\0\3\3one\3two\5three"s;
    for (std::size_t size = 0; size <= list.size(); ++size) {
        const SInt16 refNum = Open(MakeFile("f", {ImageOf(kList, 1, list.substr(0, size))}));
        EXPECT_EQ(size >= 6 ? "one" : "", At(1, 1)) << size;
        EXPECT_EQ(size >= 10 ? "two" : "", At(1, 2)) << size;
        EXPECT_EQ(size >= 16 ? "three" : "", At(1, 3)) << size;
        CloseResFile(refNum);
    }
}

TEST_F(StringsTest, ListWithoutLoading) {
    Open(MakeFile("f", {ImageOf(kList, 1, "\0\1\3one"s)}));
    SetResLoad(false);
    EXPECT_EQ("", At(1, 1));
}

}  // namespace
