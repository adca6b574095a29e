// A movie toolbox that is entered and left, and access keys that the test may look into.
#pragma once

#include <toolbox/AccessKeys.h>
#include <toolbox/MacTypes.h>

#include <optional>
#include <string>
#include <vector>

namespace fakes {

// Statuses of the calls that shall fail: no two alike, so that a test sees which one was passed on.
enum : SInt16 {
    kErrorOfRegister = -1201,
    kErrorOfUnregister = -1202,
    kErrorOfGetKeys = -1203,
    kErrorOfEnter = -1204,
    kErrorOfNoKey = -1205  // registering or unregistering without a block
};

// Keys of a type at one scope, as text; types and keys are told apart byte by byte.
void PutKey(const std::string& inType, const std::string& inKey, bool inIsSystemWide);
std::vector<std::string> KeysOf(const std::string& inType, bool inIsSystemWide);

// One child of a container: an atom with data, or one that is not as it should be.
struct ScriptedAtom {
    OSType type = kAccessKeyAtomType;
    std::string data = {};
    bool isFound = true;     // false: counted, but asking for it gives no atom
    OSErr dataStatus = 0;    // of asking for its data, which are given even so
    bool hasPointer = true;  // false: asking succeeds with a null pointer
};
// What the container of the next QTGetAccessKeys holds, instead of keys.
void ScriptContainer(const std::vector<ScriptedAtom>& inAtoms);
// The next QTGetAccessKeys fails, but gives a container all the same.
void FailWithContainer();

int LiveContainers();

// How often the toolbox was entered beyond left.
int EnteredCount();
// What GetMoviesStickyError answers, entered or not.
void SetStickyError(OSErr inError);

void ForgetAccessKeys();

}  // namespace fakes
