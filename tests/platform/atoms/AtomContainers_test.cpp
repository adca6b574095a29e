#include "os/BigEndian.h"
#include "support/FailEach.h"
#include "support/FailingNew.h"

#include <gtest/gtest.h>
#include <toolbox/AtomContainers.h>

#include <cstring>
#include <limits>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr QTAtomType kOne = FourChars("one ");
constexpr QTAtomType kTwo = FourChars("two ");
constexpr std::size_t kRoot = 12;
constexpr std::size_t kHeader = 20;

class AtomContainersTest : public testing::Test {
  protected:
    AtomContainersTest() { EXPECT_EQ(noErr, QTNewAtomContainer(&mContainer)); }
    ~AtomContainersTest() override {
        EXPECT_EQ(noErr, QTDisposeAtomContainer(mContainer));
        EXPECT_EQ(mLiveHandles, GetLiveHandleCount());
    }

    QTAtom Add(QTAtom inParent, QTAtomType inType, const std::string& inData = "", QTAtomID inID = 0,
               SInt16 inIndex = 0) {
        QTAtom atom = -1;
        EXPECT_EQ(noErr, QTInsertChild(mContainer, inParent, inType, inID, inIndex,
                                       static_cast<SInt32>(inData.size()), inData.data(), &atom));
        return atom;
    }
    OSErr TryAdd(QTAtom inParent, QTAtomType inType, const std::string& inData = "", QTAtomID inID = 0,
                 SInt16 inIndex = 0) {
        const Bytes before = All();
        QTAtom atom = -1;
        const OSErr error = QTInsertChild(mContainer, inParent, inType, inID, inIndex,
                                          static_cast<SInt32>(inData.size()), inData.data(), &atom);
        if (error != noErr) {
            EXPECT_EQ(0, atom);
            EXPECT_EQ(before, All()) << "unchanged on failure";
        }
        return error;
    }
    std::string DataOf(QTAtom inAtom) const {
        SInt32 byteCount = -1;
        Ptr data = nullptr;
        EXPECT_EQ(noErr, QTGetAtomDataPtr(mContainer, inAtom, &byteCount, &data));
        return std::string(data, static_cast<std::size_t>(byteCount));
    }
    QTAtom ByIndex(QTAtom inParent, QTAtomType inType, SInt16 inIndex, QTAtomID* outID = nullptr) const {
        return QTFindChildByIndex(mContainer, inParent, inType, inIndex, outID);
    }
    // The data of the children of a type in order, with a bar after each.
    std::string Children(QTAtom inParent, QTAtomType inType) const {
        std::string text;
        for (SInt16 i = 1; i <= QTCountChildrenOfType(mContainer, inParent, inType); ++i)
            text += DataOf(ByIndex(inParent, inType, i)) + '|';
        return text;
    }
    Bytes All() const {
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(*mContainer);
        return Bytes(bytes, bytes + GetHandleSize(mContainer));
    }
    std::uint8_t* At(std::size_t inOffset) { return reinterpret_cast<std::uint8_t*>(*mContainer) + inOffset; }
    void PutSize(QTAtom inAtom, std::uint32_t inSize) {
        toolbox::os::Store32(At(static_cast<std::size_t>(inAtom)), inSize);
    }
    void PutChildCount(QTAtom inAtom, std::uint16_t inCount) {
        toolbox::os::Store16(At(static_cast<std::size_t>(inAtom)) + 14, inCount);
    }

    UInt64 mLiveHandles = GetLiveHandleCount();
    QTAtomContainer mContainer = nullptr;
};

TEST_F(AtomContainersTest, LayoutOfAnEmptyContainer) {
    EXPECT_EQ((Bytes{0, 0, 0, 0,  0,   0,   0,   0,   0, 0, 0, 0,  //
                     0, 0, 0, 20, 's', 'e', 'a', 'n', 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0}),
              All());
    EXPECT_EQ(0, QTCountChildrenOfType(mContainer, kParentAtomIsContainer, kOne));
    EXPECT_EQ("", DataOf(kParentAtomIsContainer));
}

