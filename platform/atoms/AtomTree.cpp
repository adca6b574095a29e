#include "AtomTree.h"

#include "os/BigEndian.h"

namespace toolbox::atoms {

namespace {

constexpr std::size_t kTypeOffset = 4;
constexpr std::size_t kIDOffset = 8;
constexpr std::size_t kChildCountOffset = 14;

}  // namespace

bool AtomTree::Read(std::size_t inOffset, std::size_t inLimit, AtomHeader& outAtom) const {
    if (inLimit - inOffset < AtomHeader::kSizeBytes) return false;
    const std::uint8_t* const bytes = mBytes.data() + inOffset;
    const std::uint32_t sizeBytes = os::Load32(bytes);
    if (sizeBytes < AtomHeader::kSizeBytes || sizeBytes > inLimit - inOffset) return false;
    outAtom = {inOffset, sizeBytes, os::Load32(bytes + kTypeOffset),
               static_cast<QTAtomID>(os::Load32(bytes + kIDOffset)), os::Load16(bytes + kChildCountOffset)};
    return true;
}

bool AtomTree::ReadRoot(AtomHeader& outRoot) const {
    return mBytes.size() >= kRootOffset && Read(kRootOffset, mBytes.size(), outRoot) &&
           outRoot.EndBytes() == mBytes.size() && outRoot.type == kRootType;
}

bool AtomTree::ChildAround(const AtomHeader& inParent, std::size_t inOffset, AtomHeader& outChild) const {
    AtomChildren children(*this, inParent);
    while (children.Next(outChild) && outChild.offsetBytes <= inOffset)
        if (inOffset < outChild.EndBytes()) return true;
    return false;
}

OSErr AtomTree::Find(QTAtom inAtom, AtomHeader& outAtom) const {
    if (!ReadRoot(outAtom)) return invalidAtomContainerErr;
    if (inAtom == kParentAtomIsContainer) return noErr;
    const auto offset = static_cast<std::uint32_t>(inAtom);
    while (outAtom.offsetBytes != offset) {
        const AtomHeader parent = outAtom;
        if (!ChildAround(parent, offset, outAtom)) return invalidAtomErr;
    }
    return noErr;
}

bool AtomChildren::Next(AtomHeader& outChild) {
    if (mRemaining == 0 || !mTree.Read(mNextBytes, mEndBytes, outChild)) return false;
    mNextBytes = outChild.EndBytes();
    --mRemaining;
    return true;
}

}  // namespace toolbox::atoms
