// ICU's collators, each made once and shared from then on: one that nobody changes may be used on any thread.
#pragma once

#include <toolbox/MacTypes.h>

struct UCollator;

namespace toolbox::text {

// How far a collator looks.
enum class CollationLevel {
    kBase,         // base characters
    kAccents,      // base characters, then accents
    kBaseAndCase,  // base characters, then the case of letters
    kCase,         // base characters, accents, the case of letters
    kForms         // base characters, accents, case and variant forms together
};

struct CollationRules {
    bool areNumbersValues;      // runs of digits by value
    bool isPunctuationIgnored;  // spaces and punctuation as if not there
};

// noErr and a collator that is never closed, or why there is none now; a failure is tried again.
[[nodiscard]] OSStatus FindCollator(CollationRules inRules, CollationLevel inLevel,
                                    const UCollator*& outCollator);

}  // namespace toolbox::text