TEST_F(AtomContainersTest, LayoutOfATree) {
    const QTAtom parent = Add(kParentAtomIsContainer, kOne, "", 7);
    EXPECT_EQ(32, parent);
    EXPECT_EQ(52, Add(parent, kTwo, "data", 258));
    EXPECT_EQ((Bytes{0,   0,   0,   0,  0,   0,   0,   0,   0, 0, 0, 0,                          //
                     0,   0,   0,   64, 's', 'e', 'a', 'n', 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 0,  //
                     0,   0,   0,   44, 'o', 'n', 'e', ' ', 0, 0, 0, 7, 0, 0, 0, 1, 0, 0, 0, 0,  //
                     0,   0,   0,   24, 't', 'w', 'o', ' ', 0, 0, 1, 2, 0, 0, 0, 0, 0, 0, 0, 0,  //
                     'd', 'a', 't', 'a'}),
              All());
}

TEST_F(AtomContainersTest, NullAndWhatIsNoContainer) {
    EXPECT_EQ(paramErr, QTNewAtomContainer(nullptr));
    EXPECT_EQ(noErr, QTDisposeAtomContainer(nullptr));
    QTAtom atom = -1;
    EXPECT_EQ(invalidAtomContainerErr, QTInsertChild(nullptr, 0, kOne, 0, 0, 0, nullptr, &atom));
    EXPECT_EQ(0, atom);
    EXPECT_EQ(0, QTCountChildrenOfType(nullptr, 0, kOne));
    QTAtomID id = -1;
    EXPECT_EQ(0, QTFindChildByIndex(nullptr, 0, kOne, 1, &id));
    EXPECT_EQ(0, id);
    SInt16 index = -1;
    EXPECT_EQ(0, QTFindChildByID(nullptr, 0, kOne, 1, &index));
    EXPECT_EQ(0, index);
    EXPECT_EQ(invalidAtomContainerErr, QTGetAtomTypeAndID(nullptr, 0, nullptr, nullptr));
    EXPECT_EQ(invalidAtomContainerErr, QTGetAtomDataPtr(nullptr, 0, nullptr, nullptr));
    EXPECT_EQ(invalidAtomContainerErr, QTLockContainer(nullptr));
    EXPECT_EQ(invalidAtomContainerErr, QTUnlockContainer(nullptr));

    EmptyHandle(mContainer);
    EXPECT_EQ(invalidAtomContainerErr, QTGetAtomTypeAndID(mContainer, 0, nullptr, nullptr)) << "no block";
    const Handle disposed = NewHandle(40);
    DisposeHandle(disposed);
    EXPECT_EQ(invalidAtomContainerErr, QTGetAtomTypeAndID(disposed, 0, nullptr, nullptr));
    EXPECT_EQ(memWZErr, QTDisposeAtomContainer(disposed));
}

TEST_F(AtomContainersTest, RootIsLookedAt) {
    const Bytes good = All();
    const auto check = [&](Bytes inBytes) {
        EXPECT_EQ(noErr, PtrToXHand(inBytes.data(), mContainer, static_cast<Size>(inBytes.size())));
        return QTGetAtomTypeAndID(mContainer, kParentAtomIsContainer, nullptr, nullptr);
    };
    EXPECT_EQ(noErr, check(good));
    for (std::size_t byteCount = 0; byteCount < good.size(); ++byteCount)
        EXPECT_EQ(invalidAtomContainerErr, check(Bytes(good.begin(), good.begin() + byteCount))) << byteCount;
    Bytes bytes = good;
    bytes.push_back(0);
    EXPECT_EQ(invalidAtomContainerErr, check(bytes)) << "bytes behind the root";
    bytes = good;
    bytes[kRoot + 3] = 19;
    EXPECT_EQ(invalidAtomContainerErr, check(bytes)) << "less than a header";
    bytes[kRoot + 3] = 21;
    EXPECT_EQ(invalidAtomContainerErr, check(bytes)) << "past the end";
    bytes = good;
    bytes[kRoot] = 0xFF;
    EXPECT_EQ(invalidAtomContainerErr, check(bytes));
    bytes = good;
    bytes[kRoot + 4] = 'x';
    EXPECT_EQ(invalidAtomContainerErr, check(bytes)) << "another type";
}

