#include "Resources.h"

#include "Calls.h"
#include "Memory.h"

#include <algorithm>
#include <vector>

namespace fakes {

namespace {

struct Resource {
    ResType type;
    SInt16 id;
    std::string name;
    std::string data;
    bool isInCurrentFile;
    Handle handle = nullptr;
};

struct Script {
    std::vector<Resource> resources;
    OSErr searchError = resNotFound;
    OSErr plainError = resNotFound;
    OSErr resError = noErr;
};

Script& TheScript() {
    static Script& sScript = *new Script;
    return sScript;
}

Resource* Find(Handle inHandle) {
    std::vector<Resource>& all = TheScript().resources;
    const auto found = std::find_if(all.begin(), all.end(), [inHandle](const Resource& inOne) {
        return inHandle != nullptr && inOne.handle == inHandle;
    });
    return found == all.end() ? nullptr : &*found;
}

template <typename Predicate>
Handle Search(const std::string& inCall, bool inOneDeep, Predicate inIsMeant) {
    Script& script = TheScript();
    if (!LogAndFail(inCall)) {
        for (Resource& one : script.resources) {
            if ((inOneDeep && !one.isInCurrentFile) || !inIsMeant(one)) continue;
            if (one.handle == nullptr) one.handle = MakeHandle({one.data.begin(), one.data.end()});
            script.resError = noErr;
            return one.handle;
        }
    }
    script.resError = script.searchError;
    return nullptr;
}

Handle SearchID(const char* inCall, ResType inType, SInt16 inID, bool inOneDeep) {
    return Search(CallText(inCall, inType, inID), inOneDeep,
                  [&](const Resource& inOne) { return inOne.type == inType && inOne.id == inID; });
}

Handle SearchName(const char* inCall, ResType inType, ConstStr255Param inName, bool inOneDeep) {
    const std::string name(reinterpret_cast<const char*>(inName + 1), inName[0]);
    return Search(CallText(inCall, inType), inOneDeep,
                  [&](const Resource& inOne) { return inOne.type == inType && inOne.name == name; });
}

Handle SearchIndex(const char* inCall, ResType inType, SInt16 inIndex, bool inOneDeep) {
    int left = inIndex;
    return Search(CallText(inCall, inType, inIndex), inOneDeep,
                  [&](const Resource& inOne) { return inOne.type == inType && --left == 0; });
}

}  // namespace

void ScriptResource(ResType inType, SInt16 inID, const std::string& inName, const std::string& inData,
                    bool inIsInCurrentFile) {
    TheScript().resources.push_back({inType, inID, inName, inData, inIsInCurrentFile});
}

void SetErrorOfSearch(OSErr inError) {
    TheScript().searchError = inError;
}

void SetErrorOfPlainHandles(OSErr inError) {
    TheScript().plainError = inError;
}

void ForgetResources() {
    TheScript() = Script();
}

}  // namespace fakes

using namespace fakes;

Handle GetResource(ResType inType, SInt16 inID) {
    return SearchID("GetResource", inType, inID, false);
}
Handle Get1Resource(ResType inType, SInt16 inID) {
    return SearchID("Get1Resource", inType, inID, true);
}
Handle GetNamedResource(ResType inType, ConstStr255Param inName) {
    return SearchName("GetNamedResource", inType, inName, false);
}
Handle Get1NamedResource(ResType inType, ConstStr255Param inName) {
    return SearchName("Get1NamedResource", inType, inName, true);
}
Handle GetIndResource(ResType inType, SInt16 inIndex) {
    return SearchIndex("GetIndResource", inType, inIndex, false);
}
Handle Get1IndResource(ResType inType, SInt16 inIndex) {
    return SearchIndex("Get1IndResource", inType, inIndex, true);
}

SInt16 GetResAttrs(Handle inResource) {
    Log("GetResAttrs()");
    TheScript().resError = Find(inResource) != nullptr ? OSErr{noErr} : TheScript().plainError;
    return 0;
}

void ReleaseResource(Handle inResource) {
    Log("ReleaseResource()");
    Resource* const resource = Find(inResource);
    if (resource == nullptr) return ReportMisuse("ReleaseResource of a handle that is no resource's");
    resource->handle = nullptr;
    DiscardHandle(inResource);
}

void DetachResource(Handle inResource) {
    Log("DetachResource()");
    Resource* const resource = Find(inResource);
    if (resource == nullptr) return ReportMisuse("DetachResource of a handle that is no resource's");
    resource->handle = nullptr;
}

OSErr ResError(void) {
    return TheScript().resError;
}

Handle GetString(SInt16 inID) {
    return SearchID("GetString", FourChars("STR "), inID, false);
}

void GetIndString(unsigned char* outString, SInt16 inListID, SInt16 inIndex) {
    outString[0] = 0;
    const Handle list = SearchID("GetIndString", FourChars("STR#"), inListID, false);
    if (list == nullptr) return;
    const auto* string = reinterpret_cast<const unsigned char*>(*list);
    const int count = string[0] << 8 | string[1];
    if (inIndex < 1 || inIndex > count) return;
    string += 2;
    for (int left = inIndex; left > 1; --left)
        string += string[0] + 1;
    std::copy_n(string, string[0] + 1, outString);
}
