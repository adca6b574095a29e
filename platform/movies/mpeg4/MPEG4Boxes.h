// The box structure of MPEG-4 and QuickTime files, read through a small window: a box is looked at where it
// lies, and what nobody asks for (media, cover art) is never read.
//
// For one thread. Whatever a file claims, nothing outside the parent box or the file is touched.
#pragma once

#include "os/BigEndian.h"
#include "track/MediaFile.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace toolbox::movies {

constexpr OSType BoxType(const char (&inName)[5]) {
    OSType type = 0;
    for (int i = 0; i < 4; ++i)
        type = type << 8 | static_cast<std::uint8_t>(inName[i]);
    return type;
}

// The file's bytes by position.
class BoxFile {
  public:
    static constexpr std::size_t kMaxLookBytes = 64 * 1024;

    explicit BoxFile(const MediaFile& inFile) : mFile(inFile) {}

    std::int64_t SizeBytes() const { return mFile.SizeBytes(); }

    // The bytes at an offset, good until the next call. Null when fewer than inByteCount (at most
    // kMaxLookBytes) are left in the file, or when it cannot be read: see Status.
    const std::uint8_t* At(std::int64_t inOffsetBytes, std::size_t inByteCount);

    // noErr, or ioErr once a read has failed.
    [[nodiscard]] OSStatus Status() const { return mStatus; }

  private:
    bool Fill(std::int64_t inOffsetBytes, std::size_t inByteCount);

    const MediaFile& mFile;
    std::unique_ptr<std::uint8_t[]> mWindow;
    std::int64_t mWindowStart = 0;
    std::size_t mWindowBytes = 0;
    OSStatus mStatus = 0;
};

struct Box {
    OSType type = 0;  // 0: no box
    std::int64_t startBytes = 0;
    std::int64_t contentBytes = 0;  // where the content starts
    std::int64_t endBytes = 0;      // never past the parent's end
    bool isCut = false;             // claims to reach past its parent's end

    bool Exists() const { return type != 0; }
    std::int64_t ContentSizeBytes() const { return endBytes - contentBytes; }
};

// The boxes that follow each other in a stretch of the file. A box of size 0 takes the rest; the walk ends at
// bytes that are no box header.
class BoxWalk {
  public:
    BoxWalk(BoxFile& ioFile, std::int64_t inStartBytes, std::int64_t inEndBytes)
        : mFile(ioFile), mPosition(inStartBytes), mEnd(inEndBytes) {}
    // The children of a box.
    BoxWalk(BoxFile& ioFile, const Box& inParent)
        : BoxWalk(ioFile, inParent.contentBytes, inParent.endBytes) {}

    bool Next(Box& outBox);

  private:
    BoxFile& mFile;
    std::int64_t mPosition;
    std::int64_t mEnd;
};

// The first child of a type; one that does not exist when there is none.
Box FindBox(BoxFile& ioFile, const Box& inParent, OSType inType);

// The entries of a table in a box, one after the other. The count is what the table says, or what fits into
// its box and the file, whichever is less.
class TableReader {
  public:
    TableReader() = default;
    // inCount: as claimed
    TableReader(BoxFile& ioFile, const Box& inBox, std::int64_t inFirstEntryBytes, std::uint32_t inCount,
                std::uint32_t inEntryBytes);

    std::uint32_t CountLeft() const { return mLeft; }

    // The next entries as far as they are at hand, at least one; *outCount tells how many, and they count as
    // read. Good until the file is looked at again. Null at the end, or when the file cannot be read.
    const std::uint8_t* NextEntries(std::uint32_t inLargestCount, std::uint32_t* outCount);
    const std::uint8_t* NextEntry() {
        std::uint32_t count = 0;
        return NextEntries(1, &count);
    }

  private:
    BoxFile* mFile = nullptr;
    std::int64_t mPosition = 0;
    std::uint32_t mLeft = 0;
    std::uint32_t mEntryBytes = 0;
};

// A table in the usual form: version and flags, a 32-bit count, entries. An empty one when there is no such
// box.
[[nodiscard]] TableReader OpenTable(BoxFile& ioFile, const Box& inBox, std::uint32_t inEntryBytes);

}  // namespace toolbox::movies
