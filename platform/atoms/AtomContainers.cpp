#include "AtomTree.h"
#include "os/BigEndian.h"

#include <toolbox/AtomContainers.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>
#include <vector>

namespace {

using toolbox::atoms::AtomChildren;
using toolbox::atoms::AtomHeader;
using toolbox::atoms::AtomTree;
using toolbox::os::Load16;
using toolbox::os::Load32;
using toolbox::os::Store16;
using toolbox::os::Store32;

constexpr std::size_t kTypeOffset = 4;
constexpr std::size_t kIDOffset = 8;
constexpr std::size_t kChildCountOffset = 14;
constexpr QTAtomID kRootID = 1;
constexpr std::uint16_t kMaxChildren = 0xFFFF;
constexpr std::uint16_t kMaxLocks = 0xFFFF;

std::uint8_t* BytesOf(QTAtomContainer inContainer) {
    return reinterpret_cast<std::uint8_t*>(*inContainer);
}

// Of no bytes when the handle has no block.
AtomTree TreeOf(QTAtomContainer inContainer) {
    const Size byteCount = GetHandleSize(inContainer);
    if (byteCount <= 0 || *inContainer == nullptr) return AtomTree({});
    return AtomTree({BytesOf(inContainer), static_cast<std::size_t>(byteCount)});
}

void PutHeader(std::uint8_t* outAtom, std::uint32_t inSizeBytes, QTAtomType inType, QTAtomID inID) {
    std::memset(outAtom, 0, AtomHeader::kSizeBytes);
    Store32(outAtom, inSizeBytes);
    Store32(outAtom + kTypeOffset, inType);
    Store32(outAtom + kIDOffset, static_cast<std::uint32_t>(inID));
}

struct NewChild {
    QTAtomType type;
    QTAtomID id;  // 0 until one is found
    SInt16 index;
    std::size_t offsetBytes;  // where it is to be
};

// Where the new child comes and with which id. Throws std::bad_alloc.
OSErr FindPlace(const AtomTree& inTree, const AtomHeader& inParent, NewChild& ioChild) {
    // An id among so many is free.
    std::vector<bool> isTaken(inParent.childCount + std::size_t{2});
    SInt32 siblingCount = 0;
    ioChild.offsetBytes = 0;
    AtomChildren children(inTree, inParent);
    for (AtomHeader child; children.Next(child);) {
        if (child.type != ioChild.type) continue;
        if (child.id == ioChild.id && ioChild.id != 0) return duplicateAtomTypeAndIDErr;
        if (child.id > 0 && static_cast<std::size_t>(child.id) < isTaken.size())
            isTaken[static_cast<std::size_t>(child.id)] = true;
        if (++siblingCount == ioChild.index) ioChild.offsetBytes = child.offsetBytes;
    }
    if (!children.IsComplete()) return invalidAtomErr;
    if (ioChild.index < 0 || ioChild.index > siblingCount + 1) return atomIndexInvalidErr;
    if (ioChild.offsetBytes == 0) ioChild.offsetBytes = children.NextBytes();
    if (ioChild.id == 0)
        ioChild.id =
            static_cast<QTAtomID>(std::find(isTaken.begin() + 1, isTaken.end(), false) - isTaken.begin());
    return noErr;
}

// Adds inByteCount to the size of the atom at inOffset, which was found before, and of all that it is in.
// Nothing has moved yet: the siblings on the way are stepped over by their sizes.
void GrowAncestors(std::uint8_t* ioBytes, std::size_t inOffset, std::uint32_t inByteCount) {
    for (std::size_t at = AtomTree::kRootOffset;;) {
        Store32(ioBytes + at, Load32(ioBytes + at) + inByteCount);
        if (at == inOffset) return;
        at += AtomHeader::kSizeBytes;
        while (inOffset - at >= Load32(ioBytes + at))
            at += Load32(ioBytes + at);
    }
}

OSErr Insert(QTAtomContainer inContainer, QTAtom inParent, NewChild inChild, std::size_t inDataBytes,
             const void* inData, QTAtom& outAtom) {
    const AtomTree tree = TreeOf(inContainer);
    AtomHeader parent;
    OSErr error = tree.Find(inParent, parent);
    if (error != noErr) return error;
    if (inChild.type == 0) return invalidAtomTypeErr;
    if (parent.childCount == 0 && parent.ContentBytes() > 0) return cannotBeLeafAtomErr;
    if (parent.childCount == kMaxChildren) return atomIndexInvalidErr;
    error = FindPlace(tree, parent, inChild);
    if (error != noErr) return error;
    if ((HGetState(inContainer) & kHandleLockedBit) != 0) return memLockedErr;

    const auto oldBytes = static_cast<std::size_t>(GetHandleSize(inContainer));
    const std::size_t addedBytes = AtomHeader::kSizeBytes + inDataBytes;
    if (addedBytes > static_cast<std::size_t>(std::numeric_limits<Size>::max()) - oldBytes) return memFullErr;
    SetHandleSize(inContainer, static_cast<Size>(oldBytes + addedBytes));
    if (MemError() != noErr) return MemError();

    std::uint8_t* const bytes = BytesOf(inContainer);
    GrowAncestors(bytes, parent.offsetBytes, static_cast<std::uint32_t>(addedBytes));
    Store16(bytes + parent.offsetBytes + kChildCountOffset,
            static_cast<std::uint16_t>(parent.childCount + 1));
    std::uint8_t* const child = bytes + inChild.offsetBytes;
    std::memmove(child + addedBytes, child, oldBytes - inChild.offsetBytes);
    PutHeader(child, static_cast<std::uint32_t>(addedBytes), inChild.type, inChild.id);
    if (inDataBytes > 0) std::memcpy(child + AtomHeader::kSizeBytes, inData, inDataBytes);
    outAtom = static_cast<QTAtom>(inChild.offsetBytes);
    return noErr;
}

// The first child of the type for which inMatches(child, its index among those of the type, from 1) says so;
// 0 when there is none. Indexes that a SInt16 does not hold are its largest.
template <typename Matches>
QTAtom FindChild(QTAtomContainer inContainer, QTAtom inParent, QTAtomType inType, Matches inMatches) {
    constexpr SInt16 kMaxIndex = std::numeric_limits<SInt16>::max();
    const AtomTree tree = TreeOf(inContainer);
    AtomHeader parent;
    if (tree.Find(inParent, parent) != noErr) return 0;
    SInt16 index = 0;
    AtomChildren children(tree, parent);
    for (AtomHeader child; children.Next(child);) {
        if (child.type != inType) continue;
        if (index < kMaxIndex) ++index;
        if (inMatches(child, index)) return static_cast<QTAtom>(child.offsetBytes);
    }
    return 0;
}

}  // namespace

