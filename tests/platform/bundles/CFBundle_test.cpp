#include "BundleMaker.h"
#include "support/FailingMalloc.h"
#include "support/FailingNew.h"

#include <corefoundation/CF_test_access.h>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <os/SystemCalls_test_access.h>
#include <sys/stat.h>
#include <toolbox/CFBundle.h>
#include <toolbox/CFNumber.h>

#include <atomic>
#include <thread>
#include <vector>

using namespace test_bundles;
using toolbox::corefoundation::LiveObjectsForTesting;
using toolbox::os::CallsForTesting;

namespace {

bool IsBundle(std::string_view inPath) {
    return BundleAt(inPath) != nullptr;
}

std::string ExecutableOf(CFBundleRef inBundle) {
    const OwnedURL url = CFBundleCopyExecutableURL(inBundle);
    return url == nullptr ? "(none)" : TakeUTF8(CFURLCopyFileSystemPath(url, kCFURLPOSIXPathStyle));
}
std::string ExecutableAt(std::string_view inPath) {
    return ExecutableOf(BundleAt(inPath));
}

std::string FourOf(UInt32 inCode) {
    return {static_cast<char>(inCode >> 24), static_cast<char>(inCode >> 16), static_cast<char>(inCode >> 8),
            static_cast<char>(inCode)};
}
std::string PackageInfoAt(std::string_view inPath) {
    UInt32 type = 0;
    UInt32 creator = 0;
    CFBundleGetPackageInfo(BundleAt(inPath), &type, &creator);
    return FourOf(type) + FourOf(creator);
}

std::string NameAt(std::string_view inPath) {
    return UTF8Of(
        static_cast<CFStringRef>(CFBundleGetValueForInfoDictionaryKey(BundleAt(inPath), CFSTR("Name"))));
}

// Whether the loader has the file mapped.
bool IsMapped(const std::string& inPath) {
    void* const object = dlopen(inPath.c_str(), RTLD_LAZY | RTLD_NOLOAD);
    if (object != nullptr) dlclose(object);
    return object != nullptr;
}

using Answer = int (*)();
Answer AnswerOf(CFBundleRef inBundle, CFStringRef inName) {
    return reinterpret_cast<Answer>(CFBundleGetFunctionPointerForName(inBundle, inName));
}

}  // namespace

class CFBundle : public testing::Test {
  protected:
    ~CFBundle() override {
        EXPECT_EQ(mLiveBefore, LiveObjectsForTesting()) << "leaked or released too often";
        EXPECT_EQ(mDescriptorsBefore, test_files::OpenDescriptorCount());
    }
    // A flat bundle with the test's code as its executable.
    std::string MakeLoadable(const char* inCode = TEST_CODE) {
        CopyTo(mFolder, "Code.bundle/Code", inCode);
        return mFolder / "Code.bundle";
    }
    const TemporaryFolder mFolder;
    const SInt64 mLiveBefore = LiveObjectsForTesting();
    const std::size_t mDescriptorsBefore = test_files::OpenDescriptorCount();
};

TEST_F(CFBundle, FlatLayout) {
    MakeFileAt(mFolder, "Flat/Info.plist", InfoWith("Name", "flat"));
    MakeFileAt(mFolder, "Flat/Flat", "code");
    EXPECT_EQ("flat", NameAt(mFolder / "Flat"));
    EXPECT_EQ(mFolder / "Flat/Flat", ExecutableAt(mFolder / "Flat"));
    MakeFileAt(mFolder, "Other/Resources/Info.plist", InfoWith("Name", "in resources"));
    EXPECT_EQ("in resources", NameAt(mFolder / "Other"));
    EXPECT_EQ("(none)", ExecutableAt(mFolder / "Other"));
}

TEST_F(CFBundle, ContentsLayout) {
    MakeFileAt(mFolder, "App.app/Contents/Info.plist", InfoWith("Name", "contents"));
    MakeFileAt(mFolder, "App.app/Info.plist", InfoWith("Name", "flat"));
    EXPECT_EQ("contents", NameAt(mFolder / "App.app"));
    EXPECT_EQ("(none)", ExecutableAt(mFolder / "App.app"));
    MakeFileAt(mFolder, "App.app/Contents/MacOS/App", "code");
    EXPECT_EQ(mFolder / "App.app/Contents/MacOS/App", ExecutableAt(mFolder / "App.app"));
    MakeFileAt(mFolder, "App.app/Contents/Linux/App", "code");
    EXPECT_EQ(mFolder / "App.app/Contents/Linux/App", ExecutableAt(mFolder / "App.app"));
}

