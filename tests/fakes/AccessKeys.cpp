#include "AccessKeys.h"

#include "Calls.h"
#include "Memory.h"

#include <toolbox/AtomContainers.h>
#include <toolbox/MacErrors.h>
#include <toolbox/Movies.h>

#include <algorithm>
#include <map>
#include <utility>

namespace fakes {

namespace {

struct State {
    std::map<std::pair<std::string, bool>, std::vector<std::string>> keys;
    std::optional<std::vector<ScriptedAtom>> script;
    bool failsWithContainer = false;
    int enteredCount = 0;
    std::optional<OSErr> stickyError;
};

State& TheState() {
    static State sState;
    return sState;
}

std::map<QTAtomContainer, std::vector<ScriptedAtom>>& Containers() {
    static std::map<QTAtomContainer, std::vector<ScriptedAtom>> sContainers;
    return sContainers;
}

// Ids are far from indexes and offsets, so that they cannot be mistaken for one another.
constexpr QTAtomID kFirstID = 7000;
constexpr QTAtom kFirstOffset = 100;

std::string PascalText(ConstStr255Param inText) {
    return {reinterpret_cast<const char*>(inText) + 1, inText[0]};
}

std::string KeyCallText(const char* inName, ConstStr255Param inType, SInt32 inFlags,
                        const std::string& inMore) {
    return std::string(inName) + "(" + PascalText(inType) + ", " + std::to_string(inFlags) + inMore + ")";
}

std::string KeyText(Handle inKey) {
    const std::vector<unsigned char> bytes = HandleBytes(inKey);
    return {bytes.begin(), bytes.end()};
}

std::vector<std::string>& KeysIn(ConstStr255Param inType, SInt32 inFlags) {
    return TheState().keys[{PascalText(inType), inFlags == kAccessKeySystemFlag}];
}

std::vector<ScriptedAtom> TakeAtoms(ConstStr255Param inType, SInt32 inFlags) {
    if (std::optional<std::vector<ScriptedAtom>> script; std::swap(script, TheState().script), script)
        return *script;
    std::vector<ScriptedAtom> atoms;
    for (const std::string& key : KeysIn(inType, inFlags))
        atoms.push_back({kAccessKeyAtomType, key});
    return atoms;
}

std::vector<ScriptedAtom>* Find(QTAtomContainer inContainer, const char* inCaller) {
    const auto found = Containers().find(inContainer);
    if (found != Containers().end()) return &found->second;
    ReportMisuse(std::string(inCaller).append(" of a container that is not live"));
    return nullptr;
}

void CheckRoot(QTAtom inParent) {
    if (inParent != kParentAtomIsContainer) ReportMisuse("children of another atom than the root");
}

}  // namespace

void PutKey(const std::string& inType, const std::string& inKey, bool inIsSystemWide) {
    TheState().keys[{inType, inIsSystemWide}].push_back(inKey);
}

std::vector<std::string> KeysOf(const std::string& inType, bool inIsSystemWide) {
    return TheState().keys[{inType, inIsSystemWide}];
}

void ScriptContainer(const std::vector<ScriptedAtom>& inAtoms) {
    TheState().script = inAtoms;
}

void FailWithContainer() {
    TheState().failsWithContainer = true;
}

int LiveContainers() {
    return static_cast<int>(Containers().size());
}

int EnteredCount() {
    return TheState().enteredCount;
}

void SetStickyError(OSErr inError) {
    TheState().stickyError = inError;
}

void ForgetAccessKeys() {
    TheState() = State();
}

}  // namespace fakes

using namespace fakes;

OSErr QTRegisterAccessKey(ConstStr255Param inType, SInt32 inFlags, Handle inKey) {
    const bool fails = LogAndFail(
        KeyCallText("QTRegisterAccessKey", inType, inFlags, inKey != nullptr ? ", " + KeyText(inKey) : ""));
    if (inKey == nullptr) return kErrorOfNoKey;
    if (fails) return kErrorOfRegister;
    KeysIn(inType, inFlags).push_back(KeyText(inKey));
    return noErr;
}

