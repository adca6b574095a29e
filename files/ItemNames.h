// Names of specifications, on their way to the File Manager and back.
#pragma once

#include <foundation/LException.h>
#include <strings/TCFString.h>
#include <toolbox/Files.h>
#include <toolbox/MacErrors.h>

#include <iterator>

// False for a name that is too long for any item: it is never cut, for what is left may be another's.
[[nodiscard]] inline bool GetItemName(const TCFString& inName, HFSUniStr255& outName) {
    if (inName.Length() > static_cast<long>(std::size(outName.unicode))) return false;
    inName.HFSUniStr(outName);
    return true;
}

// A name without units would be the folder's. Throws inError where inName is that and ought not to be.
inline void RefuseEmptyName(const TCFString& inName, bool inIsEmpty, OSErr inError) {
    if (!inIsEmpty && inName.IsEmpty()) LException::Throw(inError);
}

// Throws memFullErr when there is no memory for it.
[[nodiscard]] inline TCFString NameOfItem(const HFSUniStr255& inName) {
    const TCFString name(inName);
    RefuseEmptyName(name, inName.length == 0, memFullErr);
    return name;
}