TEST_F(CFBundle, VersionsLayout) {
    MakeFileAt(mFolder, "F.framework/Versions/A/Resources/Info.plist", InfoWith("Name", "A"));
    MakeFileAt(mFolder, "F.framework/Versions/A/F", "code");
    MakeFileAt(mFolder, "F.framework/Versions/B/Resources/Info.plist", InfoWith("Name", "B"));
    std::filesystem::create_directory_symlink("A", mFolder / "F.framework/Versions/Current");
    EXPECT_EQ("A", NameAt(mFolder / "F.framework"));
    EXPECT_EQ(mFolder / "F.framework/Versions/A/F", ExecutableAt(mFolder / "F.framework"));
    std::filesystem::remove(mFolder / "F.framework/Versions/Current");
    std::filesystem::create_directory_symlink("B", mFolder / "F.framework/Versions/Current");
    EXPECT_EQ("B", NameAt(mFolder / "F.framework"));
    EXPECT_EQ("(none)", ExecutableAt(mFolder / "F.framework"));
}

TEST_F(CFBundle, WhatIsNone) {
    EXPECT_FALSE(IsBundle(mFolder / "missing"));
    EXPECT_FALSE(IsBundle(mFolder.MakeFolder("plain")));
    EXPECT_FALSE(IsBundle(mFolder.MakeFile("file.bundle")));
    MakeFileAt(mFolder, "book/Contents/text", "");
    EXPECT_FALSE(IsBundle(mFolder / "book"));
    mFolder.MakeFolder("folders/Info.plist");
    EXPECT_FALSE(IsBundle(mFolder / "folders")) << "information that is a folder";
    EXPECT_FALSE(IsBundle(mFolder.MakeFolder(".bundle"))) << "a name of its own, no extension";
    EXPECT_EQ(nullptr, CFBundleCreate(kCFAllocatorDefault, nullptr));
    const OwnedURL remote =
        CFURLCreateWithString(kCFAllocatorDefault, CFSTR("http://host/a.bundle/"), nullptr);
    EXPECT_EQ(nullptr, CFBundleCreate(kCFAllocatorDefault, remote));
}

TEST_F(CFBundle, ANameMakesABundle) {
    for (const char* name :
         {"a.app", "a.bundle", "a.component", "a.framework", "a.plugin", "a.BUNDLE", "a.b.app"}) {
        const OwnedBundle bundle = BundleAt(mFolder.MakeFolder(name));
        ASSERT_NE(nullptr, bundle.ref) << name;
        EXPECT_EQ(0, CFDictionaryGetCount(CFBundleGetInfoDictionary(bundle)));
        EXPECT_EQ(0U, CFBundleGetVersionNumber(bundle));
    }
    EXPECT_FALSE(IsBundle(mFolder.MakeFolder("a.folder")));
}

TEST_F(CFBundle, AURLNeedsNoSlashAtItsEnd) {
    const std::string path = mFolder.MakeFolder("a.bundle");
    const OwnedBundle bundle = CFBundleCreate(kCFAllocatorDefault, URLOfPath(path, false));
    ASSERT_NE(nullptr, bundle.ref);
    EXPECT_EQ(CFBundleGetTypeID(), CFGetTypeID(bundle));
    EXPECT_EQ("file://" + path + "/", UTF8Of(CFURLGetString(OwnedURL(CFBundleCopyBundleURL(bundle)))));
}

TEST_F(CFBundle, ALinkLeadsToTheBundleItself) {
    const std::string path = mFolder.MakeFolder("a.bundle");
    std::filesystem::create_directory_symlink(path, mFolder / "link");
    const OwnedBundle bundle = BundleAt(mFolder / "link");
    ASSERT_NE(nullptr, bundle.ref);
    EXPECT_EQ(path, TakeUTF8(CFURLCopyFileSystemPath(OwnedURL(CFBundleCopyBundleURL(bundle)), 0)));
}

