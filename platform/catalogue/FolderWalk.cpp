#include "FolderWalk.h"

#include "Finding.h"
#include "FolderItems.h"
#include "catalogue/DescriptorPaths.h"
#include "catalogue/Volumes.h"
#include "companions/CompanionNames.h"
#include "companions/Companions.h"
#include "os/SystemCalls.h"
#include "status/StatusOfErrno.h"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace toolbox::files {

namespace {

constexpr std::int64_t kNanosPerSecond = 1'000'000'000;
// The clock by which files are dated ticks at least this often; that of old file systems every two seconds.
constexpr std::int64_t kTickNanos = 20'000'000;
constexpr std::int64_t kLongTickNanos = 2 * kNanosPerSecond;
// Of fewer names that are to go than this, it is not worth while to hear what comes.
constexpr std::size_t kFewNames = 8;
// Levels that keep what was read of them.
constexpr std::size_t kMaxLevelsRead = 16;

// Wraps for times centuries from now: only equality and small differences matter.
std::int64_t NanosOf(const os::Moment& inMoment) {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(inMoment.seconds) * kNanosPerSecond +
                                     inMoment.nanos);
}

// Whether another change would give a folder another time than it has.
bool IsSettled(std::int64_t inChangeNanos) {
    timespec now = {};
    if (os::Calls().clock_gettime(CLOCK_REALTIME, &now) != 0) return false;
    const std::int64_t age =
        static_cast<std::int64_t>(now.tv_sec) * kNanosPerSecond + now.tv_nsec - inChangeNanos;
    return age > (inChangeNanos % kNanosPerSecond == 0 ? kLongTickNanos : kTickNanos);
}

// The same folder, by the same mount.
bool IsSameFolder(const os::ItemStatus& inLeft, const os::ItemStatus& inRight) {
    return inLeft.identity.IsSameItem(inRight.identity) && inLeft.Volume() == inRight.Volume();
}

bool IsGone(OSStatus inStatus) {
    return inStatus == fnfErr || inStatus == dirNFErr;
}

}  // namespace

FolderWalk::Stamp FolderWalk::StampOf(const os::ItemStatus& inFolder) {
    return {NanosOf(inFolder.contentDate), NanosOf(inFolder.attributeDate)};
}

OSStatus FolderWalk::Open(const FSRef& inFolder) {
    OSStatus status = FindByRef(inFolder, mFolder);
    if (status != noErr) return status;
    if (mFolder.status.kind != os::ItemKind::kFolder) return errFSNotAFolder;
    if (mKind == WalkKind::kDelete && mFolder.facts.nodeID == kRootID) return fBsyErr;
    status = OpenFoundFolder(mFolder, mPlace);
    if (status != noErr) return status == dirNFErr ? OSStatus{fnfErr} : status;
    return Begin(inFolder);
}

OSStatus FolderWalk::OpenAt(const FSRef& inFolder, const FoundItem& inFound, const Place& inPlace) {
    const int error = OpenFolderAt(inPlace, mPlace);
    if (error != 0) return IsMissing(error) ? fnfErr : StatusOfErrno(error);
    if (!IsSameFolder(mPlace.folderStatus, inFound.status)) return fnfErr;
    mFolder = inFound;
    return Begin(inFolder);
}

OSStatus FolderWalk::Begin(const FSRef& inFolder) {
    Level level = {mPlace.folderStatus, {}, StampOf(mPlace.folderStatus), {}, false, FolderNames()};
    const OSStatus status = Read(mPlace, level);
    if (status != noErr) return status;
    mLevels.push_back(std::move(level));
    Learn(mPlace.folderStatus);
    mRoot = inFolder;
    // While it is found: others may move it. What fails is asked for again when it is needed.
    (void)GetVolumeNumber(mFolder, mVolume);
    return noErr;
}

