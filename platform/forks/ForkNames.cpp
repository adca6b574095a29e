#include "ForkNames.h"

#include <algorithm>

namespace toolbox::files {

namespace {

constexpr UniCharCount kMaxNameUnits = 255;

}  // namespace

OSStatus IsResourceForkName(UniCharCount inLength, const UniChar* inName, bool& outIsResource) {
    if (inLength > kMaxNameUnits) return errFSNameTooLong;
    if (inLength > 0 && inName == nullptr) return errFSBadForkName;
    outIsResource = inLength > 0;
    const bool isKnown = !outIsResource || std::equal(inName, inName + inLength, kResourceForkName.begin(),
                                                      kResourceForkName.end());
    return isKnown ? noErr : errFSBadForkName;
}

void SetForkName(bool inIsResource, HFSUniStr255& outName) {
    const std::u16string_view name = inIsResource ? kResourceForkName : std::u16string_view();
    outName.length = static_cast<UInt16>(name.size());
    std::copy(name.begin(), name.end(), outName.unicode);
}

}  // namespace toolbox::files

using namespace toolbox::files;

OSErr FSGetDataForkName(HFSUniStr255* outName) {
    if (outName == nullptr) return paramErr;
    SetForkName(false, *outName);
    return noErr;
}

OSErr FSGetResourceForkName(HFSUniStr255* outName) {
    if (outName == nullptr) return paramErr;
    SetForkName(true, *outName);
    return noErr;
}
