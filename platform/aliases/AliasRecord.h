// The bytes of an alias record. It stands alone: it can be written to a file and read by a later run of the
// program.
//
//   offset  bytes  (every number is big-endian)
//        0      4  the application's own type
//        4      2  bytes of the whole record
//        6      2  version, 1
//        8      2  kind of the item: 1 file, 2 folder, 3 link, 4 other
//       10      2  0
//       12      8  device
//       20      8  inode
//       28      8  birth in nanoseconds since 1970, 0 when not known
//       36      4  bytes of path
//       40         the absolute path, any bytes but NUL
#pragma once

#include "catalogue/Catalogue.h"

#include <toolbox/MacTypes.h>

#include <cstddef>
#include <string>
#include <vector>

namespace toolbox::files {

struct AliasContents {
    OSType userType = 0;
    os::ItemKind kind = os::ItemKind::kFile;
    os::ItemIdentity identity;
    std::string path;
};

// pathTooLongErr when the path does not fit in a record.
[[nodiscard]] OSStatus EncodeAlias(const AliasContents& inContents, std::vector<UInt8>& outRecord);

// Reads the record at the start of inBytes, whatever they are; what follows the record is the application's.
// outRecordBytes: how much of inBytes the record takes. paramErr when it is no record of this version.
[[nodiscard]] OSStatus DecodeAlias(const UInt8* inBytes, std::size_t inByteCount, AliasContents& outContents,
                                   std::size_t& outRecordBytes);

}  // namespace toolbox::files
