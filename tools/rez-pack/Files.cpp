#include "Files.h"

#include "Failure.h"

#include <fcntl.h>
#include <toolbox/Files.h>
#include <toolbox/Resources.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>

const char tool::kCommandName[] = "rez-pack";

namespace rez_pack {

namespace {

struct Explanation {
    OSStatus status;
    int exitCode;
    const char* reason;
};

constexpr Explanation kExplanations[] = {
    {fnfErr, EX_NOINPUT, "No such file or directory"},
    {dirNFErr, EX_NOINPUT, "No such file or directory"},
    {notAFileErr, EX_NOINPUT, "is a folder"},
    {permErr, EX_NOINPUT, "Permission denied"},
    {afpAccessDenied, EX_NOINPUT, "Permission denied"},
    {wrPermErr, EX_CANTCREAT, "may only be read"},
    {wPrErr, EX_CANTCREAT, "may only be read"},
    {mapReadErr, EX_DATAERR, "is no resource file"},
    {eofErr, EX_DATAERR, "is no resource file"},
    {dskFulErr, EX_IOERR, "no space left, on the volume or among what a resource file can hold"},
    {fBsyErr, EX_IOERR, "is in use"},
    {memFullErr, EX_OSERR, "out of memory"},
};

// Of a toolbox status that ends the work.
tool::Failure FailureOf(const std::string& inPath, OSStatus inStatus) {
    for (const Explanation& explanation : kExplanations)
        if (explanation.status == inStatus)
            return tool::Failure(explanation.exitCode, inPath, explanation.reason);
    return tool::Failure(EX_IOERR, inPath, "status " + std::to_string(inStatus));
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

// An open resource file, current while it lives.
class OpenFile {
  public:
    OpenFile(const std::string& inPath, const FSRef& inFile, Where inWhere, SInt8 inPermission)
        : mPath(inPath) {
        const ForkName fork(inWhere);
        Check(FSOpenResourceFile(&inFile, fork.length, fork.characters, inPermission, &mRefNum));
    }
    ~OpenFile() {
        if (mRefNum > 0) CloseResFile(mRefNum);
    }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    void Check(OSErr inError) const {
        if (inError != noErr) throw FailureOf(mPath, inError);
    }
    void Update() const {
        UpdateResFile(mRefNum);
        Check(ResError());
    }

  private:
    const std::string& mPath;
    SInt16 mRefNum = -1;
};

FSRef RefOf(const std::string& inPath) {
    FSRef file = {};
    const OSStatus status = FSPathMakeRef(reinterpret_cast<const UInt8*>(inPath.c_str()), &file, nullptr);
    if (status != noErr) throw FailureOf(inPath, status);
    return file;
}

template <typename Function>
void ForEachResource(const OpenFile& inFile, Function inFunction) {
    const SInt16 typeCount = Count1Types();
    for (SInt16 i = 1; i <= typeCount; ++i) {
        ResType type = 0;
        Get1IndType(&type, i);
        const SInt16 count = Count1Resources(type);
        for (SInt16 j = 1; j <= count; ++j) {
            const Handle resource = Get1IndResource(type, j);
            inFile.Check(ResError());
            inFunction(resource);
        }
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

void RemoveAll(const OpenFile& inFile) {
    std::vector<Handle> resources;
    ForEachResource(inFile, [&](Handle inResource) { resources.push_back(inResource); });
    for (const Handle resource : resources) {
        SetResAttrs(resource, 0);
        RemoveResource(resource);
        inFile.Check(ResError());
        DisposeHandle(resource);
    }
}

void Add(const OpenFile& inFile, const Record& inRecord) {
    Handle data = nullptr;
    inFile.Check(PtrToHand(inRecord.data.data(), &data, static_cast<Size>(inRecord.data.size())));
    Str255 name = {static_cast<unsigned char>(inRecord.name.size())};
    inRecord.name.copy(reinterpret_cast<char*>(name + 1), 255);
    AddResource(data, inRecord.type, inRecord.id, name);
    const OSErr error = ResError();
    if (error != noErr) DisposeHandle(data);
    inFile.Check(error);
    SetResAttrs(data, inRecord.attributes);
}

// Whether the file was not there before.
bool MakeFile(const std::string& inPath) {
    const int descriptor = open(inPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (descriptor < 0 && errno != EEXIST)
        throw tool::Failure(EX_CANTCREAT, inPath, tool::SystemReason(errno));
    if (descriptor >= 0) close(descriptor);
    return descriptor >= 0;
}

void Write(const std::string& inPath, Where inWhere, const std::vector<Record>& inRecords) {
    const FSRef ref = RefOf(inPath);
    const ForkName fork(inWhere);
    const OSErr error = FSCreateResourceFork(&ref, fork.length, fork.characters, 0);
    if (error != noErr && error != dupFNErr) throw FailureOf(inPath, error);
    const OpenFile file(inPath, ref, inWhere, fsRdWrPerm);
    RemoveAll(file);
    for (const Record& record : inRecords)
        Add(file, record);
    file.Update();
}

}  // namespace

std::vector<Record> ReadResources(const std::string& inPath, Where inWhere) {
    const FSRef ref = RefOf(inPath);
    const OpenFile file(inPath, ref, inWhere, fsRdPerm);
    std::vector<Record> records;
    ForEachResource(file, [&](Handle inResource) { records.push_back(RecordOf(inResource)); });
    return records;
}

void WriteResources(const std::string& inPath, Where inWhere, const std::vector<Record>& inRecords) {
    const bool isNew = inWhere == Where::kDataFork && MakeFile(inPath);
    try {
        Write(inPath, inWhere, inRecords);
    } catch (const tool::Failure&) {
        if (isNew) unlink(inPath.c_str());
        throw;
    }
}

}  // namespace rez_pack
