#include "Names.h"

#include <algorithm>

namespace tool {
namespace {

constexpr std::string_view kSoundExtensions[] = {
    "3g2",  "3gp",  "3gpp", "8svx", "aa3",  "aac",  "ac3", "adts", "aif", "aifc", "aiff", "alac", "amr",
    "ape",  "asf",  "au",   "avi",  "awb",  "caf",  "dff", "dsf",  "dts", "eac3", "ec3",  "flac", "flv",
    "latm", "loas", "m2a",  "m2t",  "m2ts", "m4a",  "m4b", "m4p",  "m4r", "m4v",  "mka",  "mkv",  "mov",
    "mp2",  "mp3",  "mp4",  "mpa",  "mpc",  "mpeg", "mpg", "mts",  "oga", "ogg",  "ogv",  "oma",  "omg",
    "opus", "qcp",  "qt",   "ra",   "rm",   "rmvb", "shn", "snd",  "sox", "spx",  "svx",  "tak",  "ts",
    "tta",  "voc",  "w64",  "wav",  "wave", "webm", "wma", "wmv",  "wv"};

// Where the name's extension begins, its dot; the name's size when it has none.
std::size_t DotOf(const std::string& inName) {
    const std::size_t dot = inName.rfind('.');
    if (dot == std::string::npos || dot == 0) return inName.size();
    const std::size_t length = inName.size() - dot - 1;
    const bool isWord =
        std::all_of(inName.begin() + static_cast<std::ptrdiff_t>(dot) + 1, inName.end(), [](char character) {
            return (character >= '0' && character <= '9') || (character >= 'a' && character <= 'z') ||
                   (character >= 'A' && character <= 'Z');
        });
    return isWord && length >= 1 && length <= 5 ? dot : inName.size();
}

std::string LeafOf(const std::string& inPath) {
    return inPath.substr(inPath.rfind('/') + 1);
}

}  // namespace

std::string FolderOf(const std::string& inPath) {
    const std::size_t slash = inPath.rfind('/');
    return slash == std::string::npos ? std::string() : inPath.substr(0, slash + 1);
}

std::string AsFolder(const std::string& inPath) {
    return inPath.back() == '/' ? inPath : inPath + '/';
}

std::string ExtensionOf(const std::string& inPath) {
    const std::string name = LeafOf(inPath);
    const std::size_t dot = DotOf(name);
    std::string extension = dot < name.size() ? name.substr(dot + 1) : std::string();
    std::transform(extension.begin(), extension.end(), extension.begin(), [](char character) {
        return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
    });
    return extension;
}

std::string DerivedName(const std::string& inInput, const std::string& inFolder,
                        const std::string& inExtension) {
    const std::string name = LeafOf(inInput);
    return inFolder + name.substr(0, DotOf(name)) + inExtension;
}

std::span<const std::string_view> SoundExtensions() {
    return kSoundExtensions;
}

bool IsSoundExtension(const std::string& inExtension) {
    return std::find(std::begin(kSoundExtensions), std::end(kSoundExtensions), inExtension) !=
           std::end(kSoundExtensions);
}

bool IsWAVExtension(const std::string& inExtension) {
    return inExtension == "wav" || inExtension == "wave";
}

std::string InputName(const std::string& inInput) {
    return inInput == "-" ? "standard input" : inInput;
}

}  // namespace tool
