// What the tests over real media share: the files that there are, and a recorder of streams.
#pragma once

#include <converter/AACToWAV.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace media {

using Bytes = std::vector<std::uint8_t>;

inline constexpr std::size_t kHeaderByteCount = 44;

// Streams of hundreds of megabytes have tests of their own.
inline bool IsLong(const std::string& inPath) {
    const std::string name = std::filesystem::path(inPath).filename().string();
    return name == "long.m4a" || name == "huge-8000-mono.aac";
}

// Every media file of the folders that the build knows, long ones left out.
inline std::vector<std::string> ListMedia() {
    std::vector<std::string> paths;
    std::vector<std::string> folders = {MIRTAL_FIXTURES};
#ifdef MIRTAL_CORPUS
    folders.push_back(MIRTAL_CORPUS);
#endif
    for (const std::string& folder : folders) {
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            const std::string name = entry.path().filename().string();
            if (!entry.is_regular_file() || name[0] == '.' || entry.path().extension() == ".tsv") continue;
            if (!IsLong(name)) paths.push_back(entry.path().string());
        }
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

// The file's name as a test's name.
inline std::string TestName(const ::testing::TestParamInfo<std::string>& inInfo) {
    std::string name = std::filesystem::path(inInfo.param).filename().string();
    for (char& character : name)
        if (!std::isalnum(static_cast<unsigned char>(character))) character = '_';
    return name;
}

inline void Append(void* inContext, void* inData, long inLength) {
    if (inLength <= 0) return;
    auto& bytes = *static_cast<Bytes*>(inContext);
    const auto* data = static_cast<const std::uint8_t*>(inData);
    bytes.insert(bytes.end(), data, data + inLength);
}

inline Bytes Whole(const std::string& inPath) {
    Bytes bytes;
    convert_AAC_to_WAV(inPath.c_str(), &bytes, Append);
    return bytes;
}

inline Bytes Window(const std::string& inPath, long long inStart, long long inDuration) {
    Bytes bytes;
    convert_AAC_to_WAV(inPath.c_str(), &bytes, Append, Int64(inStart), Int64(inDuration));
    return bytes;
}

inline long long AnnouncedByteCount(const std::string& inPath) {
    return getConvertedLength(inPath.c_str()).LongLong();
}

inline std::uint32_t Little32(const Bytes& inBytes, std::size_t inOffset) {
    return static_cast<std::uint32_t>(inBytes.at(inOffset)) |
           static_cast<std::uint32_t>(inBytes.at(inOffset + 1)) << 8 |
           static_cast<std::uint32_t>(inBytes.at(inOffset + 2)) << 16 |
           static_cast<std::uint32_t>(inBytes.at(inOffset + 3)) << 24;
}

}  // namespace media
