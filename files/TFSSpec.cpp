#include "ItemNames.h"
#include "OwnedObject.h"

#include <files/TFSSpec.h>
#include <files/UFSSpec.h>
#include <foundation/LException.h>
#include <toolbox/FinderInfo.h>
#include <toolbox/ItemLookup.h>
#include <toolbox/LaunchServices.h>
#include <toolbox/MacErrors.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>

namespace {

using OwnedURL = OwnedObject<CFURLRef>;

constexpr unsigned char kNoName[] = {0};
constexpr unsigned char kMaxSpecNameBytes = 31;
constexpr OSType kFolderType = 0x666F6C64;  // 'fold'
constexpr FSCatalogInfoBitmap kPlaceInfo =
    kFSCatInfoNodeFlags | kFSCatInfoVolume | kFSCatInfoParentDirID | kFSCatInfoNodeID;

bool IsDirectory(const FSCatalogInfo& inInfo) {
    return (inInfo.nodeFlags & kFSNodeIsDirectoryMask) != 0;
}

void ThrowIfError(OSStatus inStatus) {
    if (inStatus != noErr) LException::Throw(inStatus);
}

OSErr MakeFolderRef(SInt16 inVRefNum, UInt32 inDirID, FSRef& outFolder) {
    FSRefParam block = {};
    block.ioNamePtr = kNoName;
    block.ioVRefNum = inVRefNum;
    block.ioDirID = static_cast<SInt32>(inDirID);
    block.newRef = &outFolder;
    return PBMakeFSRefSync(&block);
}

OSErr FindIn(const FSRef& inFolder, const TCFString& inName, FSRef& outItem) {
    HFSUniStr255 name;
    if (!GetItemName(inName, name)) return bdNamErr;
    return FSMakeFSRefUnicode(&inFolder, name.length, name.unicode, kTextEncodingUnknown, &outItem);
}

// Of an item that is there; false when it is not.
bool GetInfo(const TFSSpec& inSpec, FSCatalogInfoBitmap inWhichInfo, FSCatalogInfo& outInfo) {
    FSRef item;
    return inSpec.GetFSRef(item) &&
           FSGetCatalogInfo(&item, inWhichInfo, &outInfo, nullptr, nullptr, nullptr) == noErr;
}

// What would be said of a file, whatever the item is; all 0 when it is not there.
FileInfo FinderInfoOf(const TFSSpec& inSpec, FSCatalogInfoBitmap inWhichInfo) {
    FileInfo finder = {};
    FSCatalogInfo info;
    if (GetInfo(inSpec, inWhichInfo, info)) std::memcpy(&finder, info.finderInfo, sizeof finder);
    return finder;
}

// One component, in which a slash is not what divides paths; empty when memory is short.
TCFString ComponentOf(const TCFString& inName) {
    static const TCFString sSlash(CFSTR("/"));
    static const TCFString sColon(CFSTR(":"));
    const auto isComponent = [](const TCFString& inText) { return inText.Find(sSlash, 0).location < 0; };
    if (isComponent(inName)) return inName;
    const TCFString component = inName.FindAndReplace(sSlash, sColon, CFRangeMake(0, inName.Length()), 0);
    return isComponent(component) ? component : TCFString::Empty;
}

// Of an item that is not there, in a folder that is; null when memory is short.
OwnedURL URLOfMissing(const TFSSpec& inSpec) {
    const FSRef folder = inSpec.GetParentFSRef();
    const OwnedURL folderURL(CFURLCreateFromFSRef(kCFAllocatorDefault, &folder));
    const TCFString component = ComponentOf(inSpec.GetName());
    if (folderURL == nullptr || component.IsEmpty()) return nullptr;
    return OwnedURL(CFURLCreateCopyAppendingPathComponent(kCFAllocatorDefault, folderURL.get(),
                                                          component.StringRef(), false));
}

// What a URL leads to that leads nowhere: a name in a folder.
struct MissingItem {
    explicit MissingItem(CFURLRef inURL)
        : folder(CFURLCreateCopyDeletingLastPathComponent(kCFAllocatorDefault, inURL)) {
        name.Adopt(CFURLCopyLastPathComponent(inURL));
    }

