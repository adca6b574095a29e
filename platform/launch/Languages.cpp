#include "Languages.h"

#include "corefoundation/CurrentLocale.h"
#include "os/SystemCalls.h"

#include <algorithm>
#include <string_view>

namespace toolbox::launch {

namespace {

constexpr std::size_t kMaxLanguages = 16;

// Cuts off what follows the last inSign, which goes, too.
std::string TakeBehind(std::string_view& ioName, char inSign) {
    const std::size_t sign = ioName.rfind(inSign);
    if (sign == std::string_view::npos) return {};
    std::string behind(ioName.substr(sign + 1));
    ioName = ioName.substr(0, sign);
    return behind;
}

bool IsWord(std::string_view inText) {
    return std::all_of(inText.begin(), inText.end(), [](char inByte) {
        return (inByte >= '0' && inByte <= '9') || ((inByte | 0x20) >= 'a' && (inByte | 0x20) <= 'z');
    });
}

// Names are parts of paths. Without a language for one that makes no sense.
Language LanguageOf(std::string_view inName) {
    Language language;
    language.modifier = TakeBehind(inName, '@');
    TakeBehind(inName, '.');
    language.country = TakeBehind(inName, '_');
    language.language = inName;
    const bool isGood = IsWord(language.language) && IsWord(language.country) && IsWord(language.modifier);
    return isGood ? language : Language();
}

bool IsWithoutCustoms(std::string_view inLocale) {
    const std::string_view name = inLocale.substr(0, inLocale.find('.'));
    return name.empty() || name == "C" || name == "POSIX";
}

}  // namespace

std::vector<Language> UserLanguages() {
    const std::string_view locale = corefoundation::LocaleVariable();
    if (IsWithoutCustoms(locale)) return {};
    const char* const list = os::Calls().getenv("LANGUAGE");
    std::string_view names = list != nullptr && *list != '\0' ? list : locale;
    std::vector<Language> languages;
    while (!names.empty() && languages.size() < kMaxLanguages) {
        const std::size_t end = std::min(names.find(':'), names.size());
        Language language = LanguageOf(names.substr(0, end));
        names.remove_prefix(std::min(end + 1, names.size()));
        if (language.language.empty()) continue;
        languages.push_back(language);
        if (language.language == "en") break;
    }
    return languages;
}

}  // namespace toolbox::launch
