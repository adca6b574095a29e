#include "Collators.h"

#include "TextCalls.h"
#include "os/Mutex.h"

#include <corefoundation/CurrentLocale.h>
#include <toolbox/MacErrors.h>
#include <unicode/ucol.h>

#include <atomic>

namespace toolbox::text {

namespace {

constexpr int kLevelCount = 5;
constexpr int kRulesCount = 4;

UColAttributeValue StrengthOf(CollationLevel inLevel) {
    switch (inLevel) {
        case CollationLevel::kBase:
        case CollationLevel::kBaseAndCase:
            return UCOL_PRIMARY;
        case CollationLevel::kAccents:
        case CollationLevel::kCase:
            return UCOL_SECONDARY;
        case CollationLevel::kForms:
            break;
    }
    return UCOL_TERTIARY;
}

// Null when it cannot be had.
UCollator* MakeCollator(CollationRules inRules, CollationLevel inLevel, UErrorCode& ioStatus) {
    corefoundation::LocaleName locale;
    if (!corefoundation::GetCollationLocaleName(locale)) {
        ioStatus = U_MEMORY_ALLOCATION_ERROR;
        return nullptr;
    }
    // A failure passes through the calls that follow: with a status that is one they do nothing, whatever the
    // collator.
    UCollator* const collator = ucol_open(locale.text, &ioStatus);
    const bool looksAtCase = inLevel == CollationLevel::kBaseAndCase || inLevel == CollationLevel::kCase;
    const struct {
        UColAttribute attribute;
        UColAttributeValue value;
    } settings[] = {
        // Else marks are taken to be in canonical order already, and equivalent text may differ.
        {UCOL_NORMALIZATION_MODE, UCOL_ON},
        {UCOL_STRENGTH, StrengthOf(inLevel)},
        // A level of its own between the second and the third: case without the variant forms, and above a
        // first level alone without accents, too.
        {UCOL_CASE_LEVEL, looksAtCase ? UCOL_ON : UCOL_OFF},
        {UCOL_NUMERIC_COLLATION, inRules.areNumbersValues ? UCOL_ON : UCOL_OFF},
        // Shifted: punctuation and blanks count on the fourth level only, which is never looked at.
        {UCOL_ALTERNATE_HANDLING, inRules.isPunctuationIgnored ? UCOL_SHIFTED : UCOL_NON_IGNORABLE},
    };
    for (const auto& setting : settings)
        ucol_setAttribute(collator, setting.attribute, setting.value, &ioStatus);
    if (U_SUCCESS(ioStatus)) return collator;
    ucol_close(collator);
    return nullptr;
}

}  // namespace

OSStatus FindCollator(CollationRules inRules, CollationLevel inLevel, const UCollator*& outCollator) {
    static os::Mutex sMutex;
    static std::atomic<UCollator*> sCollators[kRulesCount][kLevelCount] = {};
    const int rules = (inRules.areNumbersValues ? 1 : 0) + (inRules.isPunctuationIgnored ? 2 : 0);
    std::atomic<UCollator*>& collator = sCollators[rules][static_cast<int>(inLevel)];
    outCollator = collator.load(std::memory_order_acquire);
    if (outCollator != nullptr) return noErr;
    const os::MutexLock lock(sMutex);
    outCollator = collator.load(std::memory_order_relaxed);
    if (outCollator != nullptr) return noErr;
    auto status = static_cast<UErrorCode>(sTextCalls.startStatus());
    UCollator* const made = MakeCollator(inRules, inLevel, status);
    collator.store(made, std::memory_order_release);
    outCollator = made;
    return StatusOf(status);
}

}  // namespace toolbox::text
