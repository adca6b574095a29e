#include "ResourcesTest.h"
#include "memory/MacMemory_test_access.h"
#include "os/BigEndian.h"
#include "os/SystemCalls_test_access.h"

#include <toolbox/Resources.h>

#include <algorithm>
#include <ctime>

namespace {

using namespace test_resources;

// Over the real file system alone: once a file is open, no more of it is asked for than its bytes.
TEST_F(ResourcesTest, ByID) {
    ASSERT_GT(
        Open(MakeFile("f", {ImageOf(kText, 1, "one"), ImageOf(kText, -2, "two"), ImageOf(kOther, 1, "")})),
        0);
    const Handle one = GetResource(kText, 1);
    EXPECT_EQ(noErr, ResError());
    EXPECT_EQ("one", TextOf(one));
    EXPECT_NE(0, HGetState(one) & kHandleResourceBit);
    EXPECT_EQ(one, GetResource(kText, 1)) << "the same handle again";
    EXPECT_EQ(one, Get1Resource(kText, 1));
    EXPECT_EQ("two", TextOf(GetResource(kText, -2)));
    EXPECT_EQ("", TextOf(GetResource(kOther, 1)));
}

TEST_F(ResourcesTest, MissingIDAndMissingType) {
    ASSERT_GT(Open(MakeFile("f", {ImageOf(kText, 1, "one")})), 0);
    for (const auto find : {GetResource, Get1Resource}) {
        EXPECT_EQ(nullptr, find(kText, 2));
        EXPECT_EQ(resNotFound, ResError());
        EXPECT_EQ(nullptr, find(kOther, 1));
        EXPECT_EQ(noErr, ResError()) << "no such type at all";
    }
}

TEST_F(ResourcesTest, ByName) {
    ASSERT_GT(Open(MakeFile("f", {ImageOf(kText, 1, "one", "Name"), ImageOf(kText, 2, "two", "N\x8Eme"),
                                  ImageOf(kText, 3, "none")})),
              0);
    for (const auto find : {GetNamedResource, Get1NamedResource}) {
        EXPECT_EQ("one", TextOf(find(kText, PascalText("name"))));
        EXPECT_EQ("two", TextOf(find(kText, PascalText("n\x8EME"))));
        EXPECT_EQ(nullptr, find(kText, PascalText("Nam")));
        EXPECT_EQ(resNotFound, ResError());
        EXPECT_EQ(nullptr, find(kText, PascalText("")));
        EXPECT_EQ(nullptr, find(kText, nullptr));
        EXPECT_EQ(nullptr, find(kOther, PascalText("name")));
        EXPECT_EQ(noErr, ResError());
    }
}

TEST_F(ResourcesTest, ByIndex) {
    ASSERT_GT(Open(MakeFile("old", {ImageOf(kText, 1, "old one"), ImageOf(kOther, 7, "")})), 0);
    ASSERT_GT(Open(MakeFile("new", {ImageOf(kText, 5, "new five"), ImageOf(kText, 1, "new one")})), 0);
    EXPECT_EQ(3, CountResources(kText));
    EXPECT_EQ(2, Count1Resources(kText));
    EXPECT_EQ(0, CountResources(FourChars("none")));
    EXPECT_EQ("new five", TextOf(GetIndResource(kText, 1)));
    EXPECT_EQ("new one", TextOf(GetIndResource(kText, 2)));
    EXPECT_EQ("old one", TextOf(GetIndResource(kText, 3)));
    EXPECT_EQ("new one", TextOf(Get1IndResource(kText, 2)));
    for (const SInt16 index : {SInt16{0}, SInt16{-1}, SInt16{4}, SInt16{-32768}}) {
        EXPECT_EQ(nullptr, GetIndResource(kText, index)) << index;
        EXPECT_EQ(resNotFound, ResError());
    }
    EXPECT_EQ(nullptr, Get1IndResource(kText, 3));
}

TEST_F(ResourcesTest, Types) {
    ASSERT_GT(Open(MakeFile("old", {ImageOf(kText, 1, ""), ImageOf(kOther, 7, "")})), 0);
    ASSERT_GT(Open(MakeFile("new", {ImageOf(FourChars("last"), 5, ""), ImageOf(kText, 1, "")})), 0);
    EXPECT_EQ(3, CountTypes());
    EXPECT_EQ(2, Count1Types());
    ResType type = 0;
    GetIndType(&type, 3);
    EXPECT_EQ(kOther, type);
    Get1IndType(&type, 2);
    EXPECT_EQ(kText, type);
    Get1IndType(&type, 3);
    EXPECT_EQ(0U, type);
    EXPECT_EQ(resNotFound, ResError());
    GetIndType(&type, 0);
    EXPECT_EQ(resNotFound, ResError());
    GetIndType(nullptr, 1);
    EXPECT_EQ(paramErr, ResError());
}

std::vector<ResType> TypesByIndex(SInt16 (*inCount)(), void (*inGet)(ResType*, SInt16)) {
    std::vector<ResType> types(static_cast<std::size_t>(inCount()));
    for (std::size_t i = 0; i < types.size(); ++i)
        inGet(&types[i], static_cast<SInt16>(i + 1));
    return types;
}

using Types = std::vector<ResType>;
constexpr ResType kNew = FourChars("newt");

// What is known of the types follows every change of files and resources.
TEST_F(ResourcesTest, TypesFollowTheFiles) {
    const SInt16 old = Open(MakeFile("old", {ImageOf(kText, 1, "")}));
    EXPECT_EQ(Types{kText}, TypesByIndex(CountTypes, GetIndType));
    EXPECT_EQ(1, CountResources(kText));
    const SInt16 recent = Open(MakeFile("new", {ImageOf(kOther, 5, "")}));
    EXPECT_EQ((Types{kOther, kText}), TypesByIndex(CountTypes, GetIndType));
    EXPECT_EQ(Types{kOther}, TypesByIndex(Count1Types, Get1IndType));
    EXPECT_EQ(0, Count1Resources(kText));
    UseResFile(old);
    EXPECT_EQ(Types{kText}, TypesByIndex(Count1Types, Get1IndType));
    EXPECT_EQ(1, Count1Resources(kText));
    UseResFile(0);
    EXPECT_EQ(Types(), TypesByIndex(Count1Types, Get1IndType));
    EXPECT_EQ(0, Count1Resources(kText));
    CloseResFile(recent);
    EXPECT_EQ(Types{kText}, TypesByIndex(CountTypes, GetIndType));
    EXPECT_EQ(0, CountResources(kOther));
    CloseResFile(old);
    EXPECT_EQ(Types(), TypesByIndex(CountTypes, GetIndType));
}

TEST_F(ResourcesTest, TypesFollowTheResources) {
    Open(MakeFile("f", {ImageOf(kText, 1, "one"), ImageOf(kOther, 5, "other")}));
    EXPECT_EQ(1, Count1Resources(kText));
    EXPECT_EQ(2, CountTypes());
    AddResource(NewText("new"), kNew, 1, nullptr);
    AddResource(NewText("two"), kText, 2, nullptr);
    EXPECT_EQ((Types{kText, kOther, kNew}), TypesByIndex(CountTypes, GetIndType));
    EXPECT_EQ((Types{kText, kOther, kNew}), TypesByIndex(Count1Types, Get1IndType));
    EXPECT_EQ(2, Count1Resources(kText));
    EXPECT_EQ(1, Count1Resources(kNew));
    EXPECT_EQ("two", TextOf(Get1IndResource(kText, 2)));
    const Handle first = Get1IndResource(kText, 1);
    RemoveResource(first);
    DisposeHandle(first);
    EXPECT_EQ("two", TextOf(Get1IndResource(kText, 1)));
    EXPECT_EQ(1, CountResources(kText));
    const Handle second = Get1IndResource(kText, 1);
    RemoveResource(second);
    DisposeHandle(second);
    EXPECT_EQ(nullptr, Get1IndResource(kText, 1));
    EXPECT_EQ(0, CountResources(kText));
    EXPECT_EQ((Types{kOther, kNew}), TypesByIndex(CountTypes, GetIndType));
    AddResource(NewText("last"), kText, 3, nullptr);
    EXPECT_EQ((Types{kOther, kNew, kText}), TypesByIndex(Count1Types, Get1IndType));
    EXPECT_EQ("last", TextOf(GetIndResource(kText, 1)));
}

// Two lists of one type, with another type between: the second moves in front when the first one's only
// resource goes.
TEST_F(ResourcesTest, TypeInTwoLists) {
    std::vector<UInt8> fork =
        ForkOf({ImageOf(kText, 1, "one"), ImageOf(kOther, 2, "two"), ImageOf(kNew, 3, "three")});
    const std::size_t map = toolbox::os::Load32(fork.data() + 4);
    toolbox::os::Store32(fork.data() + map + 28 + 2 + 2 * 8, kText);
    Open(MakeFileOf("f", fork));
    EXPECT_EQ((Types{kText, kOther}), TypesByIndex(Count1Types, Get1IndType));
    EXPECT_EQ("three", TextOf(Get1IndResource(kText, 2)));
    const Handle first = Get1IndResource(kText, 1);
    RemoveResource(first);
    DisposeHandle(first);
    EXPECT_EQ((Types{kOther, kText}), TypesByIndex(Count1Types, Get1IndType));
    EXPECT_EQ("three", TextOf(Get1IndResource(kText, 1)));
}

// A fork with as many types as a map can tell of, each with one reference, which is the first type's entry
// itself: the ids lie in its type's first half.
std::vector<UInt8> ForkOfManyTypes(std::size_t inTypeCount) {
    using toolbox::os::Store16;
    using toolbox::os::Store32;
    constexpr std::size_t kMap = 16;
    const std::size_t mapBytes = 28 + 2 + 12 * (inTypeCount + 1);
    std::vector<UInt8> fork(kMap + mapBytes);
    Store32(fork.data(), kMap);
    Store32(fork.data() + 4, kMap);
    Store32(fork.data() + 12, static_cast<UInt32>(mapBytes));
    UInt8* const types = fork.data() + kMap + 28;
    Store16(fork.data() + kMap + 24, 28);
    Store16(types, static_cast<UInt16>(inTypeCount - 1));
    for (std::size_t i = 0; i < inTypeCount; ++i) {
        UInt8* const entry = types + 2 + 8 * i;
        Store32(entry, static_cast<UInt32>(i) << 16 | 0xFFFF);
        Store16(entry + 6, 2);
    }
    return fork;
}

// Of the processor's time, for others may use it too. Far from what it takes, and as far from what it takes
// when each call goes through all of them.
class Deadline {
  public:
    bool IsOver() const { return std::clock() > mEnd; }