    OwnedURL folder;
    TCFString name;
};

// inError when the folder is not there either.
void InitFromMissing(MissingItem inItem, OSErr inError, TFSSpec& outSpec) {
    FSRef folder;
    if (inItem.folder == nullptr || !CFURLGetFSRef(inItem.folder.get(), &folder)) LException::Throw(inError);
    inItem.folder.reset();
    RefuseEmptyName(inItem.name, false, bdNamErr);
    outSpec.InitFromParentRefAndName(folder, inItem.name);
}

bool IsURLText(const char* inText) {
    const char* const colon = std::strchr(inText, ':');
    const char* const slash = std::strchr(inText, '/');
    return colon != nullptr && slash != nullptr && colon < slash && std::strstr(inText, "://") == colon;
}

void InitFromURLText(const char* inText, TFSSpec& outSpec) {
    OwnedURL url(CFURLCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(inText),
                                      static_cast<CFIndex>(std::strlen(inText)), kCFStringEncodingUTF8,
                                      nullptr));
    if (url == nullptr) LException::Throw(paramErr);
    FSRef item;
    if (CFURLGetFSRef(url.get(), &item)) {
        url.reset();
        return outSpec.InitFromFSRef(item);
    }
    MissingItem missing(url.get());
    url.reset();
    InitFromMissing(std::move(missing), paramErr, outSpec);
}

void InitFromPOSIXPath(const char* inPath, TFSSpec& outSpec) {
    FSRef ref;
    if (FSPathMakeRef(reinterpret_cast<const UInt8*>(inPath), &ref, nullptr) == noErr)
        return outSpec.InitFromFSRef(ref);
    const std::string_view path = inPath;
    if (path.empty()) LException::Throw(paramErr);
    const std::size_t slash = path.rfind('/');
    const bool hasSlash = slash != std::string_view::npos;
    const std::string folderPath(hasSlash ? path.substr(0, slash) : "/");
    const char* const leaf = hasSlash ? inPath + slash + 1 : inPath;
    ThrowIfError(FSPathMakeRef(reinterpret_cast<const UInt8*>(folderPath.c_str()), &ref, nullptr));
    const TCFString name(leaf, TCFString::DefaultEncoding());
    RefuseEmptyName(name, *leaf == '\0', bdNamErr);
    outSpec.InitFromParentRefAndName(ref, name);
}

}  // namespace

TFSSpec::TFSSpec() = default;

// The folder may be another by now: who copies asks again.
TFSSpec::TFSSpec(const TFSSpec& inOther)
    : mVRefNum(inOther.mVRefNum), mDirID(inOther.mDirID), mName(inOther.mName) {}

TFSSpec::TFSSpec(const FSRef& inItem) {
    InitFromFSRef(inItem);
}

TFSSpec::TFSSpec(const FSSpec& inSpec) {
    FSRef item;
    if (FSpMakeFSRef(&inSpec, &item) == noErr) {
        InitFromFSRef(item);
        return;
    }
    FSSpec canonical;
    const OSErr error = FSMakeFSSpec(inSpec.vRefNum, inSpec.parID, inSpec.name, &canonical);
    const FSSpec& spec = error == noErr || error == fnfErr ? canonical : inSpec;
    mName = TCFString(spec.name, TCFString::DefaultEncoding());
    RefuseEmptyName(mName, spec.name[0] == 0, bdNamErr);
    mVRefNum = spec.vRefNum;
    mDirID = static_cast<UInt32>(spec.parID);
}

TFSSpec::TFSSpec(short inVRefNum, unsigned long inDirID)
    : mVRefNum(inVRefNum), mDirID(static_cast<UInt32>(inDirID)) {
    const FSSpec spec = {mVRefNum, static_cast<SInt32>(mDirID), {}};
    FSRef folder;
    if (FSpMakeFSRef(&spec, &folder) == noErr) InitFromFSRef(folder);
}

TFSSpec::TFSSpec(short inVRefNum, unsigned long inDirID, const TCFString& inName)
    : mVRefNum(inVRefNum), mDirID(static_cast<UInt32>(inDirID)), mName(inName) {
    Normalize();
}

TFSSpec::TFSSpec(const FSRef& inParent, const TCFString& inName) {
    InitFromParentRefAndName(inParent, inName);
}

TFSSpec::TFSSpec(const FSCatalogInfo& inInfo, const HFSUniStr255& inName)
    : mVRefNum(inInfo.volume),
      mDirID(IsDirectory(inInfo) ? inInfo.nodeID : inInfo.parentDirID),
      mName(IsDirectory(inInfo) ? TCFString::Empty : NameOfItem(inName)) {}

