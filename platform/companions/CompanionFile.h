// A companion as the file that it is.
#pragma once

#include "formats/AppleDouble.h"
#include "os/FileRange.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <string>
#include <vector>

namespace toolbox::files {

// What an intent to exchange resource forks (ForkIntent.h) tells of the item beside the companion.
enum class IntentState {
    kNone,      // there is no intent, or it tells nothing of that item
    kBefore,    // it has its own contents still
    kExchanged  // it has the other's
};

struct Companion {
    // What lies in one sector is written and read at once.
    static constexpr std::size_t kHeadBytes = 512;

    os::FileRange file;
    std::array<UInt8, kHeadBytes> head = {};  // the first bytes, as they were when the entries were read
    std::size_t headByteCount = 0;
    std::vector<AppleDoubleEntry> entries;
    IntentState intent = IntentState::kNone;  // whose sense the entries are in

    // As FileRange's; what lies in the head is as it was there.
    [[nodiscard]] int Read(UInt64 inOffsetBytes, void* outBytes, std::size_t inByteCount) const;
    UInt64 SizeBytes() const { return file.SizeBytes(); }
};

// All answer 0 or an errno; ENOENT when nothing has the name or can have it, EISDIR when what has it is no
// file, EBADMSG or ENODATA when it is no AppleDouble file: then there is no companion.
bool IsNoCompanion(int inError);
//   inAccess  O_RDONLY or O_RDWR
[[nodiscard]] int OpenNamedFile(int inFolder, const std::string& inName, int inAccess,
                                os::Descriptor& outFile);
// Of an open file, also while another program makes it longer or shorter.
[[nodiscard]] int AdoptCompanion(os::Descriptor inFile, Companion& outCompanion);
// Of one whose file was just looked at.
[[nodiscard]] int ReadEntries(Companion& ioCompanion);
// One that is to be read, with what an intent tells of the item beside it.
[[nodiscard]] int OpenNamed(int inFolder, const std::string& inName, Companion& outCompanion);

// Of what would make or change a companion where the host allows none.
constexpr int kNotAllowed = ENOPKG;

// Locks an open companion until it is closed. EBUSY when another holds the lock for longer than so many
// milliseconds, ENOTSUP where files cannot be locked: nobody holds any then.
constexpr int kMaxWriterMillis = 2000;  // for who is to write what another is writing
[[nodiscard]] int LockFile(int inDescriptor, int inMillis);

}  // namespace toolbox::files
