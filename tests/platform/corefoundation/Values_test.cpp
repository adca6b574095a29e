// Numbers, truth values, data, arrays and dictionaries.
#include "platform/bundles/BundleMaker.h"
#include "support/FailingNew.h"

#include <corefoundation/CF_test_access.h>
#include <corefoundation/Values.h>
#include <gtest/gtest.h>
#include <os/SystemCalls_test_access.h>

#include <cmath>
#include <limits>

using namespace test_bundles;
using toolbox::corefoundation::Entry;
using toolbox::corefoundation::LiveObjectsForTesting;
using toolbox::corefoundation::NewArray;
using toolbox::corefoundation::NewData;
using toolbox::corefoundation::NewDictionary;

namespace {

template <class Value>
OwnedRef<CFNumberRef> NumberOf(CFNumberType inType, Value inValue) {
    return CFNumberCreate(kCFAllocatorDefault, inType, &inValue);
}

template <class Value>
struct Got {
    bool isExact;
    Value value;
    bool operator==(const Got&) const = default;
};
template <class Value>
Got<Value> Get(CFNumberRef inNumber, CFNumberType inType) {
    Value value = 77;
    const bool isExact = CFNumberGetValue(inNumber, inType, &value);
    return {isExact, value};
}

toolbox::corefoundation::Owned<CFTypeRef> OwnedValue(CFTypeRef inValue) {
    return toolbox::corefoundation::Owned<CFTypeRef>(CFRetain(inValue));
}
Entry EntryOf(CFStringRef inKey, CFTypeRef inValue) {
    return {toolbox::corefoundation::Owned<CFStringRef>(static_cast<CFStringRef>(CFRetain(inKey))),
            OwnedValue(inValue)};
}

}  // namespace

TEST(CFNumber, KeepsEveryType) {
    EXPECT_EQ((Got<SInt64>{true, -128}),
              Get<SInt64>(NumberOf<SInt8>(kCFNumberSInt8Type, -128), kCFNumberSInt64Type));
    EXPECT_EQ((Got<SInt64>{true, -32768}),
              Get<SInt64>(NumberOf<SInt16>(kCFNumberSInt16Type, -32768), kCFNumberSInt64Type));
    EXPECT_EQ((Got<SInt64>{true, INT32_MIN}),
              Get<SInt64>(NumberOf<SInt32>(kCFNumberSInt32Type, INT32_MIN), kCFNumberSInt64Type));
    EXPECT_EQ((Got<SInt64>{true, INT64_MIN}),
              Get<SInt64>(NumberOf<SInt64>(kCFNumberSInt64Type, INT64_MIN), kCFNumberSInt64Type));
    EXPECT_EQ((Got<float>{true, 0.1F}),
              Get<float>(NumberOf<float>(kCFNumberFloat32Type, 0.1F), kCFNumberFloat32Type));
    EXPECT_EQ((Got<double>{true, 0.1}),
              Get<double>(NumberOf<double>(kCFNumberFloat64Type, 0.1), kCFNumberFloat64Type));
    const auto whole = NumberOf<SInt8>(kCFNumberSInt8Type, 1);
    const auto real = NumberOf<float>(kCFNumberFloat32Type, 1);
    EXPECT_EQ(kCFNumberSInt64Type, CFNumberGetType(whole));
    EXPECT_EQ(kCFNumberFloat64Type, CFNumberGetType(real));
    EXPECT_FALSE(CFNumberIsFloatType(whole));
    EXPECT_TRUE(CFNumberIsFloatType(real));
    EXPECT_EQ(CFNumberGetTypeID(), CFGetTypeID(whole));
}

