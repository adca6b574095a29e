#include "Files.h"

#include "Failure.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <toolbox/Files.h>
#include <toolbox/Resources.h>
#include <toolbox/StatusText.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <csignal>
#include <string_view>

namespace rez_pack {

namespace {

enum class Use { kInput, kOutput };

struct ExitCode {
    OSStatus status;
    int code;  // or kNotOpened
};

// Of an input another code than of an output.
constexpr int kNotOpened = 0;

constexpr ExitCode kExitCodes[] = {
    {fnfErr, kNotOpened},          {dirNFErr, kNotOpened},
    {notAFileErr, kNotOpened},     {errFSForkNotFound, kNotOpened},
    {bdNamErr, kNotOpened},        {permErr, kNotOpened},
    {afpAccessDenied, kNotOpened}, {wPrErr, EX_CANTCREAT},
    {mapReadErr, EX_DATAERR},      {eofErr, EX_DATAERR},
    {tmfoErr, EX_OSERR},           {memFullErr, EX_OSERR},
};

int ExitCodeOf(Use inUse, OSStatus inStatus) {
    for (const ExitCode& exit : kExitCodes) {
        if (exit.status != inStatus) continue;
        if (exit.code != kNotOpened) return exit.code;
        return inUse == Use::kInput ? EX_NOINPUT : EX_CANTCREAT;
    }
    return EX_IOERR;
}

// Of a toolbox status that ends the work.
tool::Failure FailureOf(const std::string& inPath, Use inUse, OSStatus inStatus) {
    const std::string reason = inStatus == eofErr ? GetStatusText(mapReadErr) : GetFailureText(inStatus);
    return tool::Failure(ExitCodeOf(inUse, inStatus), inPath,
                         reason.empty() ? "status " + std::to_string(inStatus) : reason);
}

constexpr std::u16string_view kResourceFork = u"RESOURCE_FORK";

struct ForkName {
    explicit ForkName(Where inWhere) {
        if (inWhere == Where::kDataFork) return;
        length = kResourceFork.size();
        for (std::size_t i = 0; i < length; ++i)
            characters[i] = kResourceFork[i];
    }
    std::size_t length = 0;
    UniChar characters[kResourceFork.size()] = {};
};

// Opens files without reading the data of their resources.
class WithoutData {
  public:
    WithoutData() { SetResLoad(false); }
    ~WithoutData() { SetResLoad(true); }
    WithoutData(const WithoutData&) = delete;
    WithoutData& operator=(const WithoutData&) = delete;
};

// An open resource file, current while it lives.
class OpenFile {
  public:
    OpenFile(const std::string& inPath, Use inUse, const FSRef& inFile, Where inWhere)
        : mPath(inPath), mUse(inUse) {
        const ForkName fork(inWhere);
        const SInt8 permission = inUse == Use::kInput ? fsRdPerm : fsRdWrPerm;
        Check(FSOpenResourceFile(&inFile, fork.length, fork.characters, permission, &mRefNum));
    }
    ~OpenFile() {
        if (mRefNum > 0) CloseResFile(mRefNum);
    }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    SInt16 RefNum() const { return mRefNum; }
    void Check(OSErr inError) const {
        if (inError != noErr) throw FailureOf(mPath, mUse, inError);
    }
    // What a call answered, unless it failed.
    template <typename Result>
    Result Checked(Result inResult) const {
        Check(ResError());
        return inResult;
    }