TEST_F(CFBundle, InformationThatMakesNoSense) {
    const std::string big = "<plist>" + std::string(2 * 1024 * 1024, ' ') + "</plist>";
    for (const std::string& contents :
         {std::string(), std::string("?"), XMLList("<array/>"), XMLList("<dict>"), XMLList("<true/>"), big}) {
        MakeFileAt(mFolder, "a/Info.plist", contents);
        const OwnedBundle bundle = BundleAt(mFolder / "a");
        ASSERT_NE(nullptr, bundle.ref);
        EXPECT_EQ(0, CFDictionaryGetCount(CFBundleGetInfoDictionary(bundle)));
        EXPECT_EQ(nullptr, CFBundleGetValueForInfoDictionaryKey(bundle, CFSTR("Name")));
    }
    std::filesystem::permissions(mFolder / "a/Info.plist", std::filesystem::perms::none);
    EXPECT_TRUE(IsBundle(mFolder / "a"));
}

// Opening a pipe would wait for somebody who writes to it.
TEST_F(CFBundle, PipesAreLeftAlone) {
    mFolder.MakeFolder("a.bundle");
    for (const char* name : {"a.bundle/Info.plist", "a.bundle/PkgInfo", "a.bundle/a"})
        ASSERT_EQ(0, mkfifo((mFolder / name).c_str(), 0600));
    const OwnedBundle bundle = BundleAt(mFolder / "a.bundle");
    ASSERT_NE(nullptr, bundle.ref);
    EXPECT_EQ("(none)", ExecutableOf(bundle));
    EXPECT_FALSE(CFBundleLoadExecutable(bundle));
    mFolder.MakeFile("b");
    MakeFileAt(mFolder, "b.bundle/b", "");
    const OwnedBundle later = BundleAt(mFolder / "b.bundle");
    std::filesystem::remove(mFolder / "b.bundle/b");
    ASSERT_EQ(0, mkfifo((mFolder / "b.bundle/b").c_str(), 0600));
    EXPECT_FALSE(CFBundleLoadExecutable(later)) << "took the executable's place";
}

TEST_F(CFBundle, PackageInfo) {
    mFolder.MakeFolder("a.app");
    mFolder.MakeFolder("a.framework");
    mFolder.MakeFolder("a.plugin");
    EXPECT_EQ("APPL????", PackageInfoAt(mFolder / "a.app"));
    EXPECT_EQ("FMWK????", PackageInfoAt(mFolder / "a.framework"));
    EXPECT_EQ("BNDL????", PackageInfoAt(mFolder / "a.plugin"));
    mFolder.MakeFile("a.app/PkgInfo", "abcdefg");
    EXPECT_EQ("APPL????", PackageInfoAt(mFolder / "a.app")) << "a byte is missing";
    mFolder.MakeFile("a.app/PkgInfo", "abcdefgh\n");
    EXPECT_EQ("abcdefgh", PackageInfoAt(mFolder / "a.app"));
    mFolder.MakeFile("a.app/PkgInfo", std::string(5000, 'x'));
    EXPECT_EQ("APPL????", PackageInfoAt(mFolder / "a.app")) << "no such file is that long";
    MakeFileAt(mFolder, "b/PkgInfo", "FNDRMACS");
    EXPECT_EQ("FNDRMACS", PackageInfoAt(mFolder / "b"));
    MakeFileAt(mFolder, "c/Contents/PkgInfo", "APPLcccc");
    EXPECT_EQ("APPLcccc", PackageInfoAt(mFolder / "c"));
    MakeFileAt(mFolder, "d.framework/Versions/Current/Resources/PkgInfo", "FMWKdddd");
    EXPECT_EQ("FMWKdddd", PackageInfoAt(mFolder / "d.framework"));
    CFBundleGetPackageInfo(BundleAt(mFolder / "c"), nullptr, nullptr);
}