TEST_F(AtomContainersTest, PlacesAmongSiblingsOfTheType) {
    Add(0, kOne, "b");
    Add(0, kTwo, "x");
    Add(0, kOne, "d");
    Add(0, kOne, "a", 0, 1);
    Add(0, kOne, "c", 0, 3);
    Add(0, kOne, "e", 0, 5);
    Add(0, kTwo, "y", 0, 2);
    EXPECT_EQ("a|b|c|d|e|", Children(0, kOne));
    EXPECT_EQ("x|y|", Children(0, kTwo));
    EXPECT_EQ(atomIndexInvalidErr, TryAdd(0, kTwo, "", 0, 4));
    EXPECT_EQ(atomIndexInvalidErr, TryAdd(0, kTwo, "", 0, -1));
    EXPECT_EQ(atomIndexInvalidErr, TryAdd(0, kTwo, "", 0, std::numeric_limits<SInt16>::max()));
    EXPECT_EQ(atomIndexInvalidErr, TryAdd(0, FourChars("none"), "", 0, 2));
    EXPECT_EQ(noErr, TryAdd(0, FourChars("none"), "", 0, 1));
}

TEST_F(AtomContainersTest, IDsAreUniqueAmongSiblingsOfTheType) {
    Add(0, kOne, "1");
    Add(0, kOne, "3", 3);
    Add(0, kOne, "2");
    Add(0, kOne, "4");
    Add(0, kOne, "-", -5);
    Add(0, kOne, "max", std::numeric_limits<QTAtomID>::max());
    Add(0, kOne, "5");
    Add(0, kTwo, "other", 3);
    for (const QTAtomID id : {1, 2, 3, 4, 5})
        EXPECT_EQ(std::to_string(id), DataOf(QTFindChildByID(mContainer, 0, kOne, id, nullptr)));
    for (const QTAtomID id : {1, 3, 5, -5, std::numeric_limits<QTAtomID>::max()})
        EXPECT_EQ(duplicateAtomTypeAndIDErr, TryAdd(0, kOne, "again", id)) << id;
    EXPECT_EQ(duplicateAtomTypeAndIDErr, TryAdd(0, kTwo, "again", 3));
    const QTAtom parent = ByIndex(0, kTwo, 1);
    EXPECT_EQ(cannotBeLeafAtomErr, TryAdd(parent, kOne, "child", 3)) << "it has data";
}

TEST_F(AtomContainersTest, RefusesWhatCannotBeAdded) {
    EXPECT_EQ(invalidAtomTypeErr, TryAdd(0, 0));
    EXPECT_EQ(invalidAtomErr, TryAdd(1, kOne));
    EXPECT_EQ(invalidAtomErr, TryAdd(-1, kOne));
    EXPECT_EQ(paramErr, QTInsertChild(mContainer, 0, kOne, 0, 0, -1, "", nullptr));
    EXPECT_EQ(paramErr, QTInsertChild(mContainer, 0, kOne, 0, 0, 1, nullptr, nullptr));
    EXPECT_EQ(noErr, QTInsertChild(mContainer, 0, kOne, 0, 0, 0, nullptr, nullptr));
    char data = 0;
    EXPECT_EQ(memFullErr,
              QTInsertChild(mContainer, 0, kOne, 0, 0, std::numeric_limits<SInt32>::max(), &data, nullptr));
    HLock(mContainer);
    EXPECT_EQ(memLockedErr, TryAdd(0, kOne));
    HUnlock(mContainer);
    EXPECT_EQ(noErr, TryAdd(0, kOne));
}

