// The exception and the clock over the real toolbox.
#include <foundation/Int64.h>
#include <foundation/LException.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>

namespace {

std::string Text(unsigned char const* inPascalText) {
    return {reinterpret_cast<char const*>(inPascalText + 1), inPascalText[0]};
}

TEST(LExceptionOnToolboxTest, CodeAlone) {
    try {
        LException::Throw(-43);
        FAIL() << "nothing was thrown";
    } catch (LException& exception) {
        EXPECT_EQ(-43, exception.GetErrorCode());
        EXPECT_EQ("", Text(exception.GetErrorString()));
        EXPECT_STREQ("<CANNOT DISPLAY>", exception.what());
    }
}

TEST(LExceptionOnToolboxTest, MessageIsSharedAndShownAsAPascalString) {
    TCFString const message("no such file", kCFStringEncodingUTF8);
    {
        LException const exception(-43, message);
        LException const copy(exception);
        EXPECT_EQ(3, CFGetRetainCount(message.StringRef()));
        EXPECT_EQ("no such file", Text(copy.GetErrorString()));
    }
    EXPECT_EQ(1, CFGetRetainCount(message.StringRef()));
}

TEST(LExceptionOnToolboxTest, LongMessagesAreCut) {
    TCFString const message(std::string(1000, 'm').c_str(), kCFStringEncodingUTF8);
    EXPECT_EQ(std::string(255, 'm'), Text(LException(1, message).GetErrorString()));
}

TEST(Int64OnToolboxTest, MicrosecondsGoOn) {
    auto const outerStart = std::chrono::steady_clock::now();
    Int64 const before = Int64::Microseconds();
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    Int64 const passed = Int64::Microseconds() - before;
    std::chrono::duration<double, std::micro> const outer = std::chrono::steady_clock::now() - outerStart;
    EXPECT_TRUE(Int64(4999) < passed) << passed.LongLong();
    EXPECT_LE(static_cast<double>(passed.LongLong()), outer.count() + 2);
}

}  // namespace