TEST_F(CFBundle, PackageInfoOfTheInformation) {
    MakeFileAt(mFolder, "a/PkgInfo", "abcdefgh");
    mFolder.MakeFile("a/Info.plist", InfoWith("CFBundlePackageType", "KIND"));
    EXPECT_EQ("KINDefgh", PackageInfoAt(mFolder / "a"));
    mFolder.MakeFile("a/Info.plist", InfoWith("CFBundleSignature",
                                              "\xC2\xB5"
                                              "doc"));
    EXPECT_EQ(
        "abcd\xB5"
        "doc",
        PackageInfoAt(mFolder / "a"))
        << "in Mac Roman";
    for (const char* code : {"abc", "abcde", "\xE6\x97\xA5xxx", ""}) {
        mFolder.MakeFile("a/Info.plist", InfoWith("CFBundleSignature", code));
        EXPECT_EQ("abcdefgh", PackageInfoAt(mFolder / "a")) << code;
    }
    mFolder.MakeFile("a/Info.plist", XMLList("<dict><key>CFBundleSignature</key><true/></dict>"));
    EXPECT_EQ("abcdefgh", PackageInfoAt(mFolder / "a"));
}

TEST_F(CFBundle, VersionNumber) {
    const auto versionWith = [&](std::string_view inValue) {
        MakeFileAt(mFolder, "a/Info.plist",
                   XMLList("<dict><key>CFBundleVersion</key>" + std::string(inValue) + "</dict>"));
        return CFBundleGetVersionNumber(BundleAt(mFolder / "a"));
    };
    EXPECT_EQ(0x1041600CU, versionWith("<string>10.4.1b12</string>"));
    EXPECT_EQ(0U, versionWith("<string>new</string>"));
    EXPECT_EQ(0x01238000U, versionWith("<integer>19103744</integer>"));
    EXPECT_EQ(0xFFFFFFFFU, versionWith("<integer>4294967295</integer>"));
    EXPECT_EQ(0U, versionWith("<integer>4294967296</integer>"));
    EXPECT_EQ(0U, versionWith("<integer>-1</integer>"));
    EXPECT_EQ(0U, versionWith("<real>1.5</real>"));
    EXPECT_EQ(0U, versionWith("<true/>"));
    MakeFileAt(mFolder, "a/Info.plist", InfoWith("CFBundleShortVersionString", "1.2"));
    EXPECT_EQ(0U, CFBundleGetVersionNumber(BundleAt(mFolder / "a")));
}

TEST_F(CFBundle, ExecutableOfTheInformation) {
    MakeFileAt(mFolder, "a.bundle/Info.plist", InfoWith("CFBundleExecutable", "code"));
    mFolder.MakeFile("a.bundle/a");
    EXPECT_EQ("(none)", ExecutableAt(mFolder / "a.bundle"));
    mFolder.MakeFile("a.bundle/code");
    EXPECT_EQ(mFolder / "a.bundle/code", ExecutableAt(mFolder / "a.bundle"));
    mFolder.MakeFile("outside");
    mFolder.MakeFolder("a.bundle/inner");
    mFolder.MakeFile("a.bundle/inner/code");
    for (const char* name : {"", ".", "..", "../outside", "inner/code", "/bin/sh", "inner"}) {
        mFolder.MakeFile("a.bundle/Info.plist", InfoWith("CFBundleExecutable", name));
        EXPECT_EQ("(none)", ExecutableAt(mFolder / "a.bundle")) << name;
    }
    mFolder.MakeFile("a.bundle/Info.plist", XMLList("<dict><key>CFBundleExecutable</key><true/></dict>"));
    EXPECT_EQ("(none)", ExecutableAt(mFolder / "a.bundle"));
}

