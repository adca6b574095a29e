// One open resource file: its map in memory, and the data where it was asked for.
// Belongs to the chain and its lock. Functions may throw std::bad_alloc and then leave the file as it was,
// but for data read meanwhile.
#pragma once

#include "forks/Forks.h"
#include "formats/ResourceFork.h"

#include <toolbox/Files.h>
#include <toolbox/MacTypes.h>

#include <memory>
#include <vector>

namespace toolbox::resources {

class ResourceFile;

struct Resource {
    Reference reference;      // dataOffset only when isStored
    bool isStored = false;    // the file has data of it
    Handle handle = nullptr;  // null until asked for; an empty one when it was asked for without loading
    ResourceFile* file = nullptr;
};

class ResourceFile {
  public:
    using List = std::vector<std::unique_ptr<Resource>>;

    // eofErr when there is no such fork or it is empty, mapReadErr when it makes no sense.
    [[nodiscard]] static OSStatus Open(const FSRef& inFile, files::Fork inFork, bool inIsReadOnly,
                                       std::unique_ptr<ResourceFile>& outFile);

    bool IsFork(const FSRef& inFile, files::Fork inFork) const;
    bool IsReadOnly() const { return mIsReadOnly; }
    // In the order of the file; of each type one after the other, but for those that were added.
    List& Resources() { return mResources; }
    UInt16 Attributes() const;
    void SetAttributes(UInt16 inAttributes);
    void MarkMapChanged() { mIsMapChanged = true; }

    // The stored length and bytes. mapReadErr when they are not inside the file's data, and when somebody
    // else has written the file meanwhile.
    [[nodiscard]] OSStatus ReadSize(const Resource& inResource, UInt32& outBytes) const;
    [[nodiscard]] OSStatus ReadData(const Resource& inResource, void* outBytes, UInt32 inByteCount) const;

    // Reads the data into the resource's handle, which is empty, and stays so on failure.
    [[nodiscard]] OSStatus Load(Resource& ioResource);

    // Writes the map and the changed data, or of the data only inOnly's, unless that is null. Data of others
    // that changed stays as the file has it; one that it has no data of stays out of it. fBsyErr when
    // somebody else has written the file meanwhile.
    [[nodiscard]] OSStatus Write(const Resource* inOnly);

  private:
    ResourceFile(const FSRef& inFile, files::Fork inFork, bool inIsReadOnly)
        : mFile(inFile), mKind(inFork), mIsReadOnly(inIsReadOnly) {}
    [[nodiscard]] OSStatus Read();
    [[nodiscard]] OSStatus Collect(const Resource* inOnly, std::vector<Image>& outImages,
                                   std::vector<Resource*>& outWritten) const;
    [[nodiscard]] OSStatus CollectData(const Resource& inResource, bool inIsFromHandle,
                                       std::vector<UInt8>& outBytes) const;
    bool IsChanged() const;

    FSRef mFile;
    files::Fork mKind;
    bool mIsReadOnly;
    bool mIsMapChanged = false;
    UInt16 mAttributes = 0;  // as the file has them
    files::OpenFork mFork;
    ForkHeader mHeader;
    List mResources;
};

}  // namespace toolbox::resources