OSErr QTNewAtomContainer(QTAtomContainer* outContainer) {
    if (outContainer == nullptr) return paramErr;
    *outContainer = NewHandleClear(AtomTree::kRootOffset + AtomHeader::kSizeBytes);
    if (*outContainer == nullptr) return MemError();
    PutHeader(BytesOf(*outContainer) + AtomTree::kRootOffset, AtomHeader::kSizeBytes, AtomTree::kRootType,
              kRootID);
    return noErr;
}

OSErr QTDisposeAtomContainer(QTAtomContainer inContainer) {
    if (inContainer == nullptr) return noErr;
    DisposeHandle(inContainer);
    return MemError();
}

OSErr QTInsertChild(QTAtomContainer inContainer, QTAtom inParent, QTAtomType inType, QTAtomID inID,
                    SInt16 inIndex, SInt32 inByteCount, const void* inData, QTAtom* outAtom) {
    QTAtom atom = 0;
    OSErr error = paramErr;
    try {
        if (inByteCount >= 0 && (inData != nullptr || inByteCount == 0))
            error = Insert(inContainer, inParent, {inType, inID, inIndex, 0},
                           static_cast<std::size_t>(inByteCount), inData, atom);
    } catch (const std::bad_alloc&) {
        error = memFullErr;
    }
    if (outAtom != nullptr) *outAtom = atom;
    return error;
}