TEST_F(CFBundle, LinksThatLeadOutside) {
    mFolder.MakeFile("Info.plist", InfoWith("Name", "outside"));
    mFolder.MakeFile("PkgInfo", "outsside");
    CopyTo(mFolder, "code", TEST_CODE);
    mFolder.MakeFolder("a.bundle");
    std::filesystem::create_symlink("../Info.plist", mFolder / "a.bundle/Info.plist");
    std::filesystem::create_symlink(mFolder / "PkgInfo", mFolder / "a.bundle/PkgInfo");
    std::filesystem::create_symlink("../code", mFolder / "a.bundle/a");
    const OwnedBundle bundle = BundleAt(mFolder / "a.bundle");
    ASSERT_NE(nullptr, bundle.ref);
    EXPECT_EQ(0, CFDictionaryGetCount(CFBundleGetInfoDictionary(bundle)));
    EXPECT_EQ("BNDL????", PackageInfoAt(mFolder / "a.bundle"));
    EXPECT_EQ("(none)", ExecutableOf(bundle));
    EXPECT_FALSE(CFBundleLoadExecutable(bundle));
    EXPECT_EQ(nullptr, CFBundleGetFunctionPointerForName(bundle, CFSTR("TestCodeAnswer")));

    mFolder.MakeFolder("version/Resources");
    mFolder.MakeFile("version/Resources/Info.plist", InfoWith("Name", "outside"));
    mFolder.MakeFolder("b.framework/Versions");
    std::filesystem::create_directory_symlink("../../version", mFolder / "b.framework/Versions/Current");
    EXPECT_EQ("(null)", NameAt(mFolder / "b.framework"));
    // A folder beside the bundle whose name begins with the bundle's.
    mFolder.MakeFolder("c.bundle");
    MakeFileAt(mFolder, "c.bundle2/Info.plist", InfoWith("Name", "outside"));
    std::filesystem::create_symlink("../c.bundle2/Info.plist", mFolder / "c.bundle/Info.plist");
    EXPECT_EQ("(null)", NameAt(mFolder / "c.bundle"));
}

TEST_F(CFBundle, LinksInCirclesAndToNowhere) {
    mFolder.MakeFolder("a.bundle/Versions");
    std::filesystem::create_symlink("Info.plist", mFolder / "a.bundle/Info.plist");
    std::filesystem::create_symlink("nowhere", mFolder / "a.bundle/PkgInfo");
    std::filesystem::create_symlink("b", mFolder / "a.bundle/a");
    std::filesystem::create_symlink("a", mFolder / "a.bundle/b");
    std::filesystem::create_directory_symlink("..", mFolder / "a.bundle/Versions/Current");
    const OwnedBundle bundle = BundleAt(mFolder / "a.bundle");
    ASSERT_NE(nullptr, bundle.ref);
    EXPECT_EQ(0, CFDictionaryGetCount(CFBundleGetInfoDictionary(bundle)));
    EXPECT_EQ("(none)", ExecutableOf(bundle));
    std::filesystem::create_directory_symlink("loop.bundle", mFolder / "loop.bundle");
    EXPECT_FALSE(IsBundle(mFolder / "loop.bundle"));
}

TEST_F(CFBundle, LoadsAndFinds) {
    const OwnedBundle bundle = BundleAt(MakeLoadable());
    ASSERT_NE(nullptr, bundle.ref);
    EXPECT_FALSE(CFBundleIsExecutableLoaded(bundle));
    EXPECT_TRUE(CFBundleLoadExecutable(bundle));
    EXPECT_TRUE(CFBundleLoadExecutable(bundle)) << "twice";
    EXPECT_TRUE(CFBundleIsExecutableLoaded(bundle));
    const Answer answer = AnswerOf(bundle, CFSTR("TestCodeAnswer"));
    ASSERT_NE(nullptr, answer);
    EXPECT_EQ(42, answer());
    const auto* number = static_cast<int*>(CFBundleGetDataPointerForName(bundle, CFSTR("gTestCodeNumber")));
    ASSERT_NE(nullptr, number);
    EXPECT_EQ(7, *number);
    for (CFStringRef name : {CFSTR(""), CFSTR("NoSuchFunction"), CFSTR("TestCodeAnswer\0x"), CFSTR("\u00E9")})
        EXPECT_EQ(nullptr, CFBundleGetFunctionPointerForName(bundle, name));
    EXPECT_EQ(nullptr, CFBundleGetFunctionPointerForName(bundle, nullptr));
    EXPECT_EQ(nullptr, CFBundleGetFunctionPointerForName(bundle, CFSTR("malloc"))) << "not its own";
}