TFSSpec::TFSSpec(CFURLRef inURL) {
    FSRef item;
    if (CFURLGetFSRef(inURL, &item))
        InitFromFSRef(item);
    else
        InitFromMissing(MissingItem(inURL), fnfErr, *this);
}

TFSSpec::TFSSpec(const char* inPath) {
    IsURLText(inPath) ? InitFromURLText(inPath, *this) : InitFromPOSIXPath(inPath, *this);
}

TFSSpec::~TFSSpec() = default;

bool TFSSpec::operator==(const TFSSpec& inOther) const {
    return mVRefNum == inOther.mVRefNum && mDirID == inOther.mDirID && mName == inOther.mName;
}

bool TFSSpec::operator!=(const TFSSpec& inOther) const {
    return !(*this == inOther);
}

TFSSpec& TFSSpec::operator=(const TFSSpec& inOther) = default;

void TFSSpec::InitFromFSRef(const FSRef& inItem) {
    FSCatalogInfo info;
    HFSUniStr255 name;
    ThrowIfError(FSGetCatalogInfo(&inItem, kPlaceInfo, &info, &name, nullptr, nullptr));
    const bool isDirectory = IsDirectory(info);
    if (!isDirectory) mName = NameOfItem(name);
    mVRefNum = info.volume;
    mDirID = isDirectory ? info.nodeID : info.parentDirID;
}

void TFSSpec::InitFromParentRefAndName(const FSRef& inParent, const TCFString& inName) {
    FSCatalogInfo info;
    ThrowIfError(FSGetCatalogInfo(&inParent, kFSCatInfoNodeFlags | kFSCatInfoVolume | kFSCatInfoNodeID, &info,
                                  nullptr, nullptr, nullptr));
    if (!IsDirectory(info)) LException::Throw(paramErr);
    mFolderRef = inParent;
    mHasFolderRef = 1;
    mVRefNum = info.volume;
    mDirID = info.nodeID;
    mName = inName;
    Normalize();
}

void TFSSpec::Normalize() {
    FSRef ref;
    if (GetParIDFSRef(ref) != noErr || mName.IsEmpty() || FindIn(ref, mName, ref) != noErr) return;
    FSCatalogInfo info;
    HFSUniStr255 catalogueName;
    if (FSGetCatalogInfo(&ref, kPlaceInfo, &info, &catalogueName, nullptr, nullptr) != noErr) return;
    const bool isDirectory = IsDirectory(info);
    const TCFString name = isDirectory ? TCFString::Empty : TCFString(catalogueName);
    if (name.IsEmpty() && !isDirectory) return;
    mVRefNum = info.volume;
    mDirID = isDirectory ? info.nodeID : info.parentDirID;
    mName = name;
}

OSErr TFSSpec::GetParIDFSRef(FSRef& outFolder) const {
    if (mHasFolderRef != 0 && !mName.IsEmpty()) {
        outFolder = mFolderRef;
        return noErr;
    }
    const OSErr error = MakeFolderRef(mVRefNum, mDirID, outFolder);
    if (error != noErr) return error;
    mFolderRef = outFolder;
    mHasFolderRef = 1;
    return noErr;
}

bool TFSSpec::GetFSRef(FSRef& outItem) const {
    if (!IsValid()) return false;
    if (mName.IsEmpty()) return MakeFolderRef(mVRefNum, mDirID, outItem) == noErr;
    FSRef folder;
    return GetParIDFSRef(folder) == noErr && FindIn(folder, mName, outItem) == noErr;
}

FSRef TFSSpec::GetFSRef() const {
    FSRef item;
    if (!GetFSRef(item)) LException::Throw(fnfErr);
    return item;
}

FSSpec TFSSpec::GetFSSpec() const {
    FSRef item;
    FSSpec spec = {mVRefNum, static_cast<SInt32>(mDirID), {}};
    if (GetFSRef(item)) {
        ThrowIfError(FSGetCatalogInfo(&item, kFSCatInfoNone, nullptr, nullptr, &spec, nullptr));
        return spec;
    }
    Str255 name;
    mName.PString(name, sizeof name - 1);
    name[0] = std::min(name[0], kMaxSpecNameBytes);
    std::copy_n(name, name[0] + 1, spec.name);
    static char sWarning[] = "WARNING - FSSpec requested for non-existing object";
    DebugPrintSpec(sWarning);
    return spec;
}