SInt16 QTCountChildrenOfType(QTAtomContainer inContainer, QTAtom inParent, QTAtomType inType) {
    SInt16 count = 0;
    FindChild(inContainer, inParent, inType, [&count](const AtomHeader&, SInt16 inIndex) {
        count = inIndex;
        return false;
    });
    return count;
}

QTAtom QTFindChildByIndex(QTAtomContainer inContainer, QTAtom inParent, QTAtomType inType, SInt16 inIndex,
                          QTAtomID* outID) {
    if (outID != nullptr) *outID = 0;
    return FindChild(inContainer, inParent, inType, [=](const AtomHeader& inChild, SInt16 inChildsIndex) {
        if (inChildsIndex != inIndex) return false;
        if (outID != nullptr) *outID = inChild.id;
        return true;
    });
}

QTAtom QTFindChildByID(QTAtomContainer inContainer, QTAtom inParent, QTAtomType inType, QTAtomID inID,
                       SInt16* outIndex) {
    if (outIndex != nullptr) *outIndex = 0;
    return FindChild(inContainer, inParent, inType, [=](const AtomHeader& inChild, SInt16 inChildsIndex) {
        if (inChild.id != inID) return false;
        if (outIndex != nullptr) *outIndex = inChildsIndex;
        return true;
    });
}

OSErr QTGetAtomTypeAndID(QTAtomContainer inContainer, QTAtom inAtom, QTAtomType* outType, QTAtomID* outID) {
    AtomHeader atom;
    const OSErr error = TreeOf(inContainer).Find(inAtom, atom);
    if (error != noErr) return error;
    if (outType != nullptr) *outType = atom.type;
    if (outID != nullptr) *outID = atom.id;
    return noErr;
}

OSErr QTGetAtomDataPtr(QTAtomContainer inContainer, QTAtom inAtom, SInt32* outByteCount, Ptr* outData) {
    if (outByteCount != nullptr) *outByteCount = 0;
    if (outData != nullptr) *outData = nullptr;
    AtomHeader atom;
    const OSErr error = TreeOf(inContainer).Find(inAtom, atom);
    if (error != noErr) return error;
    if (atom.childCount > 0) return notLeafAtomErr;
    if (outByteCount != nullptr) *outByteCount = static_cast<SInt32>(atom.ContentBytes());
    if (outData != nullptr) *outData = *inContainer + atom.offsetBytes + AtomHeader::kSizeBytes;
    return noErr;
}

OSErr QTLockContainer(QTAtomContainer inContainer) {
    AtomHeader root;
    if (!TreeOf(inContainer).ReadRoot(root)) return invalidAtomContainerErr;
    const std::uint16_t lockCount = Load16(BytesOf(inContainer) + AtomTree::kLockCountOffset);
    if (lockCount == kMaxLocks) return memLockedErr;
    Store16(BytesOf(inContainer) + AtomTree::kLockCountOffset, static_cast<std::uint16_t>(lockCount + 1));
    HLock(inContainer);
    return noErr;
}

OSErr QTUnlockContainer(QTAtomContainer inContainer) {
    AtomHeader root;
    if (!TreeOf(inContainer).ReadRoot(root)) return invalidAtomContainerErr;
    const std::uint16_t lockCount = Load16(BytesOf(inContainer) + AtomTree::kLockCountOffset);
    if (lockCount == 0) return noErr;
    Store16(BytesOf(inContainer) + AtomTree::kLockCountOffset, static_cast<std::uint16_t>(lockCount - 1));
    if (lockCount == 1) HUnlock(inContainer);
    return noErr;
}
