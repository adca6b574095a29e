#include <files/Exchange.h>
#include <files/Names.h>
#include <files/Volumes.h>
#include <toolbox/CatalogInfo.h>
#include <toolbox/CatalogItems.h>
#include <toolbox/MacErrors.h>

#include <cstddef>
#include <iterator>

namespace {

constexpr UInt32 kFirstSeed = 0x4D52544C;
constexpr SInt16 kMinVersionWithExtendedAttributes = 3;
constexpr SInt32 kSupportsExchange = SInt32{1} << bSupportsFSExchangeObjects;
constexpr int kKindOfMode = 0170000;
constexpr int kRegularFile = 0100000;

// What is done to each of the two files in turn.
enum class Phase { kTemporaryName, kMove, kInfo, kNewName };
constexpr Phase kPhases[] = {Phase::kTemporaryName, Phase::kMove, Phase::kInfo, Phase::kNewName};
constexpr std::size_t kSides = 2;

// A file: where it is now, and what it was at first.
struct Side {
    FSRef item = {};
    FSRef folder = {};
    HFSUniStr255 name = {};
    HFSUniStr255 temporaryName = {};
    FSCatalogInfo info = {};
};

OSErr Rename(Side& ioSide, const HFSUniStr255& inName, TextEncoding inHint) {
    return FSRenameUnicode(&ioSide.item, inName.length, inName.unicode, inHint, &ioSide.item);
}

OSErr SetInfo(const Side& inSide, const FSCatalogInfo& inInfo) {
    return FSSetCatalogInfo(&inSide.item, kFSCatInfoSettableInfo, &inInfo);
}

// A companion tells whole seconds. A date with less than those is the file system's own, which comes back
// when no other is told.
FSCatalogInfo AsItWas(const FSCatalogInfo& inInfo) {
    FSCatalogInfo info = inInfo;
    if (info.createDate.fraction != 0) info.createDate = {};
    return info;
}

class Exchange {
  public:
    Exchange(const FSRef& inItem1, const FSRef& inItem2) {
        mSides[0].item = inItem1;
        mSides[1].item = inItem2;
    }
    const FSRef& Item(std::size_t inSide) const { return mSides[inSide].item; }

    // noErr when the two can be exchanged.
    OSErr Prepare();
    // On failure all is as it was.
    OSErr Make();

  private:
    OSErr NameTemporarily();
    OSErr Do(Phase inPhase, std::size_t inSide);
    void Undo(Phase inPhase, std::size_t inSide);

