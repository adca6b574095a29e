#include "CFSupport.h"
#include "Faults.h"
#include "os/SystemCalls_test_access.h"

#include <gtest/gtest.h>
#include <toolbox/CFDate.h>
#include <toolbox/CFUUID.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <set>
#include <string>

namespace {

Owned<CFUUIDRef> UUIDOf(std::u16string_view inText) {
    return Owned<CFUUIDRef>(CFUUIDCreateFromString(nullptr, StringOf(inText).get()));
}

std::u16string TextOfUUID(CFUUIDRef inUUID) {
    return TextOf(OwnedString(CFUUIDCreateString(nullptr, inUUID)));
}

using RandomCall = long (*)(void*, std::size_t, unsigned);

class RandomAs {
  public:
    explicit RandomAs(RandomCall inCall) { toolbox::os::CallsForTesting().getrandom = inCall; }
    ~RandomAs() { toolbox::os::CallsForTesting() = mSaved; }

  private:
    toolbox::os::SystemCalls mSaved = toolbox::os::CallsForTesting();
};

}  // namespace

TEST(UUID, TextThereAndBack) {
    const auto uuid = UUIDOf(u"68753A44-4D6F-1226-9C60-0050E4C00067");
    ASSERT_NE(nullptr, uuid);
    const CFUUIDBytes bytes = CFUUIDGetUUIDBytes(uuid.get());
    constexpr UInt8 kExpected[] = {0x68, 0x75, 0x3A, 0x44, 0x4D, 0x6F, 0x12, 0x26,
                                   0x9C, 0x60, 0x00, 0x50, 0xE4, 0xC0, 0x00, 0x67};
    EXPECT_EQ(0, std::memcmp(kExpected, &bytes, sizeof bytes));
    EXPECT_EQ(0x68, bytes.byte0);
    EXPECT_EQ(0x67, bytes.byte15);
    EXPECT_EQ(u"68753A44-4D6F-1226-9C60-0050E4C00067", TextOfUUID(uuid.get()));
    EXPECT_EQ(u"ABCDEF00-0000-0000-0000-00000000000F",
              TextOfUUID(UUIDOf(u"abcdef00-0000-0000-0000-00000000000f").get()));
    const Owned<CFUUIDRef> same(CFUUIDCreateFromUUIDBytes(nullptr, bytes));
    EXPECT_TRUE(CFEqual(uuid.get(), same.get()));
    EXPECT_EQ(CFHash(uuid.get()), CFHash(same.get()));
    EXPECT_EQ(CFUUIDGetTypeID(), CFGetTypeID(uuid.get()));
}

TEST(UUID, TextThatIsNone) {
    for (const std::u16string_view text :
         {u"", u"68753A44", u"68753A44-4D6F-1226-9C60-0050E4C0006", u"68753A44-4D6F-1226-9C60-0050E4C000670",
          u"68753A4404D6F-1226-9C60-0050E4C00067", u"68753A44-4D6F-1226-9C60-0050E4C0006G",
          u"68753A4\uFF14-4D6F-1226-9C60-0050E4C00067", u"6-753A44-4D6F-1226-9C60-0050E4C00067"}) {
        EXPECT_EQ(nullptr, UUIDOf(text)) << testing::PrintToString(std::u16string(text));
    }
    EXPECT_EQ(nullptr, CFUUIDCreateFromString(nullptr, nullptr));
}

TEST(UUID, NewOnesDiffer) {
    std::set<std::u16string> texts;
    for (int i = 0; i < 1000; ++i) {
        const Owned<CFUUIDRef> uuid(CFUUIDCreate(nullptr));
        ASSERT_NE(nullptr, uuid);
        const std::u16string text = TextOfUUID(uuid.get());
        EXPECT_EQ(u'4', text[14]) << "version";
        EXPECT_NE(std::u16string_view::npos, std::u16string_view(u"89AB").find(text[19])) << "variant";
        texts.insert(text);
    }
    EXPECT_EQ(1000U, texts.size());
}

TEST(UUID, RandomBytesInPieces) {
    static int sCalls;
    sCalls = 0;
    const RandomAs random([](void* outBytes, std::size_t inByteCount, unsigned) -> long {
        if (++sCalls % 2 == 1) {
            errno = EINTR;
            return -1;
        }
        const std::size_t count = std::min<std::size_t>(inByteCount, 5);
        std::memset(outBytes, 0xFF, count);
        return static_cast<long>(count);
    });
    const Owned<CFUUIDRef> uuid(CFUUIDCreate(nullptr));
    ASSERT_NE(nullptr, uuid);
    EXPECT_EQ(u"FFFFFFFF-FFFF-4FFF-BFFF-FFFFFFFFFFFF", TextOfUUID(uuid.get()));
    EXPECT_EQ(8, sCalls);
}

TEST(UUID, WithoutRandomBytes) {
    const RandomAs random([](void*, std::size_t, unsigned) -> long {
        errno = ENOSYS;
        return -1;
    });
    EXPECT_EQ(nullptr, CFUUIDCreate(nullptr));
}

TEST(UUID, WithoutMemory) {
    EXPECT_EQ(2, faults::FailEachCall([] {
                  const Owned<CFUUIDRef> uuid(CFUUIDCreate(nullptr));
                  return uuid != nullptr && OwnedString(CFUUIDCreateString(nullptr, uuid.get())) != nullptr;
              }));
}

TEST(Date, Now) {
    using namespace std::chrono;
    const auto now = [] { return duration<double>(system_clock::now().time_since_epoch()).count(); };
    const double before = now();
    const CFAbsoluteTime time = CFAbsoluteTimeGetCurrent() + kCFAbsoluteTimeIntervalSince1970;
    const double after = now();
    // A double of this size counts by a tenth of a microsecond.
    EXPECT_LE(before - 1e-5, time);
    EXPECT_GE(after + 1e-5, time);
}

TEST(Date, Objects) {
    const Owned<CFDateRef> early(CFDateCreate(nullptr, -10.5));
    const Owned<CFDateRef> late(CFDateCreate(nullptr, 20));
    const Owned<CFDateRef> same(CFDateCreate(nullptr, 20));
    EXPECT_EQ(-10.5, CFDateGetAbsoluteTime(early.get()));
    EXPECT_EQ(30.5, CFDateGetTimeIntervalSinceDate(late.get(), early.get()));
    EXPECT_EQ(kCFCompareLessThan, CFDateCompare(early.get(), late.get(), nullptr));
    EXPECT_EQ(kCFCompareGreaterThan, CFDateCompare(late.get(), early.get(), nullptr));
    EXPECT_EQ(kCFCompareEqualTo, CFDateCompare(late.get(), same.get(), nullptr));
    EXPECT_TRUE(CFEqual(late.get(), same.get()));
    EXPECT_EQ(CFHash(late.get()), CFHash(same.get()));
    EXPECT_FALSE(CFEqual(late.get(), early.get()));
    EXPECT_FALSE(CFEqual(late.get(), CFSTR("20")));
    EXPECT_EQ(CFDateGetTypeID(), CFGetTypeID(late.get()));
    EXPECT_EQ(1, faults::FailEachCall([] { return Owned<CFDateRef>(CFDateCreate(nullptr, 1)) != nullptr; }));
}
