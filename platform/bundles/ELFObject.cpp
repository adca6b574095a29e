#include "ELFObject.h"

#include "catalogue/FileAccess.h"
#include "os/Descriptor.h"
#include "os/ItemStatus.h"

#include <elf.h>
#include <link.h>

#include <cstring>
#include <string>
#include <vector>

namespace toolbox::corefoundation {

namespace {

// Of the machine's own word: the loader refuses the other one by itself, but its headers have another layout.
constexpr unsigned char kClass = sizeof(void*) == 8 ? ELFCLASS64 : ELFCLASS32;

class File {
  public:
    explicit File(const FSRef& inFile) {
        std::string path;
        os::ItemStatus status;
        if (files::OpenForReading(inFile, mFile, path) != noErr) return;
        if (os::GetDescriptorStatus(mFile.Number(), status) == 0)
            mByteCount = static_cast<UInt64>(status.sizeBytes);
    }

    bool Has(UInt64 inOffset, UInt64 inByteCount) const {
        return inOffset <= mByteCount && inByteCount <= mByteCount - inOffset;
    }
    // False when not all of the bytes can be had.
    bool Read(UInt64 inOffset, void* outBytes, std::size_t inByteCount) const {
        if (!Has(inOffset, inByteCount)) return false;
        std::size_t count = 0;
        return os::ReadAt(mFile.Number(), outBytes, inByteCount, inOffset, count) == 0 &&
               count == inByteCount;
    }

  private:
    os::Descriptor mFile;
    UInt64 mByteCount = 0;
};

}  // namespace

bool IsWholeELFObject(const FSRef& inFile) {
    const File file(inFile);
    // The ELF header, at 0 (System V ABI, chapter 4).
    ElfW(Ehdr) header;
    if (!file.Read(0, &header, sizeof(header)) || std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 ||
        header.e_ident[EI_CLASS] != kClass || header.e_type != ET_DYN ||
        header.e_phentsize != sizeof(ElfW(Phdr)))
        return false;
    // The program headers (chapter 5): which bytes of the file are mapped, and where.
    std::vector<ElfW(Phdr)> segments(header.e_phnum);
    if (segments.empty() || !file.Read(header.e_phoff, segments.data(), segments.size() * sizeof(ElfW(Phdr))))
        return false;
    // Only these are mapped. Memory beyond p_filesz is zeroes, and no bytes of the file.
    for (const ElfW(Phdr) & segment : segments)
        if (segment.p_type == PT_LOAD && !file.Has(segment.p_offset, segment.p_filesz)) return false;
    return true;
}

}  // namespace toolbox::corefoundation
