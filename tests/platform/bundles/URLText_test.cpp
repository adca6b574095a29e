#include <bundles/URLText.h>
#include <gtest/gtest.h>

using namespace toolbox::corefoundation;

TEST(URLText, SplitsAndJoins) {
    const URLParts parts = SplitURL("http://user@host:80/a/b?q=1/2#f?g");
    EXPECT_EQ("http", parts.scheme);
    EXPECT_EQ("user@host:80", parts.authority);
    EXPECT_EQ("/a/b", parts.path);
    EXPECT_EQ("?q=1/2", parts.query);
    EXPECT_EQ("#f?g", parts.fragment);
    for (const char* text : {"http://user@host:80/a/b?q=1/2#f?g", "file:///a", "file:/a", "mailto:a@b",
                             "//h/p", "a/b", "", "?", "#", "file:", "file://", "a:b:c", "http://h?q", "/a:b"})
        EXPECT_EQ(text, JoinURL(SplitURL(text)));
}

TEST(URLText, SchemeIsOneOnlyBeforeAColonAndOfItsCharacters) {
    EXPECT_EQ("a+b-c.1", SplitURL("a+b-c.1:x").scheme);
    EXPECT_EQ("", SplitURL("1a:x").scheme);
    EXPECT_EQ("", SplitURL(":x").scheme);
    EXPECT_EQ("", SplitURL("a/b:c").scheme);
    EXPECT_EQ("", SplitURL("?a:b").scheme);
    EXPECT_EQ("", SplitURL("file").scheme);
}

// The examples of RFC 3986, 5.4.
TEST(URLText, ResolvesReferences) {
    struct Example {
        const char* reference;
        const char* result;
    };
    const Example examples[] = {
        {"g:h", "g:h"},
        {"g", "http://a/b/c/g"},
        {"./g", "http://a/b/c/g"},
        {"g/", "http://a/b/c/g/"},
        {"/g", "http://a/g"},
        {"//g", "http://g"},
        {"?y", "http://a/b/c/d;p?y"},
        {"g?y", "http://a/b/c/g?y"},
        {"#s", "http://a/b/c/d;p?q#s"},
        {"g#s", "http://a/b/c/g#s"},
        {"g?y#s", "http://a/b/c/g?y#s"},
        {";x", "http://a/b/c/;x"},
        {"g;x", "http://a/b/c/g;x"},
        {"g;x?y#s", "http://a/b/c/g;x?y#s"},
        {"", "http://a/b/c/d;p?q"},
        {".", "http://a/b/c/"},
        {"./", "http://a/b/c/"},
        {"..", "http://a/b/"},
        {"../", "http://a/b/"},
        {"../g", "http://a/b/g"},
        {"../..", "http://a/"},
        {"../../", "http://a/"},
        {"../../g", "http://a/g"},
        {"../../../g", "http://a/g"},
        {"../../../../g", "http://a/g"},
        {"/./g", "http://a/g"},
        {"/../g", "http://a/g"},
        {"g.", "http://a/b/c/g."},
        {".g", "http://a/b/c/.g"},
        {"g..", "http://a/b/c/g.."},
        {"..g", "http://a/b/c/..g"},
        {"./../g", "http://a/b/g"},
        {"./g/.", "http://a/b/c/g/"},
        {"g/./h", "http://a/b/c/g/h"},
        {"g/../h", "http://a/b/c/h"},
        {"g;x=1/./y", "http://a/b/c/g;x=1/y"},
        {"g;x=1/../y", "http://a/b/c/y"},
        {"g?y/./x", "http://a/b/c/g?y/./x"},
        {"g#s/../x", "http://a/b/c/g#s/../x"},
    };
    for (const Example& example : examples)
        EXPECT_EQ(example.result, ResolveReference("http://a/b/c/d;p?q", example.reference))
            << example.reference;
    EXPECT_EQ("http://a/g", ResolveReference("http://a", "g"));
    EXPECT_EQ("file:///b", ResolveReference("file:///a", "b"));
}

TEST(URLText, TellsWhatCanStandInAURL) {
    EXPECT_TRUE(IsURLText(""));
    EXPECT_TRUE(IsURLText("aZ09-._~:/?#[]@!$&'()*+,;=%41"));
    for (const char* text : {" ", "%", "%4", "%4g", "%g4", "\"", "<", ">", "\\", "^", "`", "{", "|", "}",
                             "\x7F", "\xC3\xA9", "\x01"})
        EXPECT_FALSE(IsURLText(text)) << text;
}

TEST(URLText, EscapesOnlyWhatMust) {
    EXPECT_EQ("file:///a%20b%25c%41%25%C3%A9", MakeURLText("file:///a b%c%41%\xC3\xA9"));
    EXPECT_EQ("/a%3Bb%3Fc%23d%25e%5B%5D", EscapePath("/a;b?c#d%e[]"));
    EXPECT_EQ("/:@!$&'()*+,=-._~", EscapePath("/:@!$&'()*+,=-._~"));
    EXPECT_EQ("%00%FF", EscapePath(std::string_view("\0\xFF", 2)));
}

TEST(URLText, Unescapes) {
    std::string bytes;
    EXPECT_TRUE(Unescape("%41%c3%A9b", bytes));
    EXPECT_EQ(
        "A\xC3\xA9"
        "b",
        bytes);
    EXPECT_TRUE(Unescape("", bytes));
    EXPECT_EQ("", bytes);
    for (const char* text : {"%", "%4", "a%", "%zz", "%4x", "%x4", "%%41"})
        EXPECT_FALSE(Unescape(text, bytes)) << text;
}

// Every byte comes back, and what is escaped is text of a URL.
TEST(URLText, EveryByteComesBack) {
    std::string all;
    for (int byte = 0; byte < 256; ++byte)
        all += static_cast<char>(byte);
    const std::string escaped = EscapePath(all);
    std::string back;
    EXPECT_TRUE(IsURLText(escaped));
    ASSERT_TRUE(Unescape(escaped, back));
    EXPECT_EQ(all, back);
    EXPECT_TRUE(IsURLText(MakeURLText(all)));
}