TEST(CFNumber, TellsWhatIsLost) {
    const auto big = NumberOf<SInt64>(kCFNumberSInt64Type, 300);
    EXPECT_EQ((Got<SInt8>{false, 127}), Get<SInt8>(big, kCFNumberSInt8Type));
    EXPECT_EQ((Got<SInt16>{true, 300}), Get<SInt16>(big, kCFNumberSInt16Type));
    const auto low = NumberOf<SInt64>(kCFNumberSInt64Type, INT64_MIN);
    EXPECT_EQ((Got<SInt32>{false, INT32_MIN}), Get<SInt32>(low, kCFNumberSInt32Type));
    EXPECT_EQ((Got<double>{true, -0x1p63}), Get<double>(low, kCFNumberFloat64Type));
    const auto high = NumberOf<SInt64>(kCFNumberSInt64Type, INT64_MAX);
    EXPECT_EQ((Got<double>{false, 0x1p63}), Get<double>(high, kCFNumberFloat64Type));
    const auto odd = NumberOf<SInt64>(kCFNumberSInt64Type, 16777217);
    EXPECT_EQ((Got<float>{false, 16777216}), Get<float>(odd, kCFNumberFloat32Type));
    const auto real = NumberOf<double>(kCFNumberFloat64Type, -1.75);
    EXPECT_EQ((Got<SInt8>{false, -1}), Get<SInt8>(real, kCFNumberSInt8Type));
    EXPECT_EQ((Got<float>{true, -1.75F}), Get<float>(real, kCFNumberFloat32Type));
    const auto huge = NumberOf<double>(kCFNumberFloat64Type, 1e300);
    EXPECT_EQ((Got<SInt64>{false, INT64_MAX}), Get<SInt64>(huge, kCFNumberSInt64Type));
    EXPECT_EQ((Got<SInt64>{false, INT64_MIN}),
              Get<SInt64>(NumberOf<double>(kCFNumberFloat64Type, -1e300), kCFNumberSInt64Type));
    EXPECT_EQ((Got<SInt64>{false, INT64_MAX}),
              Get<SInt64>(NumberOf<double>(kCFNumberFloat64Type, 0x1p63), kCFNumberSInt64Type));
    EXPECT_EQ((Got<SInt64>{true, INT64_MIN}),
              Get<SInt64>(NumberOf<double>(kCFNumberFloat64Type, -0x1p63), kCFNumberSInt64Type));
}

TEST(CFNumber, WhatIsNoNumber) {
    const auto nothing = NumberOf<double>(kCFNumberFloat64Type, std::numeric_limits<double>::quiet_NaN());
    EXPECT_EQ((Got<SInt32>{false, 0}), Get<SInt32>(nothing, kCFNumberSInt32Type));
    double value = 0;
    EXPECT_TRUE(CFNumberGetValue(nothing, kCFNumberFloat64Type, &value));
    EXPECT_TRUE(std::isnan(value));
    const auto endless = NumberOf<double>(kCFNumberFloat64Type, std::numeric_limits<double>::infinity());
    EXPECT_EQ((Got<SInt32>{false, INT32_MAX}), Get<SInt32>(endless, kCFNumberSInt32Type));
}

TEST(CFNumber, UnknownTypes) {
    const SInt64 value = 5;
    EXPECT_EQ(nullptr, CFNumberCreate(kCFAllocatorDefault, 0, &value));
    EXPECT_EQ(nullptr, CFNumberCreate(kCFAllocatorDefault, 7, &value));
    EXPECT_EQ(nullptr, CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt64Type, nullptr));
    const auto number = NumberOf<SInt64>(kCFNumberSInt64Type, 5);
    EXPECT_EQ((Got<SInt64>{false, 77}), Get<SInt64>(number, 7));
}

TEST(CFNumber, EqualByValue) {
    const auto one = NumberOf<SInt8>(kCFNumberSInt8Type, 1);
    const auto whole = NumberOf<double>(kCFNumberFloat64Type, 1);
    const auto half = NumberOf<double>(kCFNumberFloat64Type, 1.5);
    const auto highest = NumberOf<SInt64>(kCFNumberSInt64Type, INT64_MAX);
    const auto above = NumberOf<double>(kCFNumberFloat64Type, 0x1p63);
    EXPECT_TRUE(CFEqual(one, NumberOf<SInt64>(kCFNumberSInt64Type, 1)));
    EXPECT_TRUE(CFEqual(one, whole));
    EXPECT_TRUE(CFEqual(whole, one));
    EXPECT_EQ(CFHash(one), CFHash(whole));
    EXPECT_TRUE(CFEqual(half, NumberOf<float>(kCFNumberFloat32Type, 1.5F)));
    EXPECT_FALSE(CFEqual(one, half));
    EXPECT_FALSE(CFEqual(highest, above));
    EXPECT_FALSE(CFEqual(one, kCFBooleanTrue));
}

