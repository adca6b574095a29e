#include "FolderItems.h"
#include "MountedVolumes.h"
#include "catalogue/Volumes.h"
#include "names/CatalogueNames.h"

#include <toolbox/Volumes.h>

#include <algorithm>
#include <cstddef>
#include <limits>
#include <new>

namespace toolbox::files {

namespace {

constexpr std::size_t kMaxVolumeNameBytes = 27;
constexpr std::uint64_t kMaxBlocks = std::numeric_limits<UInt16>::max();
constexpr std::uint64_t kMaxBlockBytes = std::uint64_t{1} << 31;
constexpr UInt16 kSignature = 0x4244;  // 'BD'

struct Parameters {
    SInt16 volume = 0;
    VolumeFacts facts;
    FoundItem root;
};

OSStatus VolumeAsked(const HVolumeParam& inBlock, SInt16& outVolume) {
    outVolume = inBlock.ioVRefNum == 0 ? kBootVolume : inBlock.ioVRefNum;
    if (inBlock.ioVolIndex <= 0) return noErr;
    std::vector<SInt16> volumes;
    const OSStatus status = ListVolumes(volumes);
    if (status != noErr) return status;
    const auto index = static_cast<std::size_t>(inBlock.ioVolIndex) - 1;
    if (index >= volumes.size()) return nsvErr;
    outVolume = volumes[index];
    return noErr;
}

// A short count of blocks, each as large as that needs.
void FillBlocks(const VolumeFacts& inFacts, HVolumeParam& ioBlock) {
    std::uint64_t factor = 1;
    while (inFacts.blockCount / factor > kMaxBlocks && inFacts.blockBytes * factor < kMaxBlockBytes)
        factor *= 2;
    const auto count = [factor](std::uint64_t inBlocks) {
        return static_cast<UInt16>(std::min(inBlocks / factor, kMaxBlocks));
    };
    ioBlock.ioVNmAlBlks = count(inFacts.blockCount);
    ioBlock.ioVFrBlk = count(inFacts.freeBlockCount);
    ioBlock.ioVAlBlkSiz = static_cast<UInt32>(inFacts.blockBytes * factor);
    ioBlock.ioVClpSiz = ioBlock.ioVAlBlkSiz;
}

void Fill(const Parameters& inParameters, HVolumeParam& ioBlock) {
    const VolumeFacts& facts = inParameters.facts;
    const int locks = (facts.isReadOnly ? kHFSVolumeSoftwareLockMask : 0) |
                      (facts.isDeviceReadOnly ? kHFSVolumeHardwareLockMask : 0);
    ioBlock.ioVRefNum = inParameters.volume;
    ioBlock.ioVAtrb = static_cast<SInt16>(locks);
    ioBlock.ioVSigWord = kSignature;
    ioBlock.ioVFilCnt =
        static_cast<UInt32>(std::min<std::uint64_t>(facts.itemCount, std::numeric_limits<UInt32>::max()));
    FillBlocks(facts, ioBlock);
}

OSStatus GetParameters(HVolumeParam& ioBlock) {
    Parameters parameters;
    OSStatus status = VolumeAsked(ioBlock, parameters.volume);
    if (status == noErr) status = GetVolumeFacts(parameters.volume, parameters.facts);
    if (status == noErr) status = FindFolderByID(parameters.volume, kRootID, parameters.root);
    if (status != noErr) return status == dirNFErr ? static_cast<OSStatus>(nsvErr) : status;
    Str255 name = {};
    SpecName(NameInCatalogue(parameters.root), kRootID, name, kMaxVolumeNameBytes);
    if (ioBlock.ioNamePtr != nullptr) std::copy_n(name, name[0] + 1, ioBlock.ioNamePtr);
    Fill(parameters, ioBlock);
    return noErr;
}

}  // namespace

}  // namespace toolbox::files

using namespace toolbox::files;

OSErr PBHGetVInfoSync(HParmBlkPtr ioBlock) {
    if (ioBlock == nullptr) return paramErr;
    HVolumeParam& block = ioBlock->volumeParam;
    try {
        block.ioResult = static_cast<OSErr>(GetParameters(block));
    } catch (const std::bad_alloc&) {
        block.ioResult = memFullErr;
    }
    return block.ioResult;
}