OSErr QTUnregisterAccessKey(ConstStr255Param inType, SInt32 inFlags, Handle inKey) {
    const bool fails = LogAndFail(
        KeyCallText("QTUnregisterAccessKey", inType, inFlags, inKey != nullptr ? ", " + KeyText(inKey) : ""));
    if (inKey == nullptr) return kErrorOfNoKey;
    if (fails) return kErrorOfUnregister;
    std::vector<std::string>& keys = KeysIn(inType, inFlags);
    keys.erase(std::remove(keys.begin(), keys.end(), KeyText(inKey)), keys.end());
    return noErr;
}

OSErr QTGetAccessKeys(ConstStr255Param inType, SInt32 inFlags, QTAtomContainer* outKeys) {
    const bool fails = LogAndFail(KeyCallText("QTGetAccessKeys", inType, inFlags, ""));
    const bool givesContainer = std::exchange(TheState().failsWithContainer, false);
    if (fails) return kErrorOfGetKeys;
    *outKeys = MakeHandle({});
    Containers()[*outKeys] = TakeAtoms(inType, inFlags);
    return givesContainer ? OSErr{kErrorOfGetKeys} : OSErr{noErr};
}

OSErr QTDisposeAtomContainer(QTAtomContainer inContainer) {
    Log("QTDisposeAtomContainer()");
    if (Find(inContainer, "QTDisposeAtomContainer") == nullptr) return invalidAtomContainerErr;
    Containers().erase(inContainer);
    DiscardHandle(inContainer);
    return noErr;
}

SInt16 QTCountChildrenOfType(QTAtomContainer inContainer, QTAtom inParent, QTAtomType inType) {
    Log("QTCountChildrenOfType()");
    CheckRoot(inParent);
    const std::vector<ScriptedAtom>* const atoms = Find(inContainer, "QTCountChildrenOfType");
    if (atoms == nullptr) return 0;
    return static_cast<SInt16>(
        std::count_if(atoms->begin(), atoms->end(),
                      [inType](const ScriptedAtom& inAtom) { return inAtom.type == inType; }));
}

QTAtom QTFindChildByIndex(QTAtomContainer inContainer, QTAtom inParent, QTAtomType inType, SInt16 inIndex,
                          QTAtomID* outID) {
    Log(CallText("QTFindChildByIndex", inIndex));
    CheckRoot(inParent);
    if (outID == nullptr) ReportMisuse("QTFindChildByIndex without room for the id");
    const std::vector<ScriptedAtom>* const atoms = Find(inContainer, "QTFindChildByIndex");
    if (atoms == nullptr) return 0;
    int index = 0;
    for (std::size_t i = 0; i < atoms->size(); ++i) {
        if ((*atoms)[i].type != inType || ++index != inIndex) continue;
        if (outID != nullptr) *outID = kFirstID + inIndex;
        return (*atoms)[i].isFound ? kFirstOffset + static_cast<QTAtom>(i) : 0;
    }
    ReportMisuse("QTFindChildByIndex past the last atom");
    return 0;
}

OSErr QTGetAtomDataPtr(QTAtomContainer inContainer, QTAtom inAtom, SInt32* outByteCount, Ptr* outData) {
    Log("QTGetAtomDataPtr()");
    std::vector<ScriptedAtom>* const atoms = Find(inContainer, "QTGetAtomDataPtr");
    const auto i = static_cast<std::size_t>(inAtom - kFirstOffset);
    if (atoms == nullptr || i >= atoms->size()) {
        ReportMisuse("QTGetAtomDataPtr of no atom");
        return invalidAtomErr;
    }
    ScriptedAtom& atom = (*atoms)[i];
    *outByteCount = static_cast<SInt32>(atom.data.size());
    *outData = atom.hasPointer ? atom.data.data() : nullptr;
    return atom.dataStatus;
}

OSErr EnterMovies(void) {
    if (LogAndFail("EnterMovies()")) return kErrorOfEnter;
    ++TheState().enteredCount;
    return noErr;
}

void ExitMovies(void) {
    Log("ExitMovies()");
    if (TheState().enteredCount-- == 0) ReportMisuse("ExitMovies without EnterMovies");
}

OSErr GetMoviesStickyError(void) {
    Log("GetMoviesStickyError()");
    if (TheState().stickyError) return *TheState().stickyError;
    return TheState().enteredCount > 0 ? OSErr{noErr} : OSErr{movieToolboxUninitialized};
}
