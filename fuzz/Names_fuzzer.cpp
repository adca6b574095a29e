// Names of any bytes: a name on disk comes back from the catalogue as it was, one that a specification can
// hold comes back from there, and one that it cannot tells the node. Whatever a program gives as a name in
// Unicode becomes one that can lie on disk, or none.
#include "names/CatalogueNames.h"
#include "names/ModifiedUTF8.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

namespace {

using namespace toolbox::files;

constexpr std::size_t kMaxDiskNameBytes = 255;

void Require(bool inHolds) {
    if (!inHolds) std::abort();
}

bool CanBeOnDisk(std::string_view inName) {
    return !inName.empty() && inName != "." && inName != ".." && inName.find('/') == std::string_view::npos &&
           inName.find('\0') == std::string_view::npos;
}

void ThereAndBack(std::string inName, UInt32 inNodeID) {
    std::erase(inName, '/');
    std::erase(inName, '\0');
    inName.resize(std::min(inName.size(), kMaxDiskNameBytes));
    if (!CanBeOnDisk(inName)) return;
    const std::u16string name = CatalogueName(inName);
    std::string back;
    Require(DiskName(name, back) && back == inName);
    Require(name.find(u':') == std::u16string::npos && name.find(u'\0') == std::u16string::npos);
    Require(IsSameName(name, name));

    Str255 specName = {};
    SpecName(name, inNodeID, specName);
    Require(specName[0] > 0 && specName[0] <= kMaxSpecNameBytes);
    std::u16string decoded;
    const bool isWhole = NameOfSpec(specName, decoded) && decoded == name;
    Require(isWhole || NodeOfSpecName(specName) == inNodeID);
}

void OfUnits(std::string_view inBytes) {
    std::u16string units(inBytes.size() / 2, u'\0');
    std::memcpy(units.data(), inBytes.data(), units.size() * sizeof(char16_t));
    std::string name;
    if (!DiskName(units, name)) return;
    Require(CanBeOnDisk(name));
    std::string again;
    Require(DiskName(CatalogueName(name), again) && again == name);
}

void OfJava(std::string_view inBytes) {
    const std::string joined = JoinSurrogatePairs(inBytes);
    Require(joined.size() <= inBytes.size() && JoinSurrogatePairs(joined) == joined);
    if (inBytes.find('\xED') == std::string_view::npos) Require(joined == inBytes);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const UInt8* inBytes, std::size_t inCount) {
    const std::string_view bytes(reinterpret_cast<const char*>(inBytes), inCount);
    UInt32 nodeID = 16;
    if (inCount >= 4) std::memcpy(&nodeID, inBytes, sizeof nodeID);
    ThereAndBack(std::string(bytes), std::max<UInt32>(nodeID, 16));
    OfUnits(bytes);
    OfJava(bytes);
    return 0;
}