  private:
    std::clock_t mEnd = std::clock() + 10 * CLOCKS_PER_SEC;
};

TEST_F(ResourcesTest, EachOfAllTypes) {
    constexpr std::size_t kTypeCount = 65'535;
    ASSERT_GT(Open(MakeFileOf("f", ForkOfManyTypes(kTypeCount))), 0);
    EXPECT_EQ(32'767, CountTypes()) << "the greatest that it can tell";
    const Deadline deadline;
    for (SInt32 index = 1; index <= 32'767; ++index) {
        ResType type = 0;
        GetIndType(&type, static_cast<SInt16>(index));
        ASSERT_EQ(static_cast<UInt32>(index - 1) << 16 | 0xFFFF, type);
        Get1IndType(&type, static_cast<SInt16>(index));
        ASSERT_EQ(static_cast<UInt32>(index - 1) << 16 | 0xFFFF, type);
        ASSERT_FALSE(deadline.IsOver()) << index;
    }
}

TEST_F(ResourcesTest, EachOfManyResources) {
    std::vector<Image> images;
    for (SInt32 id = 0; id < 65'535; ++id)
        images.push_back(ImageOf(kText, static_cast<SInt16>(id), ""));
    ASSERT_GT(Open(MakeFile("f", images)), 0);
    SetResLoad(false);
    const Deadline deadline;
    for (int round = 0; round < 3; ++round) {
        for (SInt16 index = 1; index < 32'767; ++index) {
            ASSERT_NE(nullptr, GetIndResource(kText, index));
            ASSERT_EQ(32'767, Count1Resources(kText));
            ASSERT_FALSE(deadline.IsOver()) << index;
        }
    }
}

TEST_F(ResourcesTest, UniqueIDs) {
    ASSERT_GT(
        Open(MakeFile("old", {ImageOf(kText, 128, ""), ImageOf(kText, 129, ""), ImageOf(kText, 131, "")})),
        0);
    ASSERT_GT(Open(MakeFile("new", {ImageOf(kText, 128, ""), ImageOf(kText, 5, ""), ImageOf(kText, -3, "")})),
              0);
    EXPECT_EQ(130, UniqueID(kText));
    EXPECT_EQ(129, Unique1ID(kText));
    EXPECT_EQ(128, UniqueID(kOther));
}

TEST_F(ResourcesTest, NoIDLeft) {
    std::vector<Image> images;
    for (SInt32 id = 128; id <= 32767; ++id)
        images.push_back(ImageOf(kText, static_cast<SInt16>(id), ""));
    ASSERT_GT(Open(MakeFile("f", images)), 0);
    EXPECT_EQ(0, UniqueID(kText));
}

TEST_F(ResourcesTest, Info) {
    ASSERT_GT(Open(MakeFile("f", {ImageOf(kText, 1, "one", "Name", resProtected | 1)})), 0);
    const Handle handle = GetResource(kText, 1);
    SInt16 id = 0;
    ResType type = 0;
    Str255 name = {};
    GetResInfo(handle, &id, &type, name);
    EXPECT_EQ(1, id);
    EXPECT_EQ(kText, type);
    EXPECT_EQ("Name", TextOf(name));
    GetResInfo(handle, nullptr, nullptr, nullptr);
    EXPECT_EQ(noErr, ResError());
    EXPECT_EQ(resProtected | 1, GetResAttrs(handle));
    EXPECT_EQ(3, GetResourceSizeOnDisk(handle));
}

TEST_F(ResourcesTest, HandlesThatAreNoResource) {
    ASSERT_GT(Open(MakeFile("f", {ImageOf(kText, 1, "one")})), 0);
    const Handle plain = NewText("plain");
    for (const Handle handle : {Handle{nullptr}, plain}) {
        SInt16 id = 77;
        EXPECT_EQ(0, GetResAttrs(handle));
        EXPECT_EQ(resNotFound, ResError());
        GetResInfo(handle, &id, nullptr, nullptr);
        EXPECT_EQ(resNotFound, ResError());
        EXPECT_EQ(77, id);
        EXPECT_EQ(-1, GetResourceSizeOnDisk(handle));
        EXPECT_EQ(resNotFound, ResError());
        EXPECT_EQ(-1, HomeResFile(handle));
        EXPECT_EQ(resNotFound, ResError());
        for (const auto call : {ReleaseResource, DetachResource, LoadResource, ChangedResource,
                                RemoveResource, WriteResource}) {
            call(handle);
            EXPECT_EQ(resNotFound, ResError());
        }
        SetResInfo(handle, 1, nullptr);
        EXPECT_EQ(resNotFound, ResError());
        SetResAttrs(handle, 0);
        EXPECT_EQ(resNotFound, ResError());
    }
    EXPECT_EQ("plain", TextOf(plain));
    DisposeHandle(plain);
}

TEST_F(ResourcesTest, Released) {
    ASSERT_GT(Open(MakeFile("f", {ImageOf(kText, 1, "one")})), 0);
    const UInt64 before = GetLiveHandleCount();
    const Handle handle = GetResource(kText, 1);
    ReleaseResource(handle);
    EXPECT_EQ(noErr, ResError());
    EXPECT_EQ(before, GetLiveHandleCount());
    EXPECT_EQ("one", TextOf(GetResource(kText, 1)));
}

TEST_F(ResourcesTest, Detached) {
    ASSERT_GT(Open(MakeFile("f", {ImageOf(kText, 1, "one")})), 0);
    const Handle detached = GetResource(kText, 1);
    DetachResource(detached);
    EXPECT_EQ(noErr, ResError());
    EXPECT_EQ(0, HGetState(detached));
    GetResAttrs(detached);
    EXPECT_EQ(resNotFound, ResError());
    const Handle again = GetResource(kText, 1);
    EXPECT_NE(detached, again);
    EXPECT_EQ("one", TextOf(again));
    DisposeHandle(detached);
}

// A program that disposes of a resource's handle is wrong; what it gets next must not be taken for the
// resource.
TEST_F(ResourcesTest, DisposedOfBehindTheManagersBack) {
    ASSERT_GT(Open(MakeFile("f", {ImageOf(kText, 1, "one")})), 0);
    const Handle handle = GetResource(kText, 1);
    DisposeHandle(handle);
    const Handle plain = NewText("plain");
    ASSERT_EQ(handle, plain) << "the block is expected to be reused";
    GetResAttrs(plain);
    EXPECT_EQ(resNotFound, ResError());
    EXPECT_EQ("one", TextOf(GetResource(kText, 1)));
    EXPECT_EQ("plain", TextOf(plain));
    DisposeHandle(plain);
}

TEST_F(ResourcesTest, WithoutLoading) {
    ASSERT_GT(Open(MakeFile("f", {ImageOf(kText, 1, "one")})), 0);
    SetResLoad(false);
    const Handle handle = GetResource(kText, 1);
    EXPECT_EQ(noErr, ResError());
    EXPECT_EQ("(empty)", TextOf(handle));
    EXPECT_EQ(0, GetResAttrs(handle));
    EXPECT_EQ(noErr, ResError());
    EXPECT_EQ(3, GetResourceSizeOnDisk(handle));
    LoadResource(handle);
    EXPECT_EQ("one", TextOf(handle));
    LoadResource(handle);
    EXPECT_EQ(noErr, ResError()) << "twice";
    EmptyHandle(handle);
    SetResLoad(true);
    EXPECT_EQ(handle, GetResource(kText, 1));
    EXPECT_EQ("one", TextOf(handle)) << "purged and read again";
}

TEST_F(ResourcesTest, AttributesOfTheHandle) {
    ASSERT_GT(Open(MakeFile(
                  "f", {ImageOf(kText, 1, "p", "", resPurgeable), ImageOf(kText, 2, "l", "", resLocked)})),
              0);
    EXPECT_EQ(kHandleResourceBit | kHandlePurgeableBit, static_cast<UInt8>(HGetState(GetResource(kText, 1))));
    EXPECT_EQ(kHandleResourceBit | kHandleLockedBit, static_cast<UInt8>(HGetState(GetResource(kText, 2))));
}

TEST_F(ResourcesTest, Preloaded) {
    const UInt64 before = GetLiveHandleCount();
    const FSRef file = MakeFile("f", {ImageOf(kText, 1, "one", "", resPreload), ImageOf(kText, 2, "two")});
    const SInt16 refNum = Open(file);
    EXPECT_EQ(before + 1, GetLiveHandleCount());
    CloseResFile(refNum);
    SetResLoad(false);
    Open(file);
    EXPECT_EQ(before, GetLiveHandleCount());
}

// Of references to the same data, no more are read at once than the data would be if it were each one's own.
TEST_F(ResourcesTest, PreloadedOverAndOver) {
    using toolbox::os::Load32;
    using toolbox::os::Store32;
    constexpr std::size_t kDataBytes = 1'000'000;
    constexpr std::size_t kReferenceCount = 500;
    std::vector<Image> images = {ImageOf(kText, 0, std::string(kDataBytes, 'x'), "", resPreload)};
    for (std::size_t i = 1; i < kReferenceCount; ++i)
        images.push_back(ImageOf(kText, static_cast<SInt16>(i), "", "", resPreload));
    std::vector<UInt8> fork = ForkOf(images);
    const std::size_t references = Load32(fork.data() + 4) + 28 + 2 + 8;
    for (std::size_t i = 0; i < kReferenceCount; ++i)
        Store32(fork.data() + references + 12 * i + 4, UInt32{resPreload} << 24);
    const FSRef file = MakeFileOf("f", fork);
    const UInt64 before = GetMemoryInUse();
    Open(file);
    EXPECT_GE(GetMemoryInUse() - before, kDataBytes);
    EXPECT_LT(GetMemoryInUse() - before, 2 * kDataBytes);
    SetMemoryLimit(GetMemoryInUse() + 2 * kDataBytes);
    EXPECT_EQ(std::string(kDataBytes, 'x'), TextOf(GetResource(kText, kReferenceCount - 1)));
    SetMemoryLimit(0);
}

// In whatever order the data lies, all is read when each has its own.
TEST_F(ResourcesTest, PreloadedInAnyOrder) {
    using toolbox::os::Load32;
    using toolbox::os::Store32;
    constexpr std::size_t kCount = 5;
    std::vector<Image> images;
    for (std::size_t i = 0; i < kCount; ++i)
        images.push_back(ImageOf(kText, static_cast<SInt16>(i), std::string(i, 'x'), "", resPreload));
    for (const bool isBackwards : {false, true}) {
        std::vector<UInt8> fork = ForkOf(images);
        UInt8* const references = fork.data() + Load32(fork.data() + 4) + 28 + 2 + 8;
        if (isBackwards)
            for (std::size_t i = 0; i < kCount / 2; ++i)
                std::swap_ranges(references + 12 * i, references + 12 * i + 12,
                                 references + 12 * (kCount - 1 - i));
        const FSRef file = MakeFileOf("f", fork);
        const UInt64 before = GetLiveHandleCount();
        const SInt16 refNum = Open(file);
        EXPECT_EQ(before + kCount, GetLiveHandleCount()) << isBackwards;
        CloseResFile(refNum);
    }
}

TEST_F(ResourcesTest, DataThatIsNotThere) {
    using toolbox::os::Store32;
    for (const UInt32 length : {4U, 0xFFFFFFFFU, 0x7FFFFFFFU, 0x80000000U}) {
        std::vector<UInt8> fork = ForkOf({ImageOf(kText, 1, "one"), ImageOf(kText, 2, "two")});
        Store32(fork.data() + 256 + 7, length);
        const SInt16 refNum = Open(MakeFileOf("f", fork));
        EXPECT_EQ(nullptr, GetResource(kText, 2)) << length;
        EXPECT_EQ(mapReadErr, ResError());
        EXPECT_EQ("one", TextOf(GetResource(kText, 1))) << "the rest is good";
        SetResLoad(false);
        const Handle handle = GetResource(kText, 2);
        SetResLoad(true);
        EXPECT_EQ(-1, GetResourceSizeOnDisk(handle));
        EXPECT_EQ(mapReadErr, ResError());
        LoadResource(handle);
        EXPECT_EQ(mapReadErr, ResError());
        EXPECT_EQ("(empty)", TextOf(handle));
        CloseResFile(refNum);
    }
}

TEST_F(ResourcesTest, DataOffsetOutside) {
    std::vector<UInt8> fork = ForkOf({ImageOf(kText, 1, "one")});
    for (const UInt32 offset : {4U, 7U, 0xFFFFFFU}) {
        toolbox::os::Store32(fork.data() + fork.size() - 8, offset);
        const SInt16 refNum = Open(MakeFileOf("f", fork));
        EXPECT_EQ(nullptr, GetResource(kText, 1));
        EXPECT_EQ(mapReadErr, ResError());
        CloseResFile(refNum);
    }
}

// The data of others is never touched: what is read is the header, the map, and one resource.
TEST_F(ResourcesTest, OneNameAmongTenThousand) {
    std::vector<Image> images;
    for (int i = 0; i < 10'000; ++i)
        images.push_back(
            ImageOf(kText, static_cast<SInt16>(i), std::string(1000, 'x'), "n" + std::to_string(i)));
    images[7654].bytes = {'h', 'e', 'r', 'e'};
    const std::vector<UInt8> fork = ForkOf(images);
    const FSRef file = MakeFileOf("f", fork);
    static std::size_t sBytesRead;
    sBytesRead = 0;
    auto& calls = toolbox::os::CallsForTesting();
    const auto saved = calls;
    calls.pread = [](int inDescriptor, void* outBytes, std::size_t inByteCount, off_t inOffset) {
        sBytesRead += inByteCount;
        return pread(inDescriptor, outBytes, inByteCount, inOffset);
    };
    ASSERT_GT(Open(file), 0);
    EXPECT_EQ("here", TextOf(GetNamedResource(kText, PascalText("N7654"))));
    calls = saved;
    const UInt32 mapBytes = toolbox::os::Load32(fork.data() + 12);
    EXPECT_EQ(16U + mapBytes + 4 + 4, sBytesRead);
}

TEST_F(ResourcesTest, WithoutMemory) {
    ASSERT_GT(Open(MakeFile("f", {ImageOf(kText, 1, std::string(1000, 'x'))})), 0);
    const UInt64 handles = GetLiveHandleCount();
    SetMemoryLimit(GetMemoryInUse() + 999);
    EXPECT_EQ(nullptr, GetResource(kText, 1));
    EXPECT_EQ(memFullErr, ResError());
    EXPECT_EQ(handles, GetLiveHandleCount());
    SetMemoryLimit(0);
    EXPECT_EQ(1000U, TextOf(GetResource(kText, 1)).size());
}

}  // namespace
