// The parts of a companion, all at once.
//
// Functions may throw std::bad_alloc, with nothing left open.
#pragma once

#include "CompanionFile.h"
#include "companions/CompanionInfo.h"

#include <vector>

namespace toolbox::files {

constexpr std::size_t kFinderInfoBytes = 32;

// All parts but the one of an id, which may be 0. Finder information that is longer than its 32 bytes has its
// place, because it tells offsets in the file. 0 or an errno.
[[nodiscard]] int ReadParts(const Companion& inCompanion, UInt32 inOtherThan,
                            std::vector<AppleDoublePart>& outParts);

// What they tell of the item. 0 or an errno.
[[nodiscard]] int ReadInfoOf(const Companion& inCompanion, CompanionInfo& outInfo, CompanionSizes& outSizes);
// Makes this what parts tell; those that would tell nothing go.
void PutInfo(const CompanionInfo& inInfo, std::vector<AppleDoublePart>& ioParts);

// Whether it is one of those that tell CompanionInfo.
bool IsInfo(UInt32 inID);

bool AreZero(const std::vector<UInt8>& inBytes);
// Whether an item without these parts is the same.
bool AreDefault(const std::vector<AppleDoublePart>& inParts);

}  // namespace toolbox::files