TEST_F(AtomContainersTest, ADeepTreeGrowsInTheMiddle) {
    const QTAtom first = Add(0, kOne);
    Add(0, kTwo, "after");
    const QTAtom second = Add(first, kOne);
    Add(first, kTwo, "beside");
    const QTAtom third = Add(second, kOne);
    Add(third, kTwo, "deep");
    Add(third, kTwo, "deeper", 0, 1);
    Add(third, kOne);
    EXPECT_EQ("deeper|deep|", Children(third, kTwo));
    EXPECT_EQ(1, QTCountChildrenOfType(mContainer, third, kOne));
    EXPECT_EQ("beside|", Children(first, kTwo));
    EXPECT_EQ("after|", Children(0, kTwo));
    EXPECT_EQ(first, ByIndex(0, kOne, 1));
    EXPECT_EQ(second, ByIndex(first, kOne, 1));
    EXPECT_EQ(third, ByIndex(second, kOne, 1));
    EXPECT_EQ(first, static_cast<QTAtom>(kRoot + kHeader));
    // The root's own offset names it as well as 0 does.
    EXPECT_EQ(first, ByIndex(static_cast<QTAtom>(kRoot), kOne, 1));
}

TEST_F(AtomContainersTest, FindsByIndexAndID) {
    Add(0, kOne, "a", 10);
    Add(0, kTwo, "x", 10);
    const QTAtom second = Add(0, kOne, "b", 20);
    QTAtomID id = -1;
    EXPECT_EQ(second, ByIndex(0, kOne, 2, &id));
    EXPECT_EQ(20, id);
    SInt16 index = -1;
    EXPECT_EQ(second, QTFindChildByID(mContainer, 0, kOne, 20, &index));
    EXPECT_EQ(2, index);
    for (const SInt16 wrong : {SInt16{-1}, SInt16{0}, SInt16{3}}) {
        EXPECT_EQ(0, ByIndex(0, kOne, wrong, &id)) << wrong;
        EXPECT_EQ(0, id);
    }
    EXPECT_EQ(0, QTFindChildByID(mContainer, 0, kTwo, 20, &index));
    EXPECT_EQ(0, index);
    EXPECT_EQ(0, ByIndex(second, kOne, 1, &id)) << "no children";
    EXPECT_EQ(0, ByIndex(1, kOne, 1, &id)) << "no atom";
    EXPECT_EQ(0, QTFindChildByID(mContainer, 1, kOne, 1, &index));

    QTAtomType type = 0;
    EXPECT_EQ(noErr, QTGetAtomTypeAndID(mContainer, second, &type, &id));
    EXPECT_EQ(kOne, type);
    EXPECT_EQ(20, id);
    EXPECT_EQ(noErr, QTGetAtomTypeAndID(mContainer, kParentAtomIsContainer, &type, &id));
    EXPECT_EQ(FourChars("sean"), type);
    EXPECT_EQ(1, id);
}

TEST_F(AtomContainersTest, DataIsOfLeaves) {
    const QTAtom parent = Add(0, kOne);
    EXPECT_EQ("", DataOf(parent)) << "neither children nor data yet";
    Add(parent, kOne, std::string("\0two\0", 5));
    EXPECT_EQ(std::string("\0two\0", 5), DataOf(ByIndex(parent, kOne, 1)));
    SInt32 byteCount = -1;
    Ptr data = *mContainer;
    EXPECT_EQ(notLeafAtomErr, QTGetAtomDataPtr(mContainer, parent, &byteCount, &data));
    EXPECT_EQ(0, byteCount);
    EXPECT_EQ(nullptr, data);
    EXPECT_EQ(notLeafAtomErr, QTGetAtomDataPtr(mContainer, parent, nullptr, nullptr));
    EXPECT_EQ(noErr, QTGetAtomDataPtr(mContainer, ByIndex(parent, kOne, 1), nullptr, nullptr));
    EXPECT_EQ(cannotBeLeafAtomErr, TryAdd(ByIndex(parent, kOne, 1), kOne));
}

