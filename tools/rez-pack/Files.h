// Records in resource files, by way of the Resource Manager.
#pragma once

#include "Records.h"

#include <stdexcept>
#include <string>
#include <vector>

namespace rez_pack {

// A toolbox status that ended the work, with the file it is about.
class FileError : public std::runtime_error {
  public:
    FileError(const std::string& inPath, int inStatus)
        : std::runtime_error(inPath + ": status " + std::to_string(inStatus)) {}
};

enum class Where { kDataFork, kResourceFork };

// Both throw FileError.
std::vector<Record> ReadResources(const std::string& inPath, Where inWhere);
// Makes these the file's resources, in place of those that it has. A data fork's file is made when there is
// none, and must be empty or a resource file otherwise; a resource fork's must exist.
void WriteResources(const std::string& inPath, Where inWhere, const std::vector<Record>& inRecords);

}  // namespace rez_pack