// Of a place that was just opened or looked at.
OSStatus FolderWalk::Read(Place& ioPlace, Level& ioLevel) {
    const Stamp before = StampOf(ioPlace.folderStatus);
    const bool isSettled = IsSettled(before.attributeNanos);
    const bool isToHear = mKind == WalkKind::kDelete;
    const bool isLarge = ioPlace.folderStatus.sizeBytes > KnownNames::kSmallFolderBytes;
    mLone = nullptr;
    mIsPassed = false;
    int error = isToHear && isLarge ? ReadAndHear(ioPlace, ioLevel.names) : ioLevel.names.Read(ioPlace);
    if (error == 0 && isToHear && !isLarge && ioLevel.names.CountToCome() >= kFewNames)
        error = ReadAndHear(ioPlace, ioLevel.names);
    if (error != 0) return StatusOfErrno(error);
    ioLevel.read = before;
    ioLevel.isReadSettled = isSettled;
    return noErr;
}

int FolderWalk::ReadAndHear(Place& ioPlace, FolderNames& ioNames) {
    auto lone = std::make_shared<LoneItems>(KnownNames::Shared());
    const bool isHeard = lone->Begin(ioPlace);
    const int error = ioNames.Read(ioPlace, [&](const std::string& inName) {
        if (isHeard) lone->Add(inName);
    });
    if (error == 0 && isHeard) mLone = std::move(lone);
    return error;
}

// What the times of the last level's folder tell, which was just looked at. Where items are deleted, it
// changes with each of them, and what was read of it is never what is there.
void FolderWalk::Learn(const os::ItemStatus& inFolder) {
    const Level& level = mLevels.back();
    const Stamp now = StampOf(inFolder);
    mHasChanged = mHasChanged || now != level.met;
    mKnowsNames = mKind != WalkKind::kDelete && level.isReadSettled && now == level.read;
}

void FolderWalk::LookAtFolder() {
    if (!mPlace.folder.IsOpen()) return;  // who opens it looks
    if (os::GetDescriptorStatus(mPlace.folder.Number(), mPlace.folderStatus) == 0) {
        Learn(mPlace.folderStatus);
        return;
    }
    mHasChanged = true;
    mKnowsNames = false;
}

// Opens the last level's folder, wherever it is by now; of one that is gone, the one above.
OSStatus FolderWalk::EnsureOpen() {
    if (mPlace.folder.IsOpen()) return noErr;
    mStep = Step::kOpening;
    while (!mLevels.empty()) {
        Place place;
        FoundItem folder;
        OSStatus status = FindByIdentity(mLevels.back().folder.identity, folder);
        if (status == noErr) status = OpenFoundFolder(folder, place);
        if (status == noErr && !IsSameFolder(place.folderStatus, mLevels.back().folder)) status = fnfErr;
        if (!IsGone(status)) {
            if (status != noErr) return status;
            mFolder = std::move(folder);
            mPlace = std::move(place);
            Learn(mPlace.folderStatus);
            return noErr;
        }
        mHasChanged = true;
        mMustEnter = false;
        mLevels.pop_back();
    }
    return errFSNoMoreItems;
}

OSStatus FolderWalk::GetItem(WalkedItem& outItem) {
    for (;;) {
        OSStatus status = EnsureOpen();
        bool isThere = false;
        if (status == noErr) status = GoOn(isThere);
        if (status != noErr) return status;
        if (!isThere) continue;
        bool isHidden = false;
        mStep = Step::kItem;
        mPlace.name = mLevels.back().names.Current();
        status = LookAtItem(outItem, isHidden);
        if (status != fnfErr && !isHidden) return status;
        mLevels.back().names.Pass();
    }
}

// One step towards the next name: into a folder, out of one, or reading more of it.
OSStatus FolderWalk::GoOn(bool& outIsThere) {
    if (mMustEnter) {
        mStep = Step::kEntering;
        return Enter();
    }
    Level& level = mLevels.back();
    if (level.names.MustRead()) {
        mStep = Step::kReading;
        LookAtFolder();
        const OSStatus status = Read(mPlace, level);
        if (status == noErr) Learn(mPlace.folderStatus);
        return status;
    }
    outIsThere = level.names.Current() != nullptr;
    if (outIsThere) return noErr;
    if (mLevels.size() == 1) return errFSNoMoreItems;
    Leave();
    return noErr;
}