TEST(Values, EqualByContents) {
    const UInt8 bytes[] = {1, 2, 3};
    const auto data = NewData(bytes);
    EXPECT_TRUE(CFEqual(data.Get(), NewData(bytes).Get()));
    EXPECT_EQ(CFHash(data.Get()), CFHash(NewData(bytes).Get()));
    EXPECT_FALSE(CFEqual(data.Get(), NewData({bytes, 2}).Get()));
    EXPECT_FALSE(CFEqual(data.Get(), NewData({bytes + 1, 2}).Get()));
    const auto arrayOf = [](SInt64 inFirst, SInt64 inSecond) {
        toolbox::corefoundation::Owned<CFTypeRef> values[] = {
            OwnedValue(NumberOf<SInt64>(kCFNumberSInt64Type, inFirst)),
            OwnedValue(NumberOf<SInt64>(kCFNumberSInt64Type, inSecond))};
        return NewArray(values);
    };
    EXPECT_TRUE(CFEqual(arrayOf(1, 2).Get(), arrayOf(1, 2).Get()));
    EXPECT_EQ(CFHash(arrayOf(1, 2).Get()), CFHash(arrayOf(1, 2).Get()));
    EXPECT_FALSE(CFEqual(arrayOf(1, 2).Get(), arrayOf(2, 1).Get()));
    EXPECT_FALSE(CFEqual(arrayOf(1, 2).Get(), NewArray({}).Get()));
    const auto dictionaryOf = [](CFStringRef inKey, CFTypeRef inValue) {
        Entry entries[] = {EntryOf(inKey, inValue)};
        return NewDictionary(entries);
    };
    const auto dictionary = dictionaryOf(CFSTR("a"), kCFBooleanTrue);
    EXPECT_TRUE(CFEqual(dictionary.Get(), dictionaryOf(StringOf(u"a").get(), kCFBooleanTrue).Get()));
    EXPECT_EQ(CFHash(dictionary.Get()), CFHash(dictionaryOf(CFSTR("a"), kCFBooleanTrue).Get()));
    EXPECT_FALSE(CFEqual(dictionary.Get(), dictionaryOf(CFSTR("b"), kCFBooleanTrue).Get()));
    EXPECT_FALSE(CFEqual(dictionary.Get(), dictionaryOf(CFSTR("a"), kCFBooleanFalse).Get()));
    EXPECT_FALSE(CFEqual(dictionary.Get(), NewDictionary({}).Get()));
}

TEST(CFBoolean, AreConstants) {
    EXPECT_TRUE(CFBooleanGetValue(kCFBooleanTrue));
    EXPECT_FALSE(CFBooleanGetValue(kCFBooleanFalse));
    EXPECT_EQ(CFBooleanGetTypeID(), CFGetTypeID(kCFBooleanTrue));
    const SInt64 before = LiveObjectsForTesting();
    for (int i = 0; i < 1000; ++i)
        CFRelease(kCFBooleanTrue);
    EXPECT_TRUE(CFBooleanGetValue(kCFBooleanTrue));
    EXPECT_EQ(before, LiveObjectsForTesting());
    for (int i = 0; i < 1000; ++i)
        CFRetain(kCFBooleanTrue);
}

TEST(CFData, HoldsBytes) {
    const UInt8 bytes[] = {1, 2, 0, 255};
    const auto data = NewData(bytes);
    ASSERT_EQ(4, CFDataGetLength(data.Get()));
    EXPECT_TRUE(std::equal(bytes, bytes + 4, CFDataGetBytePtr(data.Get())));
    EXPECT_EQ(CFDataGetTypeID(), CFGetTypeID(data.Get()));
    const auto none = NewData({});
    EXPECT_EQ(0, CFDataGetLength(none.Get()));
    EXPECT_NE(nullptr, CFDataGetBytePtr(none.Get()));
}

