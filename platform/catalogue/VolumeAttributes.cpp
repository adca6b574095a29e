#include "MountedVolumes.h"
#include "ParamBlocks.h"
#include "VolumeFeatures.h"
#include "names/CatalogueNames.h"

#include <toolbox/VolumeAttributes.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>

namespace toolbox::files {

namespace {

constexpr SInt16 kVersion = 5;

constexpr UInt32 If(bool inIsSo, int inBit) {
    return inIsSo ? UInt32{1} << inBit : 0;
}

UInt32 AttributesOf(const VolumeFeatures& inFeatures) {
    return If(true, bNoMiniFndr) | If(true, bNoVNEdit) | If(true, bNoBootBlks) |
           If(inFeatures.hasOwners, bAccessCntl) | If(true, bHasExtFSVol) | If(true, bHasCopyFile) |
           If(true, bHasMoveRename) | If(true, bHasFileIDs);
}

UInt32 ExtendedAttributesOf(const VolumeFeatures& inFeatures, bool inMayExchange, bool inIsRemovable) {
    return If(true, bSupportsHFSPlusAPIs) | If(inMayExchange, bSupportsFSExchangeObjects) |
           If(inFeatures.hasLongFiles, bSupports2TBFiles) | If(true, bSupportsLongNames) |
           If(true, bSupportsMultiScriptNames) | If(true, bSupportsSubtreeIterators) |
           If(true, bSupportsExclusiveLocks) | If(inFeatures.hasLinks, bSupportsSymbolicLinks) |
           If(inFeatures.hasJournal, bSupportsJournaling) | If(true, bIsCasePreserving) |
           If(inIsRemovable, bIsRemovable);
}

// Of "server:/folder" and "//server/folder". FNV-1a, and never 0.
SInt32 ServerNumber(std::string_view inSource) {
    const bool hasSlashes = inSource.starts_with("//");
    if (hasSlashes) inSource.remove_prefix(2);
    std::uint32_t hash = 2166136261U;
    for (const char byte : inSource.substr(0, inSource.find(hasSlashes ? "/" : ":/")))
        hash = (hash ^ static_cast<unsigned char>(byte)) * 16777619U;
    return static_cast<SInt32>(hash | 1U);
}

OSStatus GetParameters(SInt16 inVolume, GetVolParmsInfoBuffer& outParameters) {
    SInt16 number = 0;
    Volume volume;
    MountEntry mount;
    OSStatus status = ChooseVolume(inVolume, 0, number);
    if (status == noErr) status = GetVolume(number, volume);
    if (status != noErr) return status;
    status = FindMount(volume, mount);
    // One that the kernel does not show to this process is of a type that nobody tells.
    if (status != noErr && status != nsvErr) return status;
    const VolumeFeatures features = FeaturesOf(mount.type);
    const bool mayExchange = features.hasExchange && !IsExchangeForbidden(volume.key);
    const bool isRemovable = IsDeviceRemovable(volume.key.device);
    outParameters = {};
    outParameters.vMVersion = kVersion;
    outParameters.vMAttrib = static_cast<SInt32>(AttributesOf(features));
    outParameters.vMServerAdr = features.isOfServer ? ServerNumber(mount.source) : 0;
    outParameters.vMExtendedAttributes =
        static_cast<SInt32>(ExtendedAttributesOf(features, mayExchange, isRemovable));
    outParameters.vMMaxNameLength = kMaxNameUnits;
    return noErr;
}

OSStatus Answer(HIOParam& ioBlock) {
    if (ioBlock.ioBuffer == nullptr || ioBlock.ioReqCount < 0) return paramErr;
    GetVolParmsInfoBuffer parameters;
    const OSStatus status = GetParameters(ioBlock.ioVRefNum, parameters);
    if (status != noErr) return status;
    const std::size_t byteCount = std::min(static_cast<std::size_t>(ioBlock.ioReqCount), sizeof parameters);
    std::memcpy(ioBlock.ioBuffer, &parameters, byteCount);
    ioBlock.ioActCount = static_cast<SInt32>(byteCount);
    return noErr;
}

}  // namespace

}  // namespace toolbox::files

OSErr PBHGetVolParmsSync(HParmBlkPtr ioBlock) {
    return toolbox::files::AnswerBlock(ioBlock, &HParamBlockRec::ioParam, toolbox::files::Answer);
}
