#include "MovieToolbox.h"
#include "keys/AccessKeyFile.h"
#include "keys/ProcessKeys.h"

#include <toolbox/AccessKeys.h>

#include <new>
#include <string>
#include <string_view>
#include <vector>

namespace {

using toolbox::keys::AccessKey;
using toolbox::keys::AccessKeyList;
using toolbox::keys::KeyChange;

std::string TextOf(ConstStr255Param inText) {
    return std::string(reinterpret_cast<const char*>(inText) + 1, inText[0]);
}

OSStatus Change(KeyChange inChange, ConstStr255Param inType, SInt32 inFlags, Handle inKey) {
    if (inType == nullptr || inKey == nullptr || (inFlags & ~kAccessKeySystemFlag) != 0) return paramErr;
    const Size byteCount = GetHandleSize(inKey);
    if (MemError() != noErr) return MemError();
    const AccessKey key = {TextOf(inType), std::string(*inKey, static_cast<std::size_t>(byteCount))};
    return inFlags == kAccessKeySystemFlag ? toolbox::keys::ChangeSystemKeys(inChange, key)
                                           : toolbox::keys::ChangeProcessKeys(inChange, key);
}

OSStatus MakeContainer(const std::vector<std::string_view>& inKeys, QTAtomContainer& outContainer) {
    OSErr error = QTNewAtomContainer(&outContainer);
    for (std::size_t i = 0; i < inKeys.size() && error == noErr; ++i)
        error = QTInsertChild(outContainer, kParentAtomIsContainer, kAccessKeyAtomType,
                              static_cast<QTAtomID>(i + 1), 0, static_cast<SInt32>(inKeys[i].size()),
                              inKeys[i].data(), nullptr);
    if (error == noErr) return noErr;
    QTDisposeAtomContainer(outContainer);
    outContainer = nullptr;
    return error;
}

OSStatus Get(ConstStr255Param inType, SInt32 inFlags, QTAtomContainer& outKeys) {
    AccessKeyList keys;
    if (inFlags == kAccessKeySystemFlag) {
        const OSStatus status = toolbox::keys::LoadSystemKeys(keys);
        if (status != noErr) return status;
    } else {
        keys = toolbox::keys::CopyProcessKeys();
    }
    return MakeContainer(keys.KeysOf(TextOf(inType)), outKeys);
}

// What a call answers: its status, with exhausted memory as one of them, kept as sticky error.
template <typename Call>
OSErr Answer(Call inCall) {
    OSStatus status = memFullErr;
    try {
        status = inCall();
    } catch (const std::bad_alloc&) {
    }
    return toolbox::movies::NoteMoviesError(static_cast<OSErr>(status));
}

}  // namespace

OSErr QTRegisterAccessKey(ConstStr255Param inType, SInt32 inFlags, Handle inKey) {
    return Answer([&] { return Change(KeyChange::kAdd, inType, inFlags, inKey); });
}

OSErr QTUnregisterAccessKey(ConstStr255Param inType, SInt32 inFlags, Handle inKey) {
    return Answer([&] { return Change(KeyChange::kRemove, inType, inFlags, inKey); });
}

OSErr QTGetAccessKeys(ConstStr255Param inType, SInt32 inFlags, QTAtomContainer* outKeys) {
    if (outKeys != nullptr) *outKeys = nullptr;
    return Answer([&]() -> OSStatus {
        if (inType == nullptr || outKeys == nullptr || (inFlags & ~kAccessKeySystemFlag) != 0)
            return paramErr;
        return Get(inType, inFlags, *outKeys);
    });
}
