#include "UserFolders.h"

#include "catalogue/Catalogue.h"
#include "catalogue/FileAccess.h"
#include "os/UserPaths.h"

#include <algorithm>

namespace toolbox::files {

namespace {

constexpr std::size_t kMaxSettingsBytes = 65536;

std::string WithoutSlashAtEnd(std::string inPath) {
    while (inPath.size() > 1 && inPath.back() == '/')
        inPath.pop_back();
    return inPath;
}

// A value in double quotes, in which a backslash makes the next character an ordinary one.
std::string Unquoted(std::string_view inText) {
    if (!inText.starts_with('"')) return {};
    std::string value;
    for (std::size_t i = 1; i < inText.size() && inText[i] != '"'; ++i) {
        if (inText[i] == '\\' && i + 1 < inText.size()) ++i;
        value += inText[i];
    }
    return value;
}

std::string_view WithoutBlanksBefore(std::string_view inText) {
    inText.remove_prefix(std::min(inText.find_first_not_of(" \t"), inText.size()));
    return inText;
}

// A line's value if it sets the variable; empty when it does not.
std::string ReadSetting(std::string_view inLine, std::string_view inVariable, std::string_view inHomePath) {
    inLine = WithoutBlanksBefore(inLine);
    if (!inLine.starts_with(inVariable)) return {};
    inLine = WithoutBlanksBefore(inLine.substr(inVariable.size()));
    if (!inLine.starts_with('=')) return {};
    const std::string value = Unquoted(WithoutBlanksBefore(inLine.substr(1)));
    constexpr std::string_view kHome = "$HOME";
    if (value == kHome || value.starts_with("$HOME/"))
        return WithoutSlashAtEnd(std::string(inHomePath) + value.substr(kHome.size()));
    return value.starts_with('/') ? WithoutSlashAtEnd(value) : std::string();
}

std::string ReadUserSettings() {
    std::string folder;
    std::string contents;
    FoundItem file;
    if (os::GetBaseFolderPath("XDG_CONFIG_HOME", ".config", folder) != 0 ||
        FindByPath((folder + "/user-dirs.dirs").c_str(), file) != noErr ||
        ReadSmallFile(MakeRef(file), kMaxSettingsBytes, contents) != noErr)
        return {};
    return contents;
}

}  // namespace

int GetUserFolderPath(std::string_view inKind, std::string_view inNameInHome, std::string& outPath) {
    std::string home;
    const int error = os::GetHomePath(home);
    outPath.clear();
    if (error != 0 || home.empty()) return error;
    outPath = FindUserFolder(ReadUserSettings(), inKind, home);
    if (outPath.empty()) outPath = home.append(1, '/').append(inNameInHome);
    return 0;
}

std::string FindUserFolder(std::string_view inContents, std::string_view inKind,
                           std::string_view inHomePath) {
    const std::string variable = "XDG_" + std::string(inKind) + "_DIR";
    std::string path;
    while (!inContents.empty()) {
        const std::size_t lineEnd = std::min(inContents.find('\n'), inContents.size());
        const std::string found = ReadSetting(inContents.substr(0, lineEnd), variable, inHomePath);
        if (!found.empty()) path = found;  // as a shell would, the last one
        inContents.remove_prefix(std::min(lineEnd + 1, inContents.size()));
    }
    return path;
}

}  // namespace toolbox::files
