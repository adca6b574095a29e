// Records in resource files, by way of the Resource Manager.
#pragma once

#include "Records.h"

#include <string>
#include <vector>

namespace rez_pack {

enum class Where { kDataFork, kResourceFork };

// Both throw tool::Failure.
std::vector<Record> ReadResources(const std::string& inPath, Where inWhere);
// Makes these the file's resources, in place of those that it has. A data fork's file is made when there is
// none, and must be empty or a resource file otherwise; a resource fork's must exist. On failure the file has
// what it had; INT, TERM and HUP wait until it is written.
void WriteResources(const std::string& inPath, Where inWhere, const std::vector<Record>& inRecords);

}  // namespace rez_pack