  private:
    const std::string& mPath;
    Use mUse;
    SInt16 mRefNum = -1;
};

FSRef RefOf(const std::string& inPath, Use inUse) {
    FSRef file = {};
    const OSStatus status = FSPathMakeRef(reinterpret_cast<const UInt8*>(inPath.c_str()), &file, nullptr);
    if (status != noErr) throw FailureOf(inPath, inUse, status);
    return file;
}

ResType TypeAt(const OpenFile& inFile, int inIndex) {
    ResType type = 0;
    Get1IndType(&type, static_cast<SInt16>(inIndex));
    return inFile.Checked(type);
}

template <typename Function>
void ForEachResource(const OpenFile& inFile, Function inFunction) {
    const int typeCount = inFile.Checked(Count1Types());
    for (int i = 1; i <= typeCount; ++i) {
        const ResType type = TypeAt(inFile, i);
        const int count = inFile.Checked(Count1Resources(type));
        for (int j = 1; j <= count; ++j)
            inFunction(inFile.Checked(Get1IndResource(type, static_cast<SInt16>(j))));
    }
}

Record RecordOf(Handle inResource) {
    Record record;
    Str255 name = {};
    GetResInfo(inResource, &record.id, &record.type, name);
    record.name.assign(reinterpret_cast<const char*>(name + 1), name[0]);
    record.attributes = static_cast<UInt8>(GetResAttrs(inResource));
    record.data.assign(*inResource, *inResource + GetHandleSize(inResource));
    return record;
}

void Remove(const OpenFile& inFile, Handle inResource) {
    SetResAttrs(inResource, 0);  // a protected one too
    RemoveResource(inResource);
    inFile.Check(ResError());
    DisposeHandle(inResource);
}

// New resources in place of those that a file has. Those that were not written are taken back, as closing the
// file would write them.
class Replacement {
  public:
    Replacement(const OpenFile& inFile, std::size_t inCount) : mFile(inFile) { mAdded.reserve(inCount); }
    ~Replacement() {
        if (!mIsWritten) TakeBack();
    }
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;

    // A count may be less than there are, so it is asked for until there is none.
    void RemoveOld() {
        while (mFile.Checked(Count1Types()) > 0) {
            const ResType type = TypeAt(mFile, 1);
            for (int left = mFile.Checked(Count1Resources(type)); left > 0; --left)
                Remove(mFile, mFile.Checked(Get1IndResource(type, 1)));
        }
    }
    // At most as often as the constructor was told.
    void Add(const Record& inRecord) {
        Handle data = nullptr;
        mFile.Check(PtrToHand(inRecord.data.data(), &data, static_cast<Size>(inRecord.data.size())));
        Str255 name = {static_cast<unsigned char>(inRecord.name.size())};
        inRecord.name.copy(reinterpret_cast<char*>(name + 1), 255);
        AddResource(data, inRecord.type, inRecord.id, name);
        const OSErr error = ResError();
        if (error != noErr) DisposeHandle(data);
        mFile.Check(error);
        mAdded.push_back(data);
        SetResAttrs(data, inRecord.attributes);
        mFile.Check(ResError());
    }
    void Write() {
        UpdateResFile(mFile.RefNum());
        const OSErr error = ResError();
        // Once written, it does not matter whether it could be opened again for what is to be read from it.
        mIsWritten = (GetResFileAttrs(mFile.RefNum()) & mapChanged) == 0;
        if (!mIsWritten) mFile.Check(error);
    }

  private:
    // Allocates nothing: memory may be what is short.
    void TakeBack() {
        for (const Handle resource : mAdded) {
            SetResAttrs(resource, 0);
            RemoveResource(resource);
            DisposeHandle(resource);
        }
        const SInt16 attributes = GetResFileAttrs(mFile.RefNum());
        SetResFileAttrs(mFile.RefNum(), static_cast<SInt16>(attributes & ~mapChanged));
    }

    const OpenFile& mFile;
    std::vector<Handle> mAdded;
    bool mIsWritten = false;
};

// What would end the command waits while this lives, so that no file stays half written.
class HeldSignals {
  public:
    HeldSignals() {
        sigset_t held;
        sigemptyset(&held);
        for (const int signal : {SIGINT, SIGTERM, SIGHUP})
            sigaddset(&held, signal);
        pthread_sigmask(SIG_BLOCK, &held, &mBefore);
    }
    ~HeldSignals() { pthread_sigmask(SIG_SETMASK, &mBefore, nullptr); }
    HeldSignals(const HeldSignals&) = delete;
    HeldSignals& operator=(const HeldSignals&) = delete;

