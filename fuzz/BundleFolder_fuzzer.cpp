// Folders of hostile making as bundles: nothing outside a bundle's folder is ever used, whatever its links
// and its information say, and nothing is left open or alive. The input tells, step by step, what to put into
// the folder.
#include "bundles/PropertyList.h"
#include "corefoundation/CF_test_access.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <toolbox/CFBundle.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

namespace fs = std::filesystem;
using toolbox::corefoundation::LiveObjectsForTesting;

void Require(bool inHolds) {
    if (!inHolds) std::abort();
}

constexpr const char* kOutsideInformation =
    "<plist><dict><key>Outside</key><true/><key>CFBundlePackageType</key><string>OUTS</string></dict></"
    "plist>";
constexpr const char* kOutsidePackageInfo = "OUTSOUTS";

// In memory where the system has such a folder. Beside the bundle lies what must not be used.
struct Place {
    fs::path root;

    Place() {
        std::string pattern =
            std::string(access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp") + "/bundle-fuzzer-XXXXXX";
        Require(mkdtemp(pattern.data()) != nullptr);
        root = fs::canonical(pattern);
        Require(static_cast<bool>(toolbox::corefoundation::ReadPropertyList(kOutsideInformation)));
        Write("Info.plist", kOutsideInformation);
        Write("PkgInfo", kOutsidePackageInfo);
        Write("a", "outside");
        for (const char* folder : {"Contents", "Resources", "Current", "Linux", "A"}) {
            fs::create_directories(root / folder / "Resources");
            for (const char* name : {"Info.plist", "Resources/Info.plist"})
                Write(std::string(folder) + "/" + name, kOutsideInformation);
            Write(std::string(folder) + "/PkgInfo", kOutsidePackageInfo);
            Write(std::string(folder) + "/a", "outside");
        }
    }
    ~Place() {
        std::error_code ignored;
        fs::remove_all(root, ignored);
    }
    void Write(const std::string& inName, const char* inContents) const {
        std::ofstream(root / inName, std::ios::binary) << inContents;
    }
};

// Bytes of the input, zeros at its end.
class Script {
  public:
    Script(const UInt8* inBytes, std::size_t inByteCount) : mBytes(inBytes), mLeft(inByteCount) {}
    bool IsAtEnd() const { return mLeft == 0; }
    unsigned Next() {
        if (mLeft == 0) return 0;
        --mLeft;
        return *mBytes++;
    }
    // Up to a byte 0xFF.
    std::string NextText() {
        std::string text;
        while (!IsAtEnd()) {
            const unsigned byte = Next();
            if (byte == 0xFF) break;
            text += static_cast<char>(byte);
        }
        return text;
    }

  private:
    const UInt8* mBytes;
    std::size_t mLeft;
};

constexpr const char* kNames[] = {"Contents", "Info.plist", "PkgInfo", "Versions", "Current", "Resources",
                                  "Linux",    "MacOS",      "A",       "a",        "..",      "."};
constexpr unsigned kNameCount = sizeof(kNames) / sizeof(kNames[0]);

// A path of up to three names; without the ways up unless it is what a link says.
fs::path NextPath(Script& ioScript, bool inIsTarget) {
    fs::path path;
    const unsigned count = 1 + ioScript.Next() % 3;
    for (unsigned i = 0; i < count; ++i)
        path /= kNames[ioScript.Next() % (inIsTarget ? kNameCount : kNameCount - 2)];
    return path;
}

// Whether every folder on the way is one of the bundle's own, so that nothing is put outside.
bool IsWayInside(const fs::path& inBundle, const fs::path& inPath) {
    fs::path folder = inBundle;
    for (const fs::path& name : inPath.parent_path()) {
        folder /= name;
        std::error_code error;
        const fs::file_status status = fs::symlink_status(folder, error);
        if (status.type() == fs::file_type::not_found) return true;
        if (status.type() != fs::file_type::directory) return false;
    }
    return true;
}

void PutNext(Script& ioScript, const fs::path& inBundle, const fs::path& inRoot) {
    const unsigned kind = ioScript.Next() % 5;
    const fs::path inner = NextPath(ioScript, false);
    if (!IsWayInside(inBundle, inner)) return;
    const fs::path path = inBundle / inner;
    std::error_code ignored;
    fs::create_directories(path.parent_path(), ignored);
    if (kind == 0) {
        fs::create_directories(path, ignored);
        return;
    }
    if (fs::exists(fs::symlink_status(path, ignored))) return;
    if (kind == 1) {
        mkfifo(path.c_str(), 0600);
    } else if (kind == 2) {
        std::ofstream(path, std::ios::binary) << ioScript.NextText();
    } else {
        const fs::path target = NextPath(ioScript, true);
        fs::create_symlink(kind == 3 ? target : inRoot / target, path, ignored);
    }
}

std::size_t CountDescriptors() {
    std::size_t count = 0;
    for (const auto& entry : fs::directory_iterator("/proc/self/fd"))
        count += !entry.path().empty();
    return count;
}

void CheckExecutable(CFBundleRef inBundle, const fs::path& inFolder) {
    CFURLRef url = CFBundleCopyExecutableURL(inBundle);
    if (url != nullptr) {
        UInt8 path[8192];
        Require(CFURLGetFileSystemRepresentation(url, true, path, sizeof(path)));
        const std::string text = reinterpret_cast<char*>(path);
        Require(text.starts_with(inFolder.string() + "/"));
        Require(fs::canonical(text) == text && fs::is_regular_file(text));
        CFRelease(url);
    }
    // No input that is a text for a file makes an object that loads.
    CFBundleLoadExecutable(inBundle);
    CFBundleGetFunctionPointerForName(inBundle, CFSTR("main"));
}

void CheckBundle(const fs::path& inFolder) {
    CFURLRef url = CFURLCreateFromFileSystemRepresentation(
        kCFAllocatorDefault, reinterpret_cast<const UInt8*>(inFolder.c_str()),
        static_cast<CFIndex>(inFolder.native().size()), true);
    CFBundleRef bundle = CFBundleCreate(kCFAllocatorDefault, url);
    CFRelease(url);
    Require(bundle != nullptr);
    UInt32 type = 0;
    UInt32 creator = 0;
    CFBundleGetPackageInfo(bundle, &type, &creator);
    CFBundleGetVersionNumber(bundle);
    const CFTypeRef outside = CFBundleGetValueForInfoDictionaryKey(bundle, CFSTR("Outside"));
    Require(outside == nullptr && type != FourChars("OUTS") && creator != FourChars("OUTS"));
    CheckExecutable(bundle, inFolder);
    CFRelease(bundle);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const UInt8* inBytes, std::size_t inByteCount) {
    static const Place sPlace;
    static const std::string kOuts = "OUTS";
    const std::string text(reinterpret_cast<const char*>(inBytes), inByteCount);
    if (text.find(kOuts) != std::string::npos || text.find("Outside") != std::string::npos) return 0;
    const fs::path folder = sPlace.root / "a.bundle";
    fs::create_directory(folder);
    const SInt64 liveBefore = LiveObjectsForTesting();
    const std::size_t descriptorsBefore = CountDescriptors();
    Script script(inBytes, inByteCount);
    for (int step = 0; step < 16 && !script.IsAtEnd(); ++step)
        PutNext(script, folder, sPlace.root);
    CheckBundle(folder);
    Require(LiveObjectsForTesting() == liveBefore);
    Require(CountDescriptors() == descriptorsBefore);
    fs::remove_all(folder);
    return 0;
}
