// Resources as the test says: some in the current file, some in one opened before it.
#pragma once

#include <toolbox/Resources.h>

#include <string>

namespace fakes {

// A resource to be found. inIsInCurrentFile: whether the forms that look in one file only find it.
void ScriptResource(ResType inType, SInt16 inID, const std::string& inName, const std::string& inData,
                    bool inIsInCurrentFile = true);

// What ResError answers after a search that finds nothing or shall fail; resNotFound until it is set.
void SetErrorOfSearch(OSErr inError);
// What ResError answers after GetResAttrs of a handle that is no resource's; resNotFound until it is set.
void SetErrorOfPlainHandles(OSErr inError);

// Forgets what is scripted. Handles that were given out stay live, as plain ones.
void ForgetResources();

}  // namespace fakes