TEST_F(AtomContainersTest, BytesWithinDataAreNoAtoms) {
    QTAtomContainer other = nullptr;
    ASSERT_EQ(noErr, QTNewAtomContainer(&other));
    const std::string looksLikeOne(*other + kRoot, kHeader);
    QTDisposeAtomContainer(other);
    const QTAtom atom = Add(0, kOne, looksLikeOne);
    for (QTAtom inside = atom + 1; inside < GetHandleSize(mContainer) + 30; ++inside)
        EXPECT_EQ(invalidAtomErr, QTGetAtomTypeAndID(mContainer, inside, nullptr, nullptr)) << inside;
}

TEST_F(AtomContainersTest, SizesThatMakeNoSense) {
    const QTAtom first = Add(0, kOne, "first");
    const QTAtom second = Add(0, kOne, "second");
    const QTAtom third = Add(0, kOne, "third");
    for (const std::uint32_t size : {0U, 19U, 52U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
        PutSize(second, size);
        EXPECT_EQ(1, QTCountChildrenOfType(mContainer, 0, kOne)) << size;
        EXPECT_EQ("first", DataOf(first));
        for (const QTAtom lost : {second, third}) {
            EXPECT_EQ(invalidAtomErr, QTGetAtomDataPtr(mContainer, lost, nullptr, nullptr)) << size;
            EXPECT_EQ(invalidAtomErr, TryAdd(lost, kOne)) << size;
        }
        EXPECT_EQ(0, ByIndex(0, kOne, 2));
        EXPECT_EQ(invalidAtomErr, TryAdd(0, kOne)) << "there is no telling where it would come";
    }
    PutSize(second, 51);  // to the very end
    EXPECT_EQ(2, QTCountChildrenOfType(mContainer, 0, kOne));
}

TEST_F(AtomContainersTest, ChildCountsThatMakeNoSense) {
    const QTAtom first = Add(0, kOne, "not children at all");
    PutChildCount(first, 1);
    EXPECT_EQ(0, QTCountChildrenOfType(mContainer, first, kOne));
    EXPECT_EQ(notLeafAtomErr, QTGetAtomDataPtr(mContainer, first, nullptr, nullptr));
    EXPECT_EQ(invalidAtomErr, TryAdd(first, kOne));
    PutChildCount(first, 0);
    EXPECT_EQ("not children at all", DataOf(first));
    PutChildCount(static_cast<QTAtom>(kRoot), 2);
    EXPECT_EQ(1, QTCountChildrenOfType(mContainer, 0, kOne));
    EXPECT_EQ(invalidAtomErr, TryAdd(0, kOne));
    PutChildCount(static_cast<QTAtom>(kRoot), 0);
    EXPECT_EQ(0, QTCountChildrenOfType(mContainer, 0, kOne));
    EXPECT_EQ(invalidAtomErr, QTGetAtomTypeAndID(mContainer, first, nullptr, nullptr));
}

TEST_F(AtomContainersTest, BytesBehindTheChildrenStay) {
    const QTAtom first = Add(0, kOne, "tail");
    // The child becomes smaller than the room for it.
    PutSize(first, kHeader);
    Add(0, kOne, "new");
    EXPECT_EQ("|new|", Children(0, kOne));
    const Bytes all = All();
    EXPECT_EQ("tail", std::string(all.end() - 4, all.end()));
}

TEST_F(AtomContainersTest, MostChildren) {
    constexpr std::size_t kMax = 65535;
    SetHandleSize(mContainer, static_cast<Size>(kRoot + kHeader + kMax * kHeader));
    ASSERT_EQ(noErr, MemError());
    std::memset(At(kRoot + kHeader), 0, kMax * kHeader);
    for (std::size_t i = 0; i < kMax; ++i) {
        std::uint8_t* const atom = At(kRoot + kHeader + i * kHeader);
        toolbox::os::Store32(atom, kHeader);
        toolbox::os::Store32(atom + 4, kOne);
        toolbox::os::Store32(atom + 8, static_cast<std::uint32_t>(i + 1));
    }
    PutSize(static_cast<QTAtom>(kRoot), static_cast<std::uint32_t>(kHeader + kMax * kHeader));
    PutChildCount(static_cast<QTAtom>(kRoot), kMax - 1);
    EXPECT_EQ(32767, QTCountChildrenOfType(mContainer, 0, kOne)) << "as many as can be told";
    SInt16 index = 0;
    EXPECT_NE(0, QTFindChildByID(mContainer, 0, kOne, 40000, &index));
    EXPECT_EQ(32767, index);
    PutChildCount(static_cast<QTAtom>(kRoot), kMax);
    EXPECT_EQ(atomIndexInvalidErr, TryAdd(0, kTwo));
}

TEST_F(AtomContainersTest, DepthIsNoMatter) {
    // Each atom within the one before: a walk that called itself would end here.
    constexpr std::size_t kDepth = 200000;
    SetHandleSize(mContainer, static_cast<Size>(kRoot + kDepth * kHeader));
    ASSERT_EQ(noErr, MemError());
    std::memset(At(kRoot), 0, kDepth * kHeader);
    for (std::size_t i = 0; i < kDepth; ++i) {
        std::uint8_t* const atom = At(kRoot + i * kHeader);
        toolbox::os::Store32(atom, static_cast<std::uint32_t>((kDepth - i) * kHeader));
        toolbox::os::Store32(atom + 4, i == 0 ? FourChars("sean") : kOne);
        toolbox::os::Store16(atom + 14, i + 1 < kDepth);
    }
    const auto deepest = static_cast<QTAtom>(kRoot + (kDepth - 1) * kHeader);
    EXPECT_EQ("", DataOf(deepest));
    EXPECT_NE(0, Add(deepest, kTwo, "bottom"));
    EXPECT_EQ("bottom|", Children(deepest, kTwo));
}

TEST_F(AtomContainersTest, LocksAreCounted) {
    const auto isLocked = [&] { return (HGetState(mContainer) & kHandleLockedBit) != 0; };
    EXPECT_EQ(noErr, QTUnlockContainer(mContainer)) << "one too many";
    EXPECT_EQ(noErr, QTLockContainer(mContainer));
    EXPECT_EQ(noErr, QTLockContainer(mContainer));
    EXPECT_EQ(2, All()[11]);
    EXPECT_TRUE(isLocked());
    EXPECT_EQ(memLockedErr, TryAdd(0, kOne));
    EXPECT_EQ(noErr, QTUnlockContainer(mContainer));
    EXPECT_TRUE(isLocked());
    EXPECT_EQ(noErr, QTUnlockContainer(mContainer));
    EXPECT_FALSE(isLocked());
    EXPECT_EQ(noErr, TryAdd(0, kOne));
    for (int i = 0; i < 65535; ++i)
        ASSERT_EQ(noErr, QTLockContainer(mContainer));
    EXPECT_EQ(memLockedErr, QTLockContainer(mContainer));
    for (int i = 0; i < 65535; ++i)
        ASSERT_EQ(noErr, QTUnlockContainer(mContainer));
    EXPECT_FALSE(isLocked());
}

TEST_F(AtomContainersTest, NoMemory) {
    SetMemoryLimit(GetMemoryInUse() + 10);
    QTAtomContainer other = mContainer;
    EXPECT_EQ(memFullErr, QTNewAtomContainer(&other));
    EXPECT_EQ(nullptr, other);
    EXPECT_EQ(memFullErr, TryAdd(0, kOne));
    SetMemoryLimit(0);
    const int failureCount = support::FailEach<test_files::FailingNew>([&](const auto& inUnderFault) {
        OSErr error = noErr;
        QTAtom atom = -1;
        const bool failed =
            inUnderFault([&] { error = QTInsertChild(mContainer, 0, kOne, 0, 0, 0, nullptr, &atom); });
        EXPECT_EQ(failed ? memFullErr : noErr, error);
        EXPECT_EQ(failed ? 0 : 1, QTCountChildrenOfType(mContainer, 0, kOne));
    });
    EXPECT_GE(failureCount, 1);
}

}  // namespace
