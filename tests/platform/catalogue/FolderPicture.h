// What lies in a folder, as a text to compare.
#pragma once

#include "formats/AppleDouble.h"
#include "support/FileWorld.h"

#include <sys/stat.h>

#include <string>
#include <string_view>
#include <vector>

namespace test_files {

// A companion with a resource fork.
inline std::string CompanionBytes(std::string_view inFork) {
    using namespace toolbox::files;
    std::vector<UInt8> bytes;
    EXPECT_TRUE(EncodeAppleDouble({{AppleDoubleEntry::kFinderInfo, std::vector<UInt8>(32)},
                                   {AppleDoubleEntry::kResourceFork, {inFork.begin(), inFork.end()}}},
                                  bytes));
    return {bytes.begin(), bytes.end()};
}

// "a=of a, sub(b=of b), " for instance: names, sorted, with the contents of files, but those of AppleDouble
// files are "#" and the resource fork. A file with several names has their number before its contents.
inline std::string PictureOf(const std::string& inFolder) {
    using support::FileWorld;
    static const std::size_t sForkOffset = CompanionBytes("").size();
    std::string text;
    for (const std::string& name : FileWorld::NamesIn(inFolder)) {
        const std::string path = inFolder + '/' + name;
        const struct statx status = FileWorld::StatusOf(path);
        text += name;
        if (S_ISDIR(status.stx_mode)) {
            text += '(' + PictureOf(path) + "), ";
            continue;
        }
        const std::string contents = FileWorld::Contents(path);
        const bool isCompanion = contents.substr(0, 4) == CompanionBytes("").substr(0, 4);
        text += status.stx_nlink > 1 ? '=' + std::to_string(status.stx_nlink) + ':' : "=";
        text += (isCompanion ? '#' + contents.substr(sForkOffset) : contents) + ", ";
    }
    return text;
}

}  // namespace test_files
