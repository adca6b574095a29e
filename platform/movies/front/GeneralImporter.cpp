// Finds, opens and calls the general importer's component.
#include "GeneralImporter_test_access.h"
#include "general/Component.h"
#include "os/Mutex.h"
#include "os/OwnPaths.h"
#include "os/SystemCalls.h"
#include "track/MovieImporter.h"

#include <toolbox/MacErrors.h>

#include <utility>

namespace toolbox::movies {

namespace {

constexpr const char* kComponentName = "libmirtal-general-importer.so";

// Beside the toolbox's library; or, of a program in bin/ that carries the toolbox inside itself, beside its
// lib/.
constexpr const char* kFolders[] = {"/mirtal-components/", "/../lib/mirtal-components/"};

constinit os::Mutex sMutex;
const general::Interface* sInterface GUARDED_BY(sMutex) = nullptr;

const general::Interface* OpenComponentAt(const std::string& inPath) {
    void* const object = os::Calls().dlopen(inPath.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    if (object == nullptr) return nullptr;
    const auto function = reinterpret_cast<general::InterfaceFunction>(
        os::Calls().dlsym(object, general::kInterfaceFunctionName));
    const general::Interface* found = function == nullptr ? nullptr : function(general::kInterfaceVersion);
    return found != nullptr && found->version == general::kInterfaceVersion ? found : nullptr;
}

// The component stays open: movies that came from it hold its code. Null when it is not installed, which is
// looked up again each time.
const general::Interface* Component() {
    const os::MutexLock lock(sMutex);
    std::string folder;
    if (sInterface != nullptr || os::GetLibraryPath(folder) != 0) return sInterface;
    folder.erase(folder.rfind('/'));
    for (const char* place : kFolders) {
        sInterface = OpenComponentAt(folder + place + kComponentName);
        if (sInterface != nullptr) break;
    }
    return sInterface;
}

class FileSource final : public general::ByteSource {
  public:
    explicit FileSource(std::shared_ptr<const MediaFile> inFile) : mFile(std::move(inFile)) {}
    std::int64_t SizeBytes() const override { return mFile->SizeBytes(); }
    OSStatus ReadAt(std::int64_t inOffset, void* outBytes, std::size_t inByteCount,
                    std::size_t* outRead) const override {
        return mFile->ReadAt(inOffset, outBytes, inByteCount, outRead);
    }
    bool MustStop() const override { return mFile->MustStop(); }

  private:
    std::shared_ptr<const MediaFile> mFile;
};

}  // namespace

OSStatus ImportGeneral(const std::shared_ptr<const MediaFile>& inFile, ImportedMovie& outMovie,
                       std::string& outProblem, const ImportOptions& inOptions) {
    const general::Interface* component = Component();
    if (component == nullptr) return cantFindHandler;
    return component->import(std::make_shared<const FileSource>(inFile), outMovie, outProblem, inOptions);
}

void ForgetGeneralImporter() {
    const os::MutexLock lock(sMutex);
    sInterface = nullptr;
}

}  // namespace toolbox::movies
