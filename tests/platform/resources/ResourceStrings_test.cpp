#include "ResourcesTest.h"
#include "interface/ResourceBytes.h"
#include "support/Rounds.h"

#include <atomic>
#include <thread>

namespace {

using namespace test_resources;
using namespace std::string_literals;

constexpr ResType kList = FourChars("STR#");

// Over the real file system alone: what is tested is in memory.
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

// What follows the strings that are counted is none.
TEST_F(StringsTest, NoMoreThanTheCount) {
    Open(MakeFile("f", {ImageOf(kList, 128, "\0\2\3one\3two\5three"s), ImageOf(kList, 129, "\0\0\3one"s)}));
    EXPECT_EQ("two", At(128, 2));
    EXPECT_EQ("", At(128, 3));
    EXPECT_EQ("", At(129, 1));
}

TEST_F(StringsTest, CountOfTwoBytes) {
    std::string list = "\1\1"s;
    for (int i = 1; i <= 256; ++i)
        list += "\1x";
    Open(
        MakeFile("f", {ImageOf(kList, 128, list + "\4last\6behind"), ImageOf(kList, 129, "\xFF\xFF\3one"s)}));
    EXPECT_EQ("x", At(128, 256));
    EXPECT_EQ("last", At(128, 257));
    EXPECT_EQ("", At(128, 258));
    EXPECT_EQ("one", At(129, 1)) << "a count is never negative";
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

// The list may go, and its memory be another's, while others take a string out of it.
TEST_F(StringsTest, WhileAnotherThreadReleasesTheList) {
    const std::string text(200, 's');
    std::string list = "\0\100"s;
    for (int i = 0; i < 64; ++i)
        list += static_cast<char>(text.size()) + text;
    Open(MakeFile("f", {ImageOf(kList, 1, list)}));
    std::atomic<int> readers{2};
    std::vector<std::thread> threads;
    for (int i = 0; i < 2; ++i)
        threads.emplace_back([&] {
            for (int round = 0, rounds = support::Rounds(2000); round < rounds; ++round) {
                if (At(1, 64) != text) ADD_FAILURE() << round;
                const std::vector<UInt8> bytes = toolbox::interface::BytesOfResource(kList, 1);
                if (!std::equal(bytes.begin(), bytes.end(), list.begin(), list.end(),
                                [](UInt8 inOne, char inOther) { return inOne == UInt8(inOther); }))
                    ADD_FAILURE() << round;
            }
            --readers;
        });
    threads.emplace_back([&] {
        while (readers > 0) {
            ReleaseResource(GetResource(kList, 1));
            const Handle other = NewText(std::string(list.size(), 'o'));
            DisposeHandle(other);
        }
    });
    for (std::thread& thread : threads)
        thread.join();
}

TEST_F(StringsTest, ListWithoutLoading) {
    Open(MakeFile("f", {ImageOf(kList, 1, "\0\1\3one"s)}));
    SetResLoad(false);
    EXPECT_EQ("", At(1, 1));
}

}  // namespace
