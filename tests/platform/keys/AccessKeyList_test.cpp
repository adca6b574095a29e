#include "keys/AccessKeyList.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using toolbox::keys::AccessKey;
using toolbox::keys::AccessKeyList;
using toolbox::keys::IsSameKeyText;

std::string Joined(const AccessKeyList& inKeys, std::string_view inType) {
    std::string text;
    for (const std::string_view key : inKeys.KeysOf(inType))
        text.append(key) += '|';
    return text;
}

TEST(AccessKeyList, SameButForTheCaseOfAsciiLetters) {
    EXPECT_TRUE(IsSameKeyText("", ""));
    EXPECT_TRUE(IsSameKeyText("SoundMgr@[`{09", "sOUNDmGR@[`{09"));
    EXPECT_FALSE(IsSameKeyText("soundmgr", "soundmg"));
    EXPECT_FALSE(IsSameKeyText("soundmg", "soundmgr"));
    EXPECT_FALSE(IsSameKeyText("@", "`"));
    EXPECT_FALSE(IsSameKeyText("[", "{"));
    EXPECT_FALSE(IsSameKeyText("\xC4", "\xE4"));
}

TEST(AccessKeyList, KeysOfATypeInOrder) {
    AccessKeyList keys;
    EXPECT_EQ("", Joined(keys, "a"));
    keys.Add({"a", "2"});
    keys.Add({"b", "1"});
    keys.Add({"A", "1"});
    EXPECT_EQ("2|1|", Joined(keys, "a"));
    EXPECT_EQ("1|", Joined(keys, "B"));
    EXPECT_EQ("", Joined(keys, "ab"));
    EXPECT_TRUE(keys.Contains({"A", "2"}));
    EXPECT_FALSE(keys.Contains({"b", "2"}));
    EXPECT_EQ(3U, keys.Count());
}

TEST(AccessKeyList, RemovesWhatIsTheSame) {
    AccessKeyList keys;
    keys.Add({"a", "x"});
    keys.Add({"b", "x"});
    keys.Add({"A", "X"});
    keys.Remove({"a", "y"});
    EXPECT_EQ(3U, keys.Count());
    keys.Remove({"a", "x"});
    EXPECT_EQ(1U, keys.Count());
    EXPECT_EQ("x|", Joined(keys, "b"));
}

TEST(AccessKeyList, Text) {
    AccessKeyList keys;
    EXPECT_EQ("mirtal access keys 1\nend\n", keys.Encode());
    keys.Add({"SoundArchitecture", "soundmgr"});
    keys.Add({"", ""});
    keys.Add({"a=b%", std::string("\0\n ~\x7F\xFF", 6)});
    EXPECT_EQ("mirtal access keys 1\nSoundArchitecture=soundmgr\n=\na%3Db%25=%00%0A%20~%7F%FF\nend\n",
              keys.Encode());
    AccessKeyList again;
    ASSERT_TRUE(again.Decode(keys.Encode()));
    EXPECT_EQ(keys.Encode(), again.Encode());
    EXPECT_EQ(std::string("\0\n ~\x7F\xFF|", 7), Joined(again, "A=B%"));
    ASSERT_TRUE(again.Decode("mirtal access keys 1\na=%3d\nend\n"));
    EXPECT_EQ("=|", Joined(again, "a")) << "and nothing from before";
    EXPECT_EQ(1U, again.Count());
}

TEST(AccessKeyList, EveryByteComesBack) {
    AccessKeyList keys;
    std::string all;
    for (int byte = 0; byte < 256; ++byte)
        all += static_cast<char>(byte);
    keys.Add({all.substr(0, 255), all});
    AccessKeyList again;
    ASSERT_TRUE(again.Decode(keys.Encode()));
    EXPECT_EQ(all + '|', Joined(again, all.substr(0, 255)));
}

TEST(AccessKeyList, DamagedText) {
    const std::string first = "mirtal access keys 1\n";
    const std::string whole = first + "type=key\ntype=%41\nend\n";
    AccessKeyList keys;
    ASSERT_TRUE(keys.Decode(whole));
    for (std::size_t byteCount = 0; byteCount < whole.size(); ++byteCount)
        EXPECT_FALSE(keys.Decode(whole.substr(0, byteCount))) << "cut off after " << byteCount;
    for (const char* lines :
         {"type\nend\n", "\nend\n", "type=a=b\nend\n", "type=a b\nend\n", "type=%\nend\n", "type=%4\nend\n",
          "type=%G0\nend\n", "type=%0g\nend\n", "type=\xFF\nend\n", "type=a\r\nend\n", "end\n\n",
          "end\nend\n", "end\ntype=a\n", " end\n", "END\n", "ty%=a\nend\n", "ty pe=a\nend\n"})
        EXPECT_FALSE(keys.Decode(first + lines)) << lines;
    EXPECT_FALSE(keys.Decode("mirtal access keys 2\nend\n"));
    EXPECT_FALSE(keys.Decode("Mirtal access keys 1\nend\n"));
    EXPECT_TRUE(keys.Decode(first + std::string(255, 't') + "=a\nend\n"));
    EXPECT_FALSE(keys.Decode(first + std::string(256, 't') + "=a\nend\n")) << "no Pascal string is so long";
}

TEST(AccessKeyList, MostKeys) {
    std::string text = "mirtal access keys 1\n";
    for (std::size_t i = 0; i < AccessKeyList::kMaxKeys; ++i)
        text += "t=" + std::to_string(i) + '\n';
    AccessKeyList keys;
    EXPECT_TRUE(keys.Decode(text + "end\n"));
    EXPECT_EQ(AccessKeyList::kMaxKeys, keys.Count());
    EXPECT_FALSE(keys.Decode(text + "t=more\nend\n"));
}

}  // namespace
