// The bytes of an atom container, as toolbox/AtomContainers.h lays them out, read without trust.
#pragma once

#include <toolbox/AtomContainers.h>

#include <cstddef>
#include <cstdint>
#include <span>

namespace toolbox::atoms {

struct AtomHeader {
    static constexpr std::size_t kSizeBytes = 20;

    std::size_t offsetBytes = 0;  // in the container
    std::uint32_t sizeBytes = 0;  // this header included; ends within the parent
    QTAtomType type = 0;
    QTAtomID id = 0;
    std::uint16_t childCount = 0;

    std::size_t ContentBytes() const { return sizeBytes - kSizeBytes; }
    std::size_t EndBytes() const { return offsetBytes + sizeBytes; }
};

// A container borrowed for reading.
class AtomTree {
  public:
    static constexpr std::size_t kLockCountOffset = 10;
    static constexpr std::size_t kRootOffset = 12;
    static constexpr QTAtomType kRootType = FourChars("sean");

    explicit AtomTree(std::span<const std::uint8_t> inBytes) : mBytes(inBytes) {}

    // False when the bytes are no container.
    bool ReadRoot(AtomHeader& outRoot) const;
    // The atom that starts at inAtom, kParentAtomIsContainer being the root. Found from the root downwards,
    // since any bytes within an atom's data may look like an atom. invalidAtomContainerErr, invalidAtomErr.
    [[nodiscard]] OSErr Find(QTAtom inAtom, AtomHeader& outAtom) const;
    // The child of inParent that holds the byte at inOffset, which may start there. False when none does.
    bool ChildAround(const AtomHeader& inParent, std::size_t inOffset, AtomHeader& outChild) const;

  private:
    friend class AtomChildren;
    bool Read(std::size_t inOffset, std::size_t inLimit, AtomHeader& outAtom) const;

    std::span<const std::uint8_t> mBytes;
};

// The children of an atom one after the other, as far as they make sense.
class AtomChildren {
  public:
    AtomChildren(const AtomTree& inTree, const AtomHeader& inParent)
        : mTree(inTree),
          mNextBytes(inParent.offsetBytes + AtomHeader::kSizeBytes),
          mEndBytes(inParent.EndBytes()),
          mRemaining(inParent.childCount) {}

    bool Next(AtomHeader& outChild);
    // After Next has said false: whether all children were met.
    bool IsComplete() const { return mRemaining == 0; }
    // Where the child after those met starts.
    std::size_t NextBytes() const { return mNextBytes; }

  private:
    const AtomTree& mTree;
    std::size_t mNextBytes;
    std::size_t mEndBytes;
    std::uint16_t mRemaining;
};

}  // namespace toolbox::atoms