TEST_F(CFBundle, FindingLoads) {
    const OwnedBundle bundle = BundleAt(MakeLoadable());
    ASSERT_NE(nullptr, AnswerOf(bundle, CFSTR("TestCodeAnswer")));
    EXPECT_TRUE(CFBundleIsExecutableLoaded(bundle));
}

TEST_F(CFBundle, FindsOnlyWhatTheExecutableItselfDefines) {
    const OwnedBundle bundle = BundleAt(MakeLoadable(TEST_CODE_ABOVE));
    const Answer twice = AnswerOf(bundle, CFSTR("TestCodeDouble"));
    ASSERT_NE(nullptr, twice);
    EXPECT_EQ(84, twice());
    EXPECT_EQ(nullptr, AnswerOf(bundle, CFSTR("TestCodeAnswer"))) << "of the library beneath";
}

TEST_F(CFBundle, StaysMappedWhileAnyBundleHoldsIt) {
    const std::string path = MakeLoadable();
    const std::string code = path + "/Code";
    OwnedBundle first = BundleAt(path);
    OwnedBundle second = BundleAt(path);
    OwnedBundle notLoaded = BundleAt(path);
    EXPECT_FALSE(IsMapped(code));
    ASSERT_TRUE(CFBundleLoadExecutable(first));
    ASSERT_TRUE(CFBundleLoadExecutable(second));
    const Answer answer = AnswerOf(second, CFSTR("TestCodeAnswer"));
    first = nullptr;
    EXPECT_TRUE(IsMapped(code));
    EXPECT_EQ(42, answer());
    CFRetain(second);
    CFRelease(second);
    EXPECT_EQ(42, answer());
    second = nullptr;
    EXPECT_FALSE(IsMapped(code)) << "a bundle that never loaded it does not hold it";
}

TEST_F(CFBundle, WhatCannotBeLoaded) {
    const std::string path = MakeLoadable();
    const std::string code = path + "/Code";
    const OwnedBundle bundle = BundleAt(path);
    mFolder.MakeFile("Code.bundle/Code", "no ELF object");
    EXPECT_FALSE(CFBundleLoadExecutable(bundle));
    mFolder.MakeFile("Code.bundle/Code", "");
    EXPECT_FALSE(CFBundleLoadExecutable(bundle));
    MakeLoadable(TEST_CODE_UNBOUND);
    EXPECT_FALSE(CFBundleLoadExecutable(bundle));
    EXPECT_FALSE(IsMapped(code));
    std::filesystem::copy_file("/proc/self/exe", code, std::filesystem::copy_options::overwrite_existing);
    EXPECT_FALSE(CFBundleLoadExecutable(bundle)) << "a program";
    std::filesystem::remove(code);
    EXPECT_FALSE(CFBundleLoadExecutable(bundle));
    mFolder.MakeFolder("Code.bundle/Code");
    EXPECT_FALSE(CFBundleLoadExecutable(bundle));
    std::filesystem::remove(code);
    EXPECT_FALSE(CFBundleIsExecutableLoaded(bundle));
    EXPECT_EQ(nullptr, AnswerOf(bundle, CFSTR("TestCodeAnswer")));
    // It may be tried again.
    MakeLoadable();
    EXPECT_TRUE(CFBundleLoadExecutable(bundle));
}

TEST_F(CFBundle, ALinkThatTakesTheExecutablesPlaceIsNotFollowed) {
    const std::string path = MakeLoadable();
    const OwnedBundle bundle = BundleAt(path);
    std::filesystem::rename(path + "/Code", mFolder / "outside");
    std::filesystem::create_symlink(mFolder / "outside", path + "/Code");
    EXPECT_FALSE(CFBundleLoadExecutable(bundle));
}

TEST_F(CFBundle, NamesThatTheLoaderWouldChange) {
    for (const char* name : {"$ORIGIN", "${LIB}", "a$PLATFORM"}) {
        const std::string folder = std::string(name) + ".bundle";
        CopyTo(mFolder, folder + "/" + name, TEST_CODE);
        const OwnedBundle bundle = BundleAt(mFolder / folder);
        ASSERT_NE("(none)", ExecutableOf(bundle)) << name;
        EXPECT_FALSE(CFBundleLoadExecutable(bundle)) << name;
    }
    CopyTo(mFolder, "$HOME.bundle/$HOME", TEST_CODE);
    EXPECT_TRUE(CFBundleLoadExecutable(BundleAt(mFolder / "$HOME.bundle")));
}

