#include "DesktopEntry.h"

#include <algorithm>
#include <map>

namespace toolbox::launch {

namespace {

using Names = std::map<std::string, std::string, std::less<>>;  // by what stands in brackets

std::string_view WithoutBlanks(std::string_view inText) {
    const std::size_t first = inText.find_first_not_of(" \t\r");
    if (first == std::string_view::npos) return {};
    return inText.substr(first, inText.find_last_not_of(" \t\r") + 1 - first);
}

std::string WithoutEscapes(std::string_view inValue) {
    std::string text;
    for (std::size_t i = 0; i < inValue.size(); ++i) {
        const bool isEscape = inValue[i] == '\\' && i + 1 < inValue.size();
        const char byte = isEscape ? inValue[++i] : inValue[i];
        constexpr std::string_view kLetters = "sntr";
        const std::size_t letter = isEscape ? kLetters.find(byte) : std::string_view::npos;
        text += letter == std::string_view::npos ? byte : " \n\t\r"[letter];
    }
    return text;
}

// Of a line that has one, the key "Name" or "Name[language]".
void AddName(std::string_view inLine, Names& ioNames) {
    const std::size_t equals = inLine.find('=');
    if (equals == std::string_view::npos) return;
    std::string_view key = WithoutBlanks(inLine.substr(0, equals));
    constexpr std::string_view kName = "Name";
    if (!key.starts_with(kName)) return;
    key.remove_prefix(kName.size());
    if (!key.empty()) {
        if (key.size() < 2 || key.front() != '[' || key.back() != ']') return;
        key = key.substr(1, key.size() - 2);
    }
    ioNames.emplace(key, WithoutEscapes(WithoutBlanks(inLine.substr(equals + 1))));
}

Names NamesIn(std::string_view inContents) {
    Names names;
    bool isInEntry = false;
    while (!inContents.empty()) {
        const std::size_t end = std::min(inContents.find('\n'), inContents.size());
        const std::string_view line = WithoutBlanks(inContents.substr(0, end));
        inContents.remove_prefix(std::min(end + 1, inContents.size()));
        if (line.starts_with('['))
            isInEntry = line == "[Desktop Entry]";
        else if (isInEntry)
            AddName(line, names);
    }
    return names;
}

}  // namespace

std::string NameInDesktopEntry(std::string_view inContents, const std::vector<Language>& inLanguages) {
    const Names names = NamesIn(inContents);
    for (const Language& language : inLanguages) {
        const std::string country = language.country.empty() ? "" : '_' + language.country;
        const std::string modifier = language.modifier.empty() ? "" : '@' + language.modifier;
        for (const std::string& rest : {country + modifier, country, modifier, std::string()}) {
            const auto found = names.find(language.language + rest);
            if (found != names.end()) return found->second;
        }
    }
    const auto found = names.find("");
    return found != names.end() ? found->second : std::string();
}

}  // namespace toolbox::launch