// What took the folder's place meanwhile is not entered.
OSStatus FolderWalk::Enter() {
    Place place;
    int error = OpenFolderAt(mPlace.folder.Number(), mEntered.c_str(), place);
    if (IsMissing(error) || error == ELOOP ||
        (error == 0 && !IsSameFolder(place.folderStatus, mEnteredStatus))) {
        mMustEnter = false;
        return noErr;
    }
    if (error != 0) return StatusOfErrno(error);
    Level level = {place.folderStatus, mEntered, StampOf(place.folderStatus), {}, false, FolderNames()};
    const OSStatus status = Read(place, level);
    if (status != noErr) return status;
    std::string path = PathInFolder(mFolder.path, mEntered);
    mLevels.push_back(std::move(level));
    mMustEnter = false;
    mPlace = std::move(place);
    mFolder.status = mPlace.folderStatus;
    mFolder.path = std::move(path);
    ForgetUppermostNames();
    Learn(mPlace.folderStatus);
    return noErr;
}

void FolderWalk::ForgetUppermostNames() noexcept {
    if (mLevels.size() > kMaxLevelsRead) mLevels[mLevels.size() - 1 - kMaxLevelsRead].names.Drop();
}

// To the folder above: through "..", if that is the same as before; else it is looked for.
void FolderWalk::Leave() {
    Place place;
    const int error = OpenFolderAt(mPlace.folder.Number(), "..", place);
    LookAtFolder();  // for the last time
    mLevels.pop_back();
    const bool isSame = error == 0 && IsSameFolder(place.folderStatus, mLevels.back().folder);
    mPlace = isSame ? std::move(place) : Place();
    if (!isSame) return;
    mFolder.path.resize(std::max<std::size_t>(mFolder.path.rfind('/'), 1));
    mFolder.status = mPlace.folderStatus;
    Learn(mPlace.folderStatus);
}

OSStatus FolderWalk::LookAtItem(WalkedItem& outItem, bool& outIsHidden) {
    const FolderNames& names = mLevels.back().names;
    mIsPassed = false;
    // Also where the item's name was not read: it may be one that came later.
    outIsHidden = mPlace.name.starts_with(kCompanionPrefix) && IsCompanion(mPlace);
    if (outIsHidden) return noErr;
    const OSStatus status = FindHere(outItem.item);
    if (status != noErr) return status;
    mItem = outItem.item.status;
    outIsHidden = IsLeftover(outItem.item);
    if (outIsHidden) return noErr;
    // Of what is mounted here the companion lies within.
    const bool isMounted = IsVolumeRoot(mPlace, mItem);
    if (mKind == WalkKind::kDelete && (isMounted || mItem.isMountRoot)) return fBsyErr;
    outItem.hasNoCompanion = !isMounted && (mLone != nullptr ? mLone->IsLone(mPlace.name)
                                                             : mKnowsNames && !names.HasCompanionName());
    return noErr;
}

// Where folders changed places, the folder's path is asked of the system, and by it the item is found.
OSStatus FolderWalk::FindHere(FoundItem& outItem) {
    const OSStatus status = FindAtPlace(mFolder, mPlace, outItem);
    const bool isHere = status == noErr && outItem.facts.parent.IsSameItem(mPlace.folderStatus.identity);
    if (isHere || (status != noErr && !IsGone(status))) return status;
    os::ItemStatus there;
    if (status != noErr && IsMissing(GetStatus(mPlace, there))) return fnfErr;
    FoundItem folder;
    const OSStatus folderStatus = FindByPath(PathOfDescriptor(mPlace.folder.Number()).c_str(), folder);
    if (folderStatus != noErr) return folderStatus;
    mFolder = std::move(folder);
    const OSStatus again = FindAtPlace(mFolder, mPlace, outItem);
    const bool isElsewhere = again == noErr && !outItem.facts.parent.IsSameItem(mPlace.folderStatus.identity);
    return isElsewhere ? OSStatus{fnfErr} : again;
}

