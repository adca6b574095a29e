#include "BundleMaker.h"
#include "support/FailEach.h"
#include "support/FailingMalloc.h"
#include "support/FailingNew.h"

#include <bundles/PropertyList.h>
#include <corefoundation/CF_test_access.h>
#include <gtest/gtest.h>
#include <plist/plist.h>
#include <pthread.h>
#include <toolbox/CFArray.h>
#include <toolbox/CFData.h>
#include <toolbox/CFDate.h>
#include <toolbox/CFNumber.h>

#include <cstdlib>

using namespace test_bundles;
using toolbox::corefoundation::IsModestPropertyList;
using toolbox::corefoundation::kMaxContainerDepth;
using toolbox::corefoundation::kMaxContainers;
using toolbox::corefoundation::kMaxPropertyListBytes;
using toolbox::corefoundation::LiveObjectsForTesting;

namespace {

OwnedRef<CFTypeRef> Read(std::string_view inBytes) {
    return toolbox::corefoundation::ReadPropertyList(inBytes).Release();
}

// The same list in binary, by its library.
std::string BinaryOf(const std::string& inXML) {
    plist_t node = nullptr;
    plist_from_xml(inXML.data(), static_cast<UInt32>(inXML.size()), &node);
    char* bytes = nullptr;
    UInt32 byteCount = 0;
    plist_to_bin(node, &bytes, &byteCount);
    const std::string binary(bytes, byteCount);
    std::free(bytes);
    plist_free(node);
    return binary;
}

std::string Repeated(std::string_view inText, std::size_t inCount) {
    std::string text;
    for (std::size_t i = 0; i < inCount; ++i)
        text += inText;
    return text;
}

// Objects of a binary list, each given with its marker; references have one byte.
std::string BinaryOfObjects(const std::vector<std::string>& inObjects, UInt8 inTop = 0) {
    std::string bytes = "bplist00";
    std::string offsets;
    for (const std::string& object : inObjects) {
        offsets += static_cast<char>(bytes.size() >> 8);
        offsets += static_cast<char>(bytes.size());
        bytes += object;
    }
    const std::size_t table = bytes.size();
    bytes += offsets;
    bytes += std::string(6, '\0') + '\2' + '\1';
    bytes += std::string(7, '\0') + static_cast<char>(inObjects.size());
    bytes += std::string(7, '\0') + static_cast<char>(inTop);
    bytes += std::string(6, '\0') + static_cast<char>(table >> 8) + static_cast<char>(table);
    return bytes;
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::size_t kStackBytes = 4 * 256 * 1024;  // instrumented frames are larger
#else
constexpr std::size_t kStackBytes = 256 * 1024;
#endif

CFTypeRef At(CFTypeRef inDictionary, CFStringRef inKey) {
    return CFDictionaryGetValue(static_cast<CFDictionaryRef>(inDictionary), inKey);
}

const std::string kEveryType = XMLList(
    "<dict><key>string</key><string>text &amp; \xC3\xA9</string><key>whole</key><integer>-42</integer>"
    "<key>real</key><real>2.5</real><key>yes</key><true/><key>no</key><false/>"
    "<key>data</key><data>AQIDBA==</data><key>date</key><date>2001-01-02T00:00:01Z</date>"
    "<key>array</key><array><string>a</string><array/><dict/></array><key>empty</key><string></string></"
    "dict>");

void ExpectEveryType(CFTypeRef inList) {
    ASSERT_NE(nullptr, inList);
    ASSERT_EQ(CFDictionaryGetTypeID(), CFGetTypeID(inList));
    EXPECT_EQ(9, CFDictionaryGetCount(static_cast<CFDictionaryRef>(inList)));
    EXPECT_EQ("text & \xC3\xA9", UTF8Of(static_cast<CFStringRef>(At(inList, CFSTR("string")))));
    EXPECT_EQ("", UTF8Of(static_cast<CFStringRef>(At(inList, CFSTR("empty")))));
    SInt64 whole = 0;
    EXPECT_TRUE(
        CFNumberGetValue(static_cast<CFNumberRef>(At(inList, CFSTR("whole"))), kCFNumberSInt64Type, &whole));
    EXPECT_EQ(-42, whole);
    double real = 0;
    EXPECT_TRUE(
        CFNumberGetValue(static_cast<CFNumberRef>(At(inList, CFSTR("real"))), kCFNumberFloat64Type, &real));
    EXPECT_EQ(2.5, real);
    EXPECT_EQ(kCFBooleanTrue, At(inList, CFSTR("yes")));
    EXPECT_EQ(kCFBooleanFalse, At(inList, CFSTR("no")));
    const auto data = static_cast<CFDataRef>(At(inList, CFSTR("data")));
    ASSERT_EQ(4, CFDataGetLength(data));
    EXPECT_EQ(4, CFDataGetBytePtr(data)[3]);
    const auto date = static_cast<CFDateRef>(At(inList, CFSTR("date")));
    ASSERT_EQ(CFDateGetTypeID(), CFGetTypeID(date));
    EXPECT_EQ(86401.0, CFDateGetAbsoluteTime(date));
    const auto array = static_cast<CFArrayRef>(At(inList, CFSTR("array")));
    ASSERT_EQ(3, CFArrayGetCount(array));
    EXPECT_EQ("a", UTF8Of(static_cast<CFStringRef>(CFArrayGetValueAtIndex(array, 0))));
    EXPECT_EQ(CFArrayGetTypeID(), CFGetTypeID(CFArrayGetValueAtIndex(array, 1)));
    EXPECT_EQ(CFDictionaryGetTypeID(), CFGetTypeID(CFArrayGetValueAtIndex(array, 2)));
}

}  // namespace

class PropertyList : public testing::Test {
  protected:
    ~PropertyList() override { EXPECT_EQ(mLiveBefore, LiveObjectsForTesting()); }
    const SInt64 mLiveBefore = LiveObjectsForTesting();
};

TEST_F(PropertyList, XML) {
    ExpectEveryType(Read(kEveryType));
}

TEST_F(PropertyList, Binary) {
    const std::string binary = BinaryOf(kEveryType);
    ASSERT_EQ("bplist00", binary.substr(0, 8));
    ExpectEveryType(Read(binary));
}

TEST_F(PropertyList, AnyTypeAtTheTop) {
    for (const auto& [text, type] :
         {std::pair<const char*, CFTypeID>{"<string>a</string>", CFStringGetTypeID()},
          {"<array/>", CFArrayGetTypeID()},
          {"<true/>", CFBooleanGetTypeID()},
          {"<integer>1</integer>", CFNumberGetTypeID()}}) {
        const auto xml = Read(XMLList(text));
        ASSERT_NE(nullptr, xml.ref) << text;
        EXPECT_EQ(type, CFGetTypeID(xml));
        const auto binary = Read(BinaryOf(XMLList(text)));
        ASSERT_NE(nullptr, binary.ref) << text;
        EXPECT_EQ(type, CFGetTypeID(binary));
    }
}

TEST_F(PropertyList, WhatIsNone) {
    for (const std::string& bytes :
         {std::string(), std::string("a"), std::string("<"), std::string("<plist>"),
          std::string("<plist></plist>"), std::string("<?xml?>"), std::string("<html><body/></html>"),
          XMLList("<dict><key>a<string>b</string></dict>"), XMLList("<array>"), XMLList("<unknown/>"),
          XMLList("<string>&nosuch;</string>"), std::string("{ a = b; }"), std::string("bplist00"),
          std::string("bplist00") + std::string(32, '\0'), std::string("bplist00") + std::string(32, '\xFF'),
          std::string(5000, '\0')})
        EXPECT_EQ(nullptr, Read(bytes).ref) << bytes;
}

TEST_F(PropertyList, TextThatIsNotUTF8) {
    EXPECT_EQ(nullptr, Read(XMLList("<string>\xFF\xFE</string>")).ref);
    EXPECT_EQ(nullptr, Read(XMLList("<array><string>a</string><string>\xC3</string></array>")).ref);
    EXPECT_EQ(nullptr, Read(XMLList("<dict><key>\xFF</key><true/></dict>")).ref);
}

TEST_F(PropertyList, CutOffAnywhere) {
    const std::string binary = BinaryOf(kEveryType);
    for (std::size_t byteCount = 0; byteCount < binary.size(); ++byteCount)
        EXPECT_EQ(nullptr, Read(binary.substr(0, byteCount)).ref) << byteCount;
    for (std::size_t byteCount = 0; byteCount < kEveryType.size(); ++byteCount)
        Read(kEveryType.substr(0, byteCount));
}

TEST_F(PropertyList, ValuesWithoutATypeHereAreLeftOut) {
    // An array of an identifier and a truth value.
    const auto list = Read(BinaryOfObjects({"\xA2\x01\x02", std::string("\x80\x07"), "\x09"}));
    ASSERT_NE(nullptr, list.ref);
    ASSERT_EQ(1, CFArrayGetCount(static_cast<CFArrayRef>(list.ref)));
    EXPECT_EQ(kCFBooleanTrue, CFArrayGetValueAtIndex(static_cast<CFArrayRef>(list.ref), 0));
}

TEST_F(PropertyList, SharedObjectsAreReadForEachReference) {
    const auto list = Read(BinaryOfObjects({"\xA2\x01\x01",
                                            "\x51"
                                            "a"}));
    ASSERT_NE(nullptr, list.ref);
    EXPECT_EQ(2, CFArrayGetCount(static_cast<CFArrayRef>(list.ref)));
}

TEST_F(PropertyList, ObjectsThatContainThemselves) {
    EXPECT_EQ(nullptr, Read(BinaryOfObjects({"\xA1" + std::string(1, '\0')})).ref);
    EXPECT_EQ(nullptr, Read(BinaryOfObjects({"\xA1\x01", "\xA1" + std::string(1, '\0')})).ref);
    EXPECT_EQ(nullptr, Read(BinaryOfObjects({"\xD1\x01" + std::string(1, '\0'),
                                             "\x51"
                                             "a"}))
                           .ref);
}

// Each array holds the next one many times: a file of few bytes that would unpack to billions of values.
TEST_F(PropertyList, ExplosionsAreRefused) {
    std::vector<std::string> objects;
    for (char next = 1; next <= 8; ++next)
        objects.push_back("\xAE" + std::string(14, next));
    objects.push_back(
        "\x51"
        "a");
    const std::string bytes = BinaryOfObjects(objects);
    EXPECT_LT(bytes.size(), 300U);
    EXPECT_FALSE(IsModestPropertyList(bytes));
    EXPECT_EQ(nullptr, Read(bytes).ref);
    // The same with one long string that everybody refers to.
    std::string longString = "\x5F\x11\x40";
    longString += '\0';
    longString += std::string(0x4000, 'x');
    std::vector<std::string> texts = {"\xAF\x10\xFF" + std::string(0xFF, 1),
                                      "\xAF\x10\xFF" + std::string(0xFF, 2), longString};
    EXPECT_FALSE(IsModestPropertyList(BinaryOfObjects(texts)));
    EXPECT_TRUE(IsModestPropertyList(BinaryOfObjects(texts, 1)));
}

TEST_F(PropertyList, BinaryReferencesOutside) {
    EXPECT_EQ(nullptr, Read(BinaryOfObjects({"\xA1\x01"})).ref);
    EXPECT_EQ(nullptr, Read(BinaryOfObjects({"\x09"}, 1)).ref);
    EXPECT_EQ(nullptr, Read(BinaryOfObjects({"\x5E"
                                             "abc"}))
                           .ref)
        << "longer than the rest";
    EXPECT_EQ(nullptr, Read(BinaryOfObjects({"\x6F\x13\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"})).ref);
    EXPECT_EQ(nullptr, Read(BinaryOfObjects({"\xDF\x13\x80\x00\x00\x00\x00\x00\x00\x00"})).ref);
    EXPECT_EQ(nullptr, Read(BinaryOfObjects({"\xAF"})).ref);
    EXPECT_EQ(nullptr, Read(BinaryOfObjects({"\xAF\x20"})).ref) << "a count that is no integer";
    EXPECT_EQ(nullptr, Read(BinaryOfObjects({"\x1F"})).ref);
    EXPECT_EQ(nullptr, Read(BinaryOfObjects({"\xF0"})).ref);
}

TEST_F(PropertyList, KeysThatAreNoText) {
    for (const std::string& key : {std::string("\x52"
                                               "a\0",
                                               3),
                                   std::string("\x61\0\0", 3), std::string("\x51\0", 2)})
        EXPECT_EQ(nullptr, Read(BinaryOfObjects({"\xD1\x01\x02", key, "\x09"})).ref);
    EXPECT_EQ(nullptr, Read(XMLList(std::string("<dict><key>a\0b</key><true/></dict>", 34))).ref);
    EXPECT_EQ(nullptr, Read(XMLList("<dict><key>a&#0;b</key><true/></dict>")).ref);
    for (const char* key : {"\x10\x07", "\x09", "\x41x", "\xA0", "\xD0"})
        EXPECT_EQ(nullptr, Read(BinaryOfObjects({"\xD1\x01\x02", key, "\x09"})).ref);
    EXPECT_NE(nullptr, Read(BinaryOfObjects({"\xD1\x01\x02",
                                             "\x51"
                                             "a",
                                             "\x09"}))
                           .ref);
    for (const char* key : {"<integer>1</integer>", "<true/>", "<string>a</string>", "<dict/>", "<array/>",
                            "<data/>", "<date/>", "<real>1</real>", "<key/>"})
        Read(XMLList("<dict>" + std::string(key) + "<true/></dict>"));
}

TEST_F(PropertyList, DepthHasALimit) {
    const auto nested = [](std::size_t inDepth) {
        return XMLList(Repeated("<array>", inDepth) + Repeated("</array>", inDepth));
    };
    EXPECT_NE(nullptr, Read(nested(kMaxContainerDepth)).ref);
    EXPECT_EQ(nullptr, Read(nested(kMaxContainerDepth + 1)).ref);
    EXPECT_NE(nullptr, Read(BinaryOf(nested(kMaxContainerDepth))).ref);
    EXPECT_EQ(nullptr, Read(BinaryOf(nested(kMaxContainerDepth + 1))).ref);
}

TEST_F(PropertyList, SizeHasLimits) {
    EXPECT_NE(nullptr, Read(XMLList("<array>" + Repeated("<dict/>", kMaxContainers - 1) + "</array>")).ref);
    EXPECT_EQ(nullptr, Read(XMLList("<array>" + Repeated("<dict/>", kMaxContainers) + "</array>")).ref);
    const std::size_t frame = XMLList("<string></string>").size();
    const auto text = [&](std::size_t inByteCount) {
        return XMLList("<string>" + std::string(inByteCount - frame, 'x') + "</string>");
    };
    EXPECT_NE(nullptr, Read(text(kMaxPropertyListBytes)).ref);
    EXPECT_EQ(nullptr, Read(text(kMaxPropertyListBytes + 1)).ref);
}

// Threads of hosts may have little stack; the deepest lists that are looked at at all must do with 256 KB.
TEST_F(PropertyList, DoesWithLittleStack) {
    static const std::string sDeepXML =
        XMLList(Repeated("<array>", kMaxContainers) + Repeated("</array>", kMaxContainers));
    static const std::string sDeepBinary =
        BinaryOf(XMLList(Repeated("<array>", kMaxContainerDepth) + Repeated("</array>", kMaxContainerDepth)));
    static bool sIsXMLRefused;
    static bool sIsBinaryRead;
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    ASSERT_EQ(0, pthread_attr_setstacksize(&attributes, kStackBytes));
    pthread_t thread = {};
    ASSERT_EQ(0, pthread_create(
                     &thread, &attributes,
                     [](void*) -> void* {
                         sIsXMLRefused = Read(sDeepXML).ref == nullptr;
                         sIsBinaryRead = Read(sDeepBinary).ref != nullptr;
                         return nullptr;
                     },
                     nullptr));
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
    EXPECT_TRUE(sIsXMLRefused);
    EXPECT_TRUE(sIsBinaryRead);
}

TEST_F(PropertyList, FailsCleanlyWithoutMemory) {
    const auto body = [&](const auto& inUnderFault) {
        bool isRead = false;
        const bool failed = inUnderFault([&] { isRead = Read(kEveryType).ref != nullptr; });
        EXPECT_EQ(!failed, isRead);
        EXPECT_EQ(mLiveBefore, LiveObjectsForTesting());
    };
    EXPECT_GT(support::FailEach<support::FailingMalloc>(body, support::Countdown::kForever), 15);

    // What only gains speed by memory does without it, so that not every failure is felt.
    int thrownCount = 0;
    support::FailEach<test_files::FailingNew>([&](const auto& inUnderFault) {
        bool isRead = false;
        const bool failed = inUnderFault([&] {
            try {
                isRead = Read(kEveryType).ref != nullptr;
            } catch (const std::bad_alloc&) {
                ++thrownCount;
            }
        });
        EXPECT_TRUE(isRead || failed);
        EXPECT_EQ(mLiveBefore, LiveObjectsForTesting());
    });
    EXPECT_GT(thrownCount, 5);
}
