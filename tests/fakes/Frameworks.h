// The folders of frameworks, with the frameworks that the test puts there, and counts of the URLs and bundles
// that are alive; URLs of items of the double of the catalogue, too.
#pragma once

#include <toolbox/CFBase.h>
#include <toolbox/CFBundle.h>
#include <toolbox/MacTypes.h>

#include <map>
#include <string>

namespace fakes {

struct ScriptedFramework {
    std::map<std::string, void*> functions;
    bool loads = true;  // what loading the executable answers
    OSType packageType = 0;
    OSType creator = 0;
    UInt32 version = 0;
};

// Into the public or the private folder; replaces one of the same name.
void PutFramework(const std::string& inName, const ScriptedFramework& inFramework, bool inIsPrivate = false);
// A bundle at any path.
void PutBundle(const std::string& inPath, const ScriptedFramework& inBundle);
void RemoveFramework(const std::string& inName, bool inIsPrivate = false);
void ForgetFrameworks();

// What FSFindFolder answers when it shall fail; fnfErr until it is set.
void SetErrorOfFolders(OSErr inError);

int LiveURLs();
int LiveBundles();
// The bundles of a scenario that are kept on purpose are no longer counted, and their memory is given back.
void ForgetLiveBundles();

// For the double that CFRelease is in: false when the object is neither URL nor bundle.
bool ReleaseFrameworkObject(CFTypeRef inObject);

}  // namespace fakes
