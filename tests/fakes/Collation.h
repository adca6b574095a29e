// A collation that answers what the test says and tells how it was asked.
#pragma once

#include <toolbox/UnicodeUtilities.h>

#include <string>

namespace fakes {

// What the next comparisons answer. On failure the results are left alone.
void ScriptCollation(OSStatus inStatus, SInt32 inOrder, bool inIsEquivalent);
// They compare by the values of units instead.
void CollateByUnits();

struct CollationQuestion {
    UCCollateOptions options = 0;
    std::u16string text1;
    std::u16string text2;
    bool wantsEquivalence = false;
};
// The last comparison's arguments.
const CollationQuestion& LastCollation();

void ForgetCollation();

}  // namespace fakes
