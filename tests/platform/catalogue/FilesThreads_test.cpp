// References made and resolved on several threads while the files are renamed. Run under the thread sanitizer
// too.
#include "Refs.h"
#include "catalogue/FileAccess.h"
#include "places/NodeTable.h"
#include "support/Rounds.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <toolbox/Aliases.h>
#include <toolbox/MacMemory.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <filesystem>
#include <thread>
#include <vector>

namespace {

using test_files::MakeRef;
using test_files::OpenDescriptorCount;
using test_files::PathOf;
using test_files::TemporaryFolder;

constexpr int kThreads = 8;
constexpr int kFiles = 6;
const int kRounds = support::Rounds(150);

std::string NameOf(int inFile, int inRound) {
    return "folder/file " + std::to_string(inFile) + (inRound % 2 == 0 ? " even" : " odd");
}

// Whether the reference leads to the file of that number; only what is read tells.
bool Reads(const FSRef& inRef, int inFile) {
    toolbox::os::Descriptor file;
    std::string path;
    const OSStatus status = toolbox::files::OpenForReading(inRef, file, path);
    if (status != noErr) {
        // A file that is renamed all the time may be missed; it must never be mistaken.
        EXPECT_EQ(fnfErr, status);
        return false;
    }
    char bytes[16];
    const ssize_t count = read(file.Number(), bytes, sizeof(bytes));
    EXPECT_EQ("number " + std::to_string(inFile), std::string(bytes, static_cast<std::size_t>(count)));
    return true;
}

bool ResolvesAlias(const FSRef& inRef, int inFile) {
    AliasHandle alias = nullptr;
    if (FSNewAliasMinimal(&inRef, &alias) != noErr) return false;
    FSRef target;
    Boolean wasChanged = 0;
    const OSErr status = FSResolveAlias(nullptr, alias, &target, &wasChanged);
    DisposeHandle(reinterpret_cast<Handle>(alias));
    return status == noErr && Reads(target, inFile);
}

TEST(FilesThreads, ReferencesHoldWhileFilesAreRenamed) {
    const TemporaryFolder folder;
    folder.MakeFolder("folder");
    std::vector<FSRef> refs(kFiles);
    for (int file = 0; file < kFiles; ++file) {
        ASSERT_EQ(noErr,
                  MakeRef(folder.MakeFile(NameOf(file, 0), "number " + std::to_string(file)), &refs[file]));
    }
    const std::string still = folder.MakeFile("still", "number 99");
    const std::size_t descriptors = OpenDescriptorCount();
    const UInt64 handles = GetLiveHandleCount();

    std::atomic<int> readCount = 0;
    std::atomic<int> aliasCount = 0;
    const auto rename = [&](int inThread) {
        for (int round = 0; round < kRounds; ++round) {
            for (int file = inThread; file < kFiles; file += 2)
                std::filesystem::rename(folder / NameOf(file, round), folder / NameOf(file, round + 1));
            std::this_thread::yield();
        }
    };
    const auto resolve = [&](int inThread) {
        for (int round = 0; round < kRounds; ++round) {
            const int file = (inThread + round) % kFiles;
            readCount += Reads(refs[file], file);
            aliasCount += ResolvesAlias(refs[file], file);
            FSRef ref;
            EXPECT_EQ(noErr, MakeRef(still, &ref));
            EXPECT_TRUE(Reads(ref, 99));
            EXPECT_EQ(still, PathOf(ref));
            if (MakeRef(folder / NameOf(file, round), &ref) == noErr) readCount += Reads(ref, file);
        }
    };
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread)
        threads.emplace_back([&, thread] { thread < 2 ? rename(thread) : resolve(thread); });
    for (std::thread& thread : threads)
        thread.join();

    EXPECT_GT(readCount, kRounds);
    EXPECT_GT(aliasCount, 0);
    for (int file = 0; file < kFiles; ++file) {
        EXPECT_EQ(folder / NameOf(file, kRounds), PathOf(refs[file]));
        EXPECT_TRUE(Reads(refs[file], file));
    }
    EXPECT_EQ(descriptors, OpenDescriptorCount());
    EXPECT_EQ(handles, GetLiveHandleCount());
}

TEST(FilesThreads, OneNodeForAnItemThatAllMeetAtOnce) {
    const TemporaryFolder folder;
    std::vector<std::string> paths;
    for (int file = 0; file < 100; ++file)
        paths.push_back(folder.MakeFile("file " + std::to_string(file)));
    FSRef above;
    ASSERT_EQ(noErr, MakeRef(folder.Path(), &above));
    const std::size_t nodes = toolbox::files::NodeTable::Shared().Count();
    std::vector<std::vector<FSRef>> refs(kThreads, std::vector<FSRef>(paths.size()));
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&paths, &own = refs[thread]] {
            for (std::size_t file = 0; file < paths.size(); ++file) {
                EXPECT_EQ(noErr, MakeRef(paths[file], &own[file]));
                EXPECT_EQ(paths[file], PathOf(own[file]));
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    // Fewer when a new file has the inode of one that an earlier test deleted.
    EXPECT_LE(toolbox::files::NodeTable::Shared().Count(), nodes + paths.size());
    for (int thread = 1; thread < kThreads; ++thread) {
        EXPECT_EQ(0, std::memcmp(refs[0].data(), refs[thread].data(), paths.size() * sizeof(FSRef)));
    }
}

}  // namespace
