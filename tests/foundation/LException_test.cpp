#include "fakes/Calls.h"
#include "fakes/Text.h"

#include <foundation/LException.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <type_traits>

namespace {

static_assert(std::is_base_of_v<std::exception, LException>);
static_assert(!std::is_default_constructible_v<LException>);

class LExceptionTest : public ::testing::Test {
  protected:
    LExceptionTest() { fakes::StartScenario(); }
    ~LExceptionTest() override {
        EXPECT_EQ(mLiveStrings, fakes::LiveStrings());
        EXPECT_TRUE(fakes::Misuses().empty());
    }

    static std::string Text(const unsigned char* inPascalText) {
        return {reinterpret_cast<const char*>(inPascalText + 1), inPascalText[0]};
    }

  private:
    int mLiveStrings = fakes::LiveStrings();
};

TCFString ASCII(const std::string& inText) {
    return TCFString(inText.c_str(), kCFStringEncodingASCII);
}

TEST_F(LExceptionTest, ThrowOfACodeAlone) {
    try {
        LException::Throw(-43);
        FAIL() << "nothing was thrown";
    } catch (LException& exception) {
        EXPECT_EQ(-43, exception.GetErrorCode());
        EXPECT_EQ(0, exception.GetErrorString()[0]);
    }
}

TEST_F(LExceptionTest, ThrowWithAMessage) {
    try {
        LException::Throw(-50, ASCII("no such thing"));
        FAIL() << "nothing was thrown";
    } catch (const LException& exception) {
        EXPECT_EQ(-50, exception.GetErrorCode());
        EXPECT_EQ("no such thing", Text(exception.GetErrorString()));
    }
}

TEST_F(LExceptionTest, CodeZeroIsThrownLikeAnyOther) {
    try {
        LException::Throw(0);
        FAIL() << "nothing was thrown";
    } catch (const LException& exception) {
        EXPECT_EQ(0, exception.GetErrorCode());
    }
}

TEST_F(LExceptionTest, IsAStandardException) {
    EXPECT_THROW(LException::Throw(1), std::exception);
    EXPECT_THROW(LException::Throw(1, ASCII("x")), std::exception);
}

TEST_F(LExceptionTest, WhatNeverTellsTheMessage) {
    EXPECT_STREQ("<CANNOT DISPLAY>", LException(1, TCFString::Empty).what());
    const LException exception(1, ASCII("message"));
    EXPECT_EQ(TCFString::kCannotDisplayCString, exception.what());
    EXPECT_EQ(exception.what(), static_cast<const std::exception&>(exception).what());
}

TEST_F(LExceptionTest, CodesAre32BitAndSigned) {
    EXPECT_EQ(0x6E696C50, LException(0x6E696C50, TCFString::Empty).GetErrorCode());
    EXPECT_EQ(-2147483647L - 1, LException(-2147483647L - 1, TCFString::Empty).GetErrorCode());
    EXPECT_EQ(-1, LException(static_cast<long>(0xFFFFFFFFUL), TCFString::Empty).GetErrorCode());
}

TEST_F(LExceptionTest, Setters) {
    LException exception(1, ASCII("first"));
    exception.SetErrorCode(-2);
    exception.SetErrorString(ASCII("second"));
    EXPECT_EQ(-2, exception.GetErrorCode());
    EXPECT_EQ("second", Text(exception.GetErrorString()));
    exception.SetErrorString(TCFString::Empty);
    EXPECT_EQ("", Text(exception.GetErrorString()));
}

TEST_F(LExceptionTest, CopyTakesCodeAndMessage) {
    const LException source(-7, ASCII("shared"));
    source.GetErrorString();
    const LException copy(source);
    EXPECT_EQ(-7, copy.GetErrorCode());
    EXPECT_EQ("shared", Text(copy.GetErrorString()));
    EXPECT_NE(source.GetErrorString(), copy.GetErrorString());
}

// What the memory was filled with before shows whether the text buffer was touched.
TEST_F(LExceptionTest, CopyLeavesTheTextBufferAlone) {
    const LException source(-7, ASCII("shared"));
    source.GetErrorString();
    alignas(LException) unsigned char memory[sizeof(LException)];
    std::memset(memory, 0x5A, sizeof memory);
    auto* const copy = new (memory) LException(source);
    const std::size_t used = sizeof(void*) + sizeof(void*) + sizeof(TCFString);
    std::size_t kept = 0;
    for (std::size_t i = used; i < sizeof memory; ++i)
        kept += memory[i] == 0x5A;
    EXPECT_EQ(sizeof memory - used, kept);
    EXPECT_GE(kept, 256u);
    EXPECT_EQ("shared", Text(copy->GetErrorString()));
    copy->~LException();
}

TEST_F(LExceptionTest, AssignmentTakesCodeAndMessageButNotTheText) {
    const LException source(-7, ASCII("new"));
    source.GetErrorString();
    LException target(1, ASCII("older"));
    const unsigned char* const text = target.GetErrorString();
    EXPECT_EQ(&target, &(target = source));
    EXPECT_EQ("older", Text(text));
    EXPECT_EQ(-7, target.GetErrorCode());
    EXPECT_EQ("new", Text(target.GetErrorString()));
    EXPECT_EQ(text, target.GetErrorString());
    LException& itself = target;
    target = itself;
    EXPECT_EQ("new", Text(target.GetErrorString()));
}

TEST_F(LExceptionTest, LongMessagesAreCutAt255Bytes) {
    for (std::size_t length : {254u, 255u, 256u, 1000u}) {
        const LException exception(1, ASCII(std::string(length, 'm')));
        const std::string expected(std::min<std::size_t>(length, 255), 'm');
        EXPECT_EQ(expected, Text(exception.GetErrorString())) << length;
    }
    // Nothing holds so much: the scratch has 1023 bytes.
    EXPECT_EQ("<CANNOT DISPLAY>", Text(LException(1, ASCII(std::string(1024, 'm'))).GetErrorString()));
}

TEST_F(LExceptionTest, MessageIsSharedAndReleased) {
    const TCFString message = ASCII("counted");
    const CFIndex count = CFGetRetainCount(message.StringRef());
    {
        const LException exception(1, message);
        EXPECT_EQ(count + 1, CFGetRetainCount(message.StringRef()));
        const LException copy(exception);
        EXPECT_EQ(count + 2, CFGetRetainCount(message.StringRef()));
    }
    EXPECT_EQ(count, CFGetRetainCount(message.StringRef()));
}

}  // namespace