    Side mSides[kSides];
    bool mIsOneFolder = false;
};

OSErr CheckFile(const FSCatalogInfo& inInfo) {
    return (inInfo.permissions.mode & kKindOfMode) == kRegularFile ? OSErr{noErr} : OSErr{notAFileErr};
}

// Whether two references are to one item.
OSErr Compare(const FSRef& inRef1, const FSRef& inRef2, bool& outIsSame) {
    const OSErr error = FSCompareFSRefs(&inRef1, &inRef2);
    outIsSame = error == noErr;
    return error == errFSRefsDifferent ? OSErr{noErr} : error;
}

OSErr Exchange::Prepare() {
    for (Side& side : mSides) {
        OSErr error = FSGetCatalogInfo(&side.item, kFSCatInfoSettableInfo | kFSCatInfoVolume, &side.info,
                                       &side.name, nullptr, &side.folder);
        if (error == noErr) error = CheckFile(side.info);
        if (error != noErr) return error;
    }
    bool isOneFile = false;
    OSErr error = Compare(mSides[0].item, mSides[1].item, isOneFile);
    if (error == noErr && isOneFile) error = sameFileErr;
    if (error == noErr && mSides[0].info.volume != mSides[1].info.volume) error = diffVolErr;
    for (const Side& side : mSides)
        if (error == noErr && (side.info.nodeFlags & kFSNodeLockedMask) != 0) error = fLckdErr;
    if (error == noErr) error = Compare(mSides[0].folder, mSides[1].folder, mIsOneFolder);
    return error == noErr ? NameTemporarily() : error;
}

OSErr Exchange::NameTemporarily() {
    UInt32 seed = kFirstSeed;
    for (Side& side : mSides) {
        const OSErr error =
            GenerateUniqueHFSUniStr(&seed, &mSides[0].folder, &mSides[1].folder, &side.temporaryName);
        if (error != noErr) return error;
        ++seed;
    }
    return noErr;
}

OSErr Exchange::Do(Phase inPhase, std::size_t inSide) {
    Side& side = mSides[inSide];
    const Side& other = mSides[1 - inSide];
    switch (inPhase) {
        case Phase::kTemporaryName:
            return Rename(side, side.temporaryName, side.info.textEncodingHint);
        case Phase::kMove:
            return mIsOneFolder ? OSErr{noErr} : FSMoveObject(&side.item, &other.folder, &side.item);
        case Phase::kInfo:
            return SetInfo(side, other.info);
        case Phase::kNewName:
            break;
    }
    return Rename(side, other.name, other.info.textEncodingHint);
}

void Exchange::Undo(Phase inPhase, std::size_t inSide) {
    Side& side = mSides[inSide];
    switch (inPhase) {
        case Phase::kTemporaryName:
            (void)Rename(side, side.name, side.info.textEncodingHint);
            return;
        case Phase::kMove:
            if (!mIsOneFolder) (void)FSMoveObject(&side.item, &side.folder, &side.item);
            return;
        case Phase::kInfo:
            (void)SetInfo(side, AsItWas(side.info));
            return;
        case Phase::kNewName:
            (void)Rename(side, side.temporaryName, side.info.textEncodingHint);
    }
}

OSErr Exchange::Make() {
    constexpr std::size_t kSteps = std::size(kPhases) * kSides;
    for (std::size_t step = 0; step < kSteps; ++step) {
        const OSErr error = Do(kPhases[step / kSides], step % kSides);
        if (error == noErr) continue;
        while (step-- > 0)
            Undo(kPhases[step / kSides], step % kSides);
        return error;
    }
    return noErr;
}

// Whether the volume exchanges two files itself.
OSErr GetIsExchangeSupported(const FSRef& inItem, bool& outIsSupported) {
    FSCatalogInfo info = {};
    OSErr error = FSGetCatalogInfo(&inItem, kFSCatInfoVolume, &info, nullptr, nullptr, nullptr);
    if (error != noErr) return error;
    GetVolParmsInfoBuffer parameters = {};
    error = FSGetVolParms(info.volume, sizeof parameters, &parameters, nullptr);
    outIsSupported = parameters.vMVersion >= kMinVersionWithExtendedAttributes &&
                     (parameters.vMExtendedAttributes & kSupportsExchange) != 0;
    return error;
}

}  // namespace

OSErr FSExchangeObjectsCompat(const FSRef* inItem1, const FSRef* inItem2, FSRef* outNewItem1,
                              FSRef* outNewItem2) {
    if (inItem1 == nullptr || inItem2 == nullptr || outNewItem1 == nullptr || outNewItem2 == nullptr)
        return paramErr;
    const FSRef item1 = *inItem1;  // which may be one of the outputs
    const FSRef item2 = *inItem2;
    *outNewItem1 = item1;
    *outNewItem2 = item2;
    bool isSupported = false;
    OSErr error = GetIsExchangeSupported(item1, isSupported);
    if (error != noErr) return error;
    if (isSupported) {
        error = FSExchangeObjects(&item1, &item2);
        if (error != paramErr) return error;
    }
    Exchange exchange(item1, item2);
    error = exchange.Prepare();
    if (error != noErr) return error;
    error = exchange.Make();
    *outNewItem1 = exchange.Item(error == noErr ? 1 : 0);
    *outNewItem2 = exchange.Item(error == noErr ? 0 : 1);
    return error;
}
