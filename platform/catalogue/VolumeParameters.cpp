#include "MountedVolumes.h"
#include "ParamBlocks.h"
#include "catalogue/Volumes.h"

#include <toolbox/Volumes.h>

#include <algorithm>
#include <cstddef>
#include <limits>

namespace toolbox::files {

namespace {

constexpr std::uint64_t kMaxBlocks = std::numeric_limits<UInt16>::max();

struct Parameters {
    SInt16 volume = 0;
    VolumeSizes sizes;
    VolumeLocks locks;
};

OSStatus VolumeAsked(const HVolumeParam& inBlock, SInt16& outVolume) {
    const auto index = static_cast<std::size_t>(std::max<SInt16>(inBlock.ioVolIndex, 0));
    return ChooseVolume(inBlock.ioVRefNum, index, outVolume);
}

void Fill(const Parameters& inParameters, HVolumeParam& ioBlock) {
    const VolumeSizes sizes = SizesInBlocks(inParameters.sizes, kMaxBlocks);
    const int locks = (inParameters.locks.isReadOnly ? kHFSVolumeSoftwareLockMask : 0) |
                      (inParameters.locks.isDeviceReadOnly ? kHFSVolumeHardwareLockMask : 0);
    ioBlock.ioVRefNum = inParameters.volume;
    ioBlock.ioVAtrb = static_cast<SInt16>(locks);
    ioBlock.ioVSigWord = kVolumeSignature;
    ioBlock.ioVFilCnt =
        static_cast<UInt32>(std::min<std::uint64_t>(sizes.itemCount, std::numeric_limits<UInt32>::max()));
    ioBlock.ioVNmAlBlks = static_cast<UInt16>(sizes.blockCount);
    ioBlock.ioVFrBlk = static_cast<UInt16>(sizes.freeBlockCount);
    ioBlock.ioVAlBlkSiz = static_cast<UInt32>(sizes.blockBytes);
    ioBlock.ioVClpSiz = ioBlock.ioVAlBlkSiz;
}

OSStatus GetParameters(HVolumeParam& ioBlock) {
    Parameters parameters;
    Volume volume;
    OSStatus status = VolumeAsked(ioBlock, parameters.volume);
    if (status == noErr) status = GetVolume(parameters.volume, volume);
    if (status == noErr) status = GetVolumeSizes(volume, parameters.sizes);
    if (status == noErr) status = GetVolumeLocks(volume, parameters.locks);
    if (status != noErr) return status;
    Str255 name = {};
    GetVolumeName(volume, name);
    if (ioBlock.ioNamePtr != nullptr) std::copy_n(name, name[0] + 1, ioBlock.ioNamePtr);
    Fill(parameters, ioBlock);
    return noErr;
}

}  // namespace

}  // namespace toolbox::files

using namespace toolbox::files;

OSErr PBHGetVInfoSync(HParmBlkPtr ioBlock) {
    return AnswerBlock(ioBlock, &HParamBlockRec::volumeParam, GetParameters);
}