TEST(CFArray, HoldsItsValues) {
    const SInt64 before = LiveObjectsForTesting();
    {
        toolbox::corefoundation::Owned<CFTypeRef> values[] = {OwnedValue(CFSTR("a")),
                                                              OwnedValue(kCFBooleanTrue)};
        const auto array = NewArray(values);
        EXPECT_EQ(2, CFArrayGetCount(array.Get()));
        EXPECT_EQ("a", UTF8Of(static_cast<CFStringRef>(CFArrayGetValueAtIndex(array.Get(), 0))));
        EXPECT_EQ(kCFBooleanTrue, CFArrayGetValueAtIndex(array.Get(), 1));
        EXPECT_EQ(nullptr, CFArrayGetValueAtIndex(array.Get(), 2));
        EXPECT_EQ(nullptr, CFArrayGetValueAtIndex(array.Get(), -1));
        EXPECT_EQ(CFArrayGetTypeID(), CFGetTypeID(array.Get()));
        const auto none = NewArray({});
        EXPECT_EQ(0, CFArrayGetCount(none.Get()));
        EXPECT_EQ(nullptr, CFArrayGetValueAtIndex(none.Get(), 0));
    }
    EXPECT_EQ(before, LiveObjectsForTesting());
}

TEST(CFDictionary, FindsByKey) {
    const SInt64 before = LiveObjectsForTesting();
    {
        std::vector<Entry> entries;
        entries.push_back(EntryOf(CFSTR("b"), kCFBooleanTrue));
        entries.push_back(EntryOf(CFSTR("c"), CFSTR("value")));
        entries.push_back(EntryOf(CFSTR("a"), kCFBooleanFalse));
        entries.push_back(EntryOf(CFSTR("b"), kCFBooleanFalse));
        const auto dictionary = NewDictionary(entries);
        EXPECT_EQ(3, CFDictionaryGetCount(dictionary.Get()));
        EXPECT_EQ(kCFBooleanTrue, CFDictionaryGetValue(dictionary.Get(), CFSTR("b"))) << "the first of two";
        EXPECT_EQ(kCFBooleanFalse, CFDictionaryGetValue(dictionary.Get(), StringOf(u"a").get()));
        for (CFStringRef missing : {CFSTR(""), CFSTR("A"), CFSTR("aa"), CFSTR("d")}) {
            EXPECT_EQ(nullptr, CFDictionaryGetValue(dictionary.Get(), missing));
            EXPECT_FALSE(CFDictionaryContainsKey(dictionary.Get(), missing));
        }
        EXPECT_TRUE(CFDictionaryContainsKey(dictionary.Get(), CFSTR("c")));
        const void* keys[3];
        const void* values[3];
        CFDictionaryGetKeysAndValues(dictionary.Get(), keys, values);
        EXPECT_EQ("a", UTF8Of(static_cast<CFStringRef>(keys[0])));
        EXPECT_EQ("c", UTF8Of(static_cast<CFStringRef>(keys[2])));
        EXPECT_EQ(kCFBooleanTrue, values[1]);
        CFDictionaryGetKeysAndValues(dictionary.Get(), nullptr, nullptr);
        EXPECT_EQ(CFDictionaryGetTypeID(), CFGetTypeID(dictionary.Get()));
        const auto none = NewDictionary({});
        EXPECT_EQ(0, CFDictionaryGetCount(none.Get()));
        EXPECT_EQ(nullptr, CFDictionaryGetValue(none.Get(), CFSTR("a")));
    }
    EXPECT_EQ(before, LiveObjectsForTesting());
}

TEST(CFDictionary, WithoutMemoryTheValuesStayWithTheirOwner) {
    const SInt64 before = LiveObjectsForTesting();
    auto& calls = toolbox::os::CallsForTesting();
    const auto realCalls = calls;
    {
        std::vector<Entry> entries;
        entries.push_back(EntryOf(CFSTR("a"), NumberOf<SInt64>(kCFNumberSInt64Type, 1)));
        std::vector<toolbox::corefoundation::Owned<CFTypeRef>> values;
        values.push_back(OwnedValue(NumberOf<SInt64>(kCFNumberSInt64Type, 2)));
        calls.malloc = [](std::size_t) -> void* { return nullptr; };
        EXPECT_FALSE(NewDictionary(entries));
        EXPECT_FALSE(NewArray(values));
        EXPECT_FALSE(NewData({}));
        EXPECT_EQ(nullptr, NumberOf<SInt64>(kCFNumberSInt64Type, 1).ref);
        EXPECT_TRUE(entries[0].value);
        EXPECT_TRUE(values[0]);
        calls = realCalls;
    }
    EXPECT_EQ(before, LiveObjectsForTesting());
}
