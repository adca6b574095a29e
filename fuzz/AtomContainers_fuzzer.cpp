// Atom containers of hostile making: walked, and grown where that can be.
#include <toolbox/AtomContainers.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

void Require(bool inHolds, int inLine = __builtin_LINE()) {
    if (inHolds) return;
    std::fprintf(stderr, "%s:%d: does not hold\n", __FILE__, inLine);
    std::abort();
}

constexpr std::size_t kMaxAtoms = 200;  // looked at in one input

// The types that children of an atom may have, read without any of what is tried here.
std::vector<QTAtomType> Types(QTAtomContainer inContainer) {
    std::vector<QTAtomType> types = {FourChars("acky"), 0};
    const auto* bytes = reinterpret_cast<const UInt8*>(*inContainer);
    for (Size at = 16; at + 4 <= GetHandleSize(inContainer) && types.size() < 20; at += 20)
        types.push_back(static_cast<UInt32>(bytes[at]) << 24 | static_cast<UInt32>(bytes[at + 1]) << 16 |
                        static_cast<UInt32>(bytes[at + 2]) << 8 | bytes[at + 3]);
    return types;
}

// An atom that was found is what it was found as, and its data is within the block.
unsigned CheckAtom(QTAtomContainer inContainer, QTAtom inAtom, QTAtomType inType, QTAtomID inID) {
    QTAtomType type = 0;
    QTAtomID id = 0;
    Require(QTGetAtomTypeAndID(inContainer, inAtom, &type, &id) == noErr);
    Require(type == inType && id == inID);
    SInt32 byteCount = -1;
    Ptr data = nullptr;
    const OSErr error = QTGetAtomDataPtr(inContainer, inAtom, &byteCount, &data);
    if (error == notLeafAtomErr) return 0;
    Require(error == noErr && byteCount >= 0 && data >= *inContainer);
    Require(GetHandleSize(inContainer) - (data - *inContainer) >= byteCount);
    unsigned sum = 0;
    for (SInt32 i = 0; i < byteCount; ++i)
        sum += static_cast<UInt8>(data[i]);
    return sum;
}

// Atoms found from the root, the root among them.
std::vector<QTAtom> FindAtoms(QTAtomContainer inContainer) {
    std::vector<QTAtom> atoms = {kParentAtomIsContainer};
    const std::vector<QTAtomType> types = Types(inContainer);
    for (std::size_t parent = 0; parent < atoms.size(); ++parent)
        for (const QTAtomType type : types) {
            const SInt16 count = QTCountChildrenOfType(inContainer, atoms[parent], type);
            Require(count >= 0);
            for (SInt16 i = 1; i <= count && atoms.size() < kMaxAtoms; ++i) {
                QTAtomID id = 0;
                const QTAtom atom = QTFindChildByIndex(inContainer, atoms[parent], type, i, &id);
                Require(atom > 0);
                CheckAtom(inContainer, atom, type, id);
                SInt16 index = 0;
                Require(QTFindChildByID(inContainer, atoms[parent], type, id, &index) != 0 && index <= i);
                atoms.push_back(atom);
            }
            Require(QTFindChildByIndex(inContainer, atoms[parent], type, static_cast<SInt16>(count + 1),
                                       nullptr) == 0 ||
                    count == 0x7FFF);
        }
    return atoms;
}

// One more child, or a container that is as it was.
void Grow(QTAtomContainer inContainer, QTAtom inParent) {
    constexpr QTAtomType kType = FourChars("more");
    const std::vector<char> before(*inContainer, *inContainer + GetHandleSize(inContainer));
    const SInt16 count = QTCountChildrenOfType(inContainer, inParent, kType);
    QTAtom atom = 0;
    const OSErr error = QTInsertChild(inContainer, inParent, kType, 0, 1, 5, "12345", &atom);
    if (error != noErr) {
        Require(atom == 0 && GetHandleSize(inContainer) == static_cast<Size>(before.size()));
        Require(before.empty() || std::memcmp(before.data(), *inContainer, before.size()) == 0);
        return;
    }
    Require(QTCountChildrenOfType(inContainer, inParent, kType) == count + 1);
    QTAtomID id = 0;
    Require(QTFindChildByIndex(inContainer, inParent, kType, 1, &id) == atom);
    Require(CheckAtom(inContainer, atom, kType, id) == '1' + '2' + '3' + '4' + '5');
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const UInt8* inBytes, std::size_t inCount) {
    Handle container = nullptr;
    Require(PtrToHand(inBytes, &container, static_cast<Size>(inCount)) == noErr);
    const bool isContainer = QTGetAtomTypeAndID(container, kParentAtomIsContainer, nullptr, nullptr) == noErr;
    const std::vector<QTAtom> atoms = FindAtoms(container);
    Require(isContainer || atoms.size() == 1);
    const OSErr locked = QTLockContainer(container);
    Require(isContainer ? locked == noErr || locked == memLockedErr : locked == invalidAtomContainerErr);
    if (locked == noErr) Require(QTUnlockContainer(container) == noErr);
    HUnlock(container);
    // From the last: what is before stays where it is.
    for (std::size_t i = atoms.size(); i > 0; --i)
        Grow(container, atoms[i - 1]);
    DisposeHandle(container);
    Require(GetLiveHandleCount() == 0);
    return 0;
}
