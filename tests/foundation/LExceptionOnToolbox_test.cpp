// The exception and the clock over the real toolbox.
#include <foundation/Int64.h>
#include <foundation/LException.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>

namespace {

std::string Text(const unsigned char* inPascalText) {
    return {reinterpret_cast<const char*>(inPascalText + 1), inPascalText[0]};
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
    const TCFString message("no such file", kCFStringEncodingUTF8);
    {
        const LException exception(-43, message);
        const LException copy(exception);
        EXPECT_EQ(3, CFGetRetainCount(message.StringRef()));
        EXPECT_EQ("no such file", Text(copy.GetErrorString()));
    }
    EXPECT_EQ(1, CFGetRetainCount(message.StringRef()));
}

TEST(LExceptionOnToolboxTest, LongMessagesAreCut) {
    const TCFString message(std::string(1000, 'm').c_str(), kCFStringEncodingUTF8);
    EXPECT_EQ(std::string(255, 'm'), Text(LException(1, message).GetErrorString()));
}

TEST(Int64OnToolboxTest, MicrosecondsGoOn) {
    const auto outerStart = std::chrono::steady_clock::now();
    const Int64 before = Int64::Microseconds();
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    const Int64 passed = Int64::Microseconds() - before;
    const std::chrono::duration<double, std::micro> outer = std::chrono::steady_clock::now() - outerStart;
    EXPECT_TRUE(Int64(4999) < passed) << passed.LongLong();
    EXPECT_LE(static_cast<double>(passed.LongLong()), outer.count() + 2);
}

}  // namespace