// What an interrupted move left, which goes, or what another call is just moving or deleting.
bool FolderWalk::IsLeftover(const FoundItem& inItem) {
    if (!mPlace.name.starts_with(kCompanionPrefix) || mPlace.name == CompanionName(".")) return false;
    std::string name = mPlace.name.substr(kCompanionPrefix.size());
    std::swap(mPlace.name, name);
    if (IsMarked(inItem.status)) DropLeftover(mPlace);
    const bool hasOwner = mKind != WalkKind::kDelete && HasOwner(mPlace);
    std::swap(mPlace.name, name);
    os::ItemStatus status;
    return hasOwner || IsMissing(GetStatus(mPlace, status));
}

void FolderWalk::Pass(bool inWasHandedOut) {
    switch (mStep) {
        case Step::kItem:
            PassItem(inWasHandedOut);
            break;
        case Step::kReading:
            mLevels.back().names.End();
            break;
        case Step::kEntering:
            mMustEnter = false;
            break;
        case Step::kOpening:
            mMustEnter = false;
            mLevels.pop_back();
            break;
    }
}

void FolderWalk::PassItem(bool inWasHandedOut) {
    const bool mustEnter = inWasHandedOut && mKind == WalkKind::kSubtree &&
                           mItem.kind == os::ItemKind::kFolder && !mItem.isMountRoot &&
                           !IsVolumeRoot(mPlace, mItem);
    if (mustEnter) mEntered = mPlace.name;
    mLevels.back().names.Pass();
    mMustEnter = mustEnter;
    mIsPassed = inWasHandedOut;
    if (mustEnter) mEnteredStatus = mItem;
}

OSStatus FolderWalk::GetVolume(SInt16& outVolume) {
    if (mVolume == 0) {
        FoundItem root;
        OSStatus status = FindByRef(mRoot, root);
        if (status == noErr) status = GetVolumeNumber(root, mVolume);
        if (status != noErr) return status;
    }
    outVolume = mVolume;
    return noErr;
}

bool FolderWalk::Lend(const os::ItemIdentity& inFolder, LentFolder& ioLent) noexcept {
    const bool isIt =
        mPlace.folder.IsOpen() && !mLevels.empty() && mPlace.folderStatus.identity.IsSameItem(inFolder);
    if (!isIt) return false;
    ioLent.place.folder = std::move(mPlace.folder);
    ioLent.place.folderStatus = mPlace.folderStatus;
    ioLent.folder = std::move(mFolder);
    if (!mIsPassed || !mLevels.back().names.IsPassedLast(ioLent.place.name)) return true;
    ioLent.lone = mLone;
    ioLent.item = mItem;
    return true;
}

void FolderWalk::TakeBack(Place& ioPlace, FoundItem& ioFolder) noexcept {
    if (mPlace.folder.IsOpen() || mLevels.empty()) return;
    if (!IsSameFolder(ioPlace.folderStatus, mLevels.back().folder)) return;
    mPlace.folder = std::move(ioPlace.folder);
    mPlace.folderStatus = ioPlace.folderStatus;
    mFolder = std::move(ioFolder);
    Learn(mPlace.folderStatus);
}

bool FolderWalk::OpenAbove(Place& outPlace, FoundItem& outFolder) noexcept {
    if (!mPlace.folder.IsOpen() || mLevels.size() != 1) return false;
    if (OpenFolderAt(mPlace.folder.Number(), "..", outPlace) != 0) return false;
    outFolder = std::move(mFolder);
    outFolder.path.resize(std::max<std::size_t>(outFolder.path.rfind('/'), 1));
    outFolder.status = outPlace.folderStatus;
    return true;
}

void FolderWalk::Park() noexcept {
    mPlace.folder = os::Descriptor();
    mFolder.path = {};  // of a deep tree's many iterators
    mRoom.item.path = {};
    mKnowsNames = false;
    mLone = nullptr;
    for (Level& level : mLevels)
        level.names.Drop();
}

}  // namespace toolbox::files