  private:
    sigset_t mBefore;
};

// The file that is written to, brought back to what it was, none or an empty one, unless it is kept.
class Target {
  public:
    explicit Target(std::string inPath) : mPath(std::move(inPath)) {
        struct stat status = {};
        // A link that leads nowhere is there.
        if (lstat(mPath.c_str(), &status) != 0)
            mUndo = errno == ENOENT ? Undo::kRemove : Undo::kNothing;
        else if (stat(mPath.c_str(), &status) == 0 && S_ISREG(status.st_mode) && status.st_size == 0)
            mUndo = Undo::kEmpty;
    }
    ~Target() {
        if (mUndo == Undo::kRemove) unlink(mPath.c_str());
        // The status that is on its way says more than that of this.
        if (mUndo == Undo::kEmpty && truncate(mPath.c_str(), 0) != 0) return;
    }
    Target(const Target&) = delete;
    Target& operator=(const Target&) = delete;

    void Make() {
        if (mUndo != Undo::kRemove) return;
        const int descriptor = open(mPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (descriptor < 0) {
            const int error = errno;
            mUndo = Undo::kNothing;
            throw tool::Failure(EX_CANTCREAT, mPath, tool::SystemReason(error));
        }
        close(descriptor);
    }
    void Keep() { mUndo = Undo::kNothing; }

  private:
    enum class Undo { kNothing, kRemove, kEmpty };
    std::string mPath;
    Undo mUndo = Undo::kNothing;
};

std::string CompanionOf(const std::string& inPath, const FSRef& inFile) {
    std::string path(PATH_MAX, '\0');
    const OSStatus status =
        FSRefMakePath(&inFile, reinterpret_cast<UInt8*>(path.data()), static_cast<UInt32>(path.size()));
    if (status != noErr) throw FailureOf(inPath, Use::kOutput, status);
    path.resize(path.find('\0'));
    return path.insert(path.rfind('/') + 1, "._");
}

void Write(const std::string& inPath, const FSRef& inFile, Where inWhere,
           const std::vector<Record>& inRecords) {
    const ForkName fork(inWhere);
    const OSErr error = FSCreateResourceFork(&inFile, fork.length, fork.characters, 0);
    if (error != noErr && error != dupFNErr) throw FailureOf(inPath, Use::kOutput, error);
    const WithoutData withoutData;
    const OpenFile file(inPath, Use::kOutput, inFile, inWhere);
    Replacement replacement(file, inRecords.size());
    replacement.RemoveOld();
    for (const Record& record : inRecords)
        replacement.Add(record);
    replacement.Write();
}

void WriteData(const std::string& inPath, const std::vector<Record>& inRecords) {
    Target target(inPath);
    target.Make();
    Write(inPath, RefOf(inPath, Use::kOutput), Where::kDataFork, inRecords);
    target.Keep();
}

void WriteCompanion(const std::string& inPath, const std::vector<Record>& inRecords) {
    const FSRef file = RefOf(inPath, Use::kOutput);
    Target target(CompanionOf(inPath, file));
    Write(inPath, file, Where::kResourceFork, inRecords);
    target.Keep();
}

}  // namespace

std::vector<Record> ReadResources(const std::string& inPath, Where inWhere) {
    const FSRef ref = RefOf(inPath, Use::kInput);
    const OpenFile file(inPath, Use::kInput, ref, inWhere);
    std::vector<Record> records;
    ForEachResource(file, [&](Handle inResource) { records.push_back(RecordOf(inResource)); });
    return records;
}

void WriteResources(const std::string& inPath, Where inWhere, const std::vector<Record>& inRecords) {
    const HeldSignals held;
    inWhere == Where::kDataFork ? WriteData(inPath, inRecords) : WriteCompanion(inPath, inRecords);
}

}  // namespace rez_pack