TEST_F(CFBundle, DamagedExecutables) {
    const std::string path = MakeLoadable();
    const auto size = std::filesystem::file_size(path + "/Code");
    for (const std::uintmax_t byteCount :
         {std::uintmax_t{4}, std::uintmax_t{16}, std::uintmax_t{64}, size / 8}) {
        MakeLoadable();
        std::filesystem::resize_file(path + "/Code", byteCount);
        EXPECT_FALSE(CFBundleLoadExecutable(BundleAt(path))) << byteCount;
    }
    for (const std::size_t offset : {4U, 5U, 16U, 18U}) {  // class, byte order, type, machine
        MakeLoadable();
        std::fstream file(path + "/Code", std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(static_cast<std::streamoff>(offset));
        file.put('\x7E');
        file.close();
        EXPECT_FALSE(CFBundleLoadExecutable(BundleAt(path))) << offset;
    }
}

TEST_F(CFBundle, LoadedOnManyThreadsAtOnce) {
    static std::atomic<int> sOpenCount;
    sOpenCount = 0;
    const auto realCalls = CallsForTesting();
    static auto sReal = realCalls;
    CallsForTesting().dlopen = [](const char* inPath, int inFlags) {
        void* const object = sReal.dlopen(inPath, inFlags);
        if (object != nullptr) ++sOpenCount;
        return object;
    };
    CallsForTesting().dlclose = [](void* inObject) {
        --sOpenCount;
        return sReal.dlclose(inObject);
    };
    const std::string path = MakeLoadable();
    for (int round = 0; round < 20; ++round) {
        OwnedBundle bundle = BundleAt(path);
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([&bundle] {
                const Answer answer = AnswerOf(bundle, CFSTR("TestCodeAnswer"));
                ASSERT_NE(nullptr, answer);
                ASSERT_EQ(42, answer());
            });
        }
        for (std::thread& thread : threads)
            thread.join();
        EXPECT_EQ(1, sOpenCount);
        bundle = nullptr;
        EXPECT_EQ(0, sOpenCount);
    }
    CallsForTesting() = realCalls;
}

TEST_F(CFBundle, FailsCleanlyWithoutMemory) {
    MakeFileAt(mFolder, "a.bundle/Info.plist",
               InfoWith("CFBundleExecutable", "the executable of this bundle"));
    CopyTo(mFolder, "a.bundle/the executable of this bundle", TEST_CODE);
    const std::string path = mFolder / "a.bundle";
    const auto scenario = [&]() -> bool {
        const OwnedBundle bundle = BundleAt(path);
        if (bundle == nullptr) return false;
        const OwnedURL url = CFBundleCopyBundleURL(bundle);
        const OwnedURL executable = CFBundleCopyExecutableURL(bundle);
        return url != nullptr && executable != nullptr &&
               CFBundleGetFunctionPointerForName(bundle, CFSTR("TestCodeAnswer")) != nullptr;
    };
    int failureCount = 0;
    bool isWhole = false;
    for (int n = 1; !isWhole && n < 10000; ++n) {
        {
            const test_files::FailingNew memory(n);
            isWhole = scenario();
            if (!memory.Delivered()) {
                EXPECT_TRUE(isWhole);
            }
        }
        failureCount += !isWhole;
        ASSERT_EQ(mLiveBefore, LiveObjectsForTesting()) << n;
        ASSERT_EQ(mDescriptorsBefore, test_files::OpenDescriptorCount()) << n;
        ASSERT_FALSE(IsMapped(path + "/the executable of this bundle")) << n;
    }
    EXPECT_TRUE(isWhole);
    EXPECT_GT(failureCount, 20);

    isWhole = false;
    for (int n = 1; !isWhole && n <= 1000; ++n) {
        const support::FailingMalloc memory(n, support::Countdown::kForever);
        isWhole = scenario();
        EXPECT_EQ(mLiveBefore, LiveObjectsForTesting()) << n;
    }
    EXPECT_TRUE(isWhole);
}
