#include "FolderWalk.h"

#include "Names.h"
#include "Signals.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <memory>

namespace tool {
namespace {

class Walk {
  public:
    Walk(const std::string& inFolder, const std::optional<FileIdentity>& inLeftOut,
         std::vector<Failure>& outFailures)
        : mRoot(AsFolder(inFolder)), mLeftOut(inLeftOut), mFailures(outFailures) {}

    std::vector<FoundFile> Run() {
        Visit("");
        return std::move(mFound);
    }

  private:
    void Visit(const std::string& inRelativeFolder) {
        std::vector<std::string> folders;
        for (const std::string& name : NamesIn(mRoot + inRelativeFolder)) {
            CheckSignals();
            const std::string path = mRoot + inRelativeFolder + name;
            struct stat item {};
            if (::lstat(path.c_str(), &item) != 0) {
                // What is gone meanwhile was not asked for.
                if (errno != ENOENT) mFailures.emplace_back(EX_NOINPUT, path, SystemReason(errno));
                continue;
            }
            if (S_ISDIR(item.st_mode)) {
                if (FileIdentity(item.st_dev, item.st_ino) != mLeftOut)
                    folders.push_back(inRelativeFolder + name + '/');
            } else if (IsSoundExtension(ExtensionOf(name)) && IsFile(path, item)) {
                mFound.push_back({path, inRelativeFolder});
            }
        }
        for (const std::string& folder : folders)
            Visit(folder);
    }

    // A link to nothing is taken for one, so that it is told.
    static bool IsFile(const std::string& inPath, const struct stat& inItem) {
        if (!S_ISLNK(inItem.st_mode)) return S_ISREG(inItem.st_mode);
        struct stat target {};
        return ::stat(inPath.c_str(), &target) != 0 || S_ISREG(target.st_mode);
    }

    std::vector<std::string> NamesIn(const std::string& inFolder) {
        std::vector<std::string> names;
        const std::unique_ptr<DIR, int (*)(DIR*)> folder(::opendir(inFolder.c_str()), ::closedir);
        if (folder == nullptr) {
            mFailures.emplace_back(EX_NOINPUT, inFolder, SystemReason(errno));
            return names;
        }
        errno = 0;
        while (const dirent* const entry = ::readdir(folder.get())) {
            if (entry->d_name[0] != '.') names.emplace_back(entry->d_name);
            errno = 0;
        }
        if (errno != 0) mFailures.emplace_back(EX_NOINPUT, inFolder, SystemReason(errno));
        std::sort(names.begin(), names.end());
        return names;
    }

    std::string mRoot;
    const std::optional<FileIdentity>& mLeftOut;
    std::vector<Failure>& mFailures;
    std::vector<FoundFile> mFound;
};

}  // namespace

std::optional<FileIdentity> IdentityOf(const std::string& inPath) {
    struct stat item {};
    if (::stat(inPath.c_str(), &item) != 0) return std::nullopt;
    return FileIdentity(item.st_dev, item.st_ino);
}

std::vector<FoundFile> FindSoundFiles(const std::string& inFolder,
                                      const std::optional<FileIdentity>& inLeftOut,
                                      std::vector<Failure>& outFailures) {
    return Walk(inFolder, inLeftOut, outFailures).Run();
}

}  // namespace tool