FSRef TFSSpec::GetParentFSRef() const {
    FSRef folder;
    ThrowIfError(GetParIDFSRef(folder));
    if (!mName.IsEmpty()) return folder;
    FSRef parent;
    ThrowIfError(FSGetCatalogInfo(&folder, kFSCatInfoNone, nullptr, nullptr, nullptr, &parent));
    return parent;
}

short TFSSpec::GetVolume() const {
    return mVRefNum;
}

UInt32 TFSSpec::GetParentID() const {
    if (!mName.IsEmpty()) return mDirID;
    FSCatalogInfo info;
    return GetInfo(*this, kFSCatInfoParentDirID, info) ? info.parentDirID : 0;
}

UInt32 TFSSpec::GetNodeID() const {
    FSCatalogInfo info;
    return GetInfo(*this, kFSCatInfoNodeID, info) ? info.nodeID : 0;
}

TCFString TFSSpec::GetName() const {
    if (!mName.IsEmpty()) return mName;
    FSRef folder;
    HFSUniStr255 name;
    if (GetParIDFSRef(folder) != noErr ||
        FSGetCatalogInfo(&folder, kFSCatInfoNone, nullptr, &name, nullptr, nullptr) != noErr)
        return TCFString::Empty;
    return name;
}

TCFString TFSSpec::GetDisplayName() const {
    FSRef ref;
    CFStringRef shownName = nullptr;
    const bool isFolder = mName.IsEmpty();
    if (isFolder ? GetParIDFSRef(ref) == noErr : GetFSRef(ref)) {
        (void)LSCopyDisplayNameForRef(&ref, &shownName);
    } else if (!isFolder) {
        const OwnedURL url = URLOfMissing(*this);
        if (url != nullptr) (void)LSCopyDisplayNameForURL(url.get(), &shownName);
    }
    TCFString name(mName);
    if (shownName != nullptr) name.Adopt(shownName);
    return name;
}

TCFString TFSSpec::GetFullPath(CFURLPathStyle inStyle) const {
    TCFString path;
    FSRef item;
    const OwnedURL url =
        GetFSRef(item) ? OwnedURL(CFURLCreateFromFSRef(kCFAllocatorDefault, &item)) : URLOfMissing(*this);
    if (url != nullptr) path.Adopt(CFURLCopyFileSystemPath(url.get(), inStyle));
    return path;
}

OSType TFSSpec::GetFileType() const {
    return mName.IsEmpty() ? kFolderType : FinderInfoOf(*this, kFSCatInfoFinderInfo).fileType;
}

OSType TFSSpec::GetFileCreator() const {
    return FinderInfoOf(*this, kFSCatInfoFinderInfo).fileCreator;
}

UTCDateTime TFSSpec::GetModificationDate() const {
    FSCatalogInfo info;
    return GetInfo(*this, kFSCatInfoContentMod, info) ? info.contentModDate : UTCDateTime{};
}

// What was remembered is good for another item of the folder, and for the folder itself.
void TFSSpec::SetName(const TCFString& inName) {
    if (mName.IsEmpty() != inName.IsEmpty()) mHasFolderRef = 0;
    mName = inName;
}

bool TFSSpec::IsFolder() const {
    FSCatalogInfo info;
    return GetInfo(*this, kFSCatInfoNodeFlags, info) && IsDirectory(info);
}

bool TFSSpec::IsBundle() const {
    FSRef item;
    return GetFSRef(item) && UFSSpec::IsBundle(item);
}

bool TFSSpec::IsVolume() const {
    FSCatalogInfo info;
    return GetInfo(*this, kFSCatInfoNodeFlags | kFSCatInfoParentDirID, info) && IsDirectory(info) &&
           info.parentDirID == fsRtParID;
}

bool TFSSpec::Exists() const {
    FSRef item;
    return GetFSRef(item);
}

bool TFSSpec::IsInvisible() const {
    const TCFString name = GetName();
    if (!name.IsEmpty() && name.Char(0) == '.') return true;
    return (FinderInfoOf(*this, kFSCatInfoFinderInfo | kFSCatInfoNodeFlags).finderFlags & kIsInvisible) != 0;
}

bool TFSSpec::IsValid() const {
    return mDirID != 0;
}

void TFSSpec::DebugPrintSpec(char*) const {}
