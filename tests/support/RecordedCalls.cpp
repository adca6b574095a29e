#include "support/RecordedCalls.h"

#include "support/FileWorld.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

namespace support {

namespace {

// Beyond that there are too many ways to keep some of what was written.
constexpr std::size_t kMaxUnsynced = 8;

const toolbox::os::SystemCalls& Calls() {
    return toolbox::os::Calls();
}

std::uint64_t InodeOf(const toolbox::os::SystemCalls& inCalls, int inDescriptor) {
    struct statx status = {};
    EXPECT_EQ(0, inCalls.statx(inDescriptor, "", AT_EMPTY_PATH, STATX_BASIC_STATS, &status));
    return status.stx_ino;
}

void AddInodes(const std::string& inFolder, std::map<std::string, std::uint64_t>& ioInodes) {
    ioInodes[inFolder] = FileWorld::StatusOf(inFolder).stx_ino;
    for (const std::string& name : FileWorld::NamesIn(inFolder)) {
        const std::string path = inFolder + '/' + name;
        const struct statx status = FileWorld::StatusOf(path);
        if (S_ISDIR(status.stx_mode))
            AddInodes(path, ioInodes);
        else
            ioInodes[path] = status.stx_ino;
    }
}

}  // namespace

// What the recorded numbers are of, when the steps are made again.
class RecordedCalls::Again {
  public:
    Again(const Inodes& inRecorded, const Inodes& inNow) {
        EXPECT_EQ(inRecorded.size(), inNow.size()) << "the folder is not as it was";
        for (const auto& [path, inode] : inRecorded)
            if (const auto now = inNow.find(path); now != inNow.end()) mInodes[inode] = now->second;
    }
    ~Again() {
        for (const int descriptor : mOpen)
            EXPECT_EQ(0, Calls().close(descriptor));
    }
    Again(const Again&) = delete;
    Again& operator=(const Again&) = delete;

    // -1 where what was open then has another name, or none.
    int Descriptor(int inRecorded) const {
        if (inRecorded == AT_FDCWD) return inRecorded;
        const auto found = mDescriptors.find(inRecorded);
        return found == mDescriptors.end() ? -1 : found->second.now;
    }
    // The same of what was open then, and of nothing that had the number before.
    int File(int inRecorded, std::uint64_t inInode) const {
        const auto found = mDescriptors.find(inRecorded);
        return found == mDescriptors.end() || found->second.inode != inInode ? -1 : found->second.now;
    }
    // A path of the kernel's to what is open leads to it by another number.
    std::string Path(const std::string& inPath) const {
        static const std::string sDescriptors = "/proc/self/fd/";
        if (!inPath.starts_with(sDescriptors)) return inPath;
        return sDescriptors + std::to_string(Descriptor(std::stoi(inPath.substr(sDescriptors.size()))));
    }
    void SetOpened(int inRecorded, std::uint64_t inInode, bool inIsNew, int inDescriptor) {
        mDescriptors.erase(inRecorded);
        if (inDescriptor < 0) return;
        mOpen.push_back(inDescriptor);
        const std::uint64_t inode = InodeOf(Calls(), inDescriptor);
        if (inIsNew) mInodes[inInode] = inode;
        const auto expected = mInodes.find(inInode);
        if (expected != mInodes.end() && expected->second == inode)
            mDescriptors[inRecorded] = {inInode, inDescriptor};
    }

  private:
    struct Opened {
        std::uint64_t inode;  // as recorded
        int now;
    };
    std::map<std::uint64_t, std::uint64_t> mInodes;  // now, by those that were recorded
    std::map<int, Opened> mDescriptors;
    std::vector<int> mOpen;
};

RecordedCalls::RecordedCalls(std::string inFolder) : mFolder(std::move(inFolder)) {
    AddInodes(mFolder, mInodes);
    sInUse = this;
    sReal = Calls();
    toolbox::os::SystemCalls& calls = toolbox::os::CallsForTesting();
    RecordOpenings(calls);
    RecordContents(calls);
    RecordAccess(calls);
    RecordNames(calls);
    RefuseOthers(calls);
}

RecordedCalls::~RecordedCalls() {
    Stop();
}

void RecordedCalls::Stop() {
    if (sInUse != this) return;
    toolbox::os::CallsForTesting() = sReal;
    sInUse = nullptr;
}

void RecordedCalls::Add(Kind inKind, std::uint64_t inInode, std::string inText,
                        std::function<void(Again&)> inMake) {
    sInUse->mSteps.push_back({inKind, inInode, std::move(inText), std::move(inMake)});
}

void RecordedCalls::RecordOpenings(toolbox::os::SystemCalls& ioCalls) {
    ioCalls.openat = [](int inFolder, const char* inPath, int inFlags, mode_t inMode) {
        const bool isNew =
            (inFlags & O_CREAT) != 0 && sReal.faccessat(inFolder, inPath, F_OK, AT_SYMLINK_NOFOLLOW) != 0;
        const int descriptor = sReal.openat(inFolder, inPath, inFlags, inMode);
        if (descriptor < 0) return descriptor;
        EXPECT_TRUE(isNew || (inFlags & O_TRUNC) == 0) << "the model knows no opening that truncates";
        const std::uint64_t inode = InodeOf(sReal, descriptor);
        Add(isNew ? Kind::kName : Kind::kOpening, inode, "openat " + std::string(inPath),
            [=, path = std::string(inPath)](Again& ioAgain) {
                const int opened =
                    Calls().openat(ioAgain.Descriptor(inFolder), ioAgain.Path(path).c_str(), inFlags, inMode);
                EXPECT_TRUE(opened >= 0 || !isNew) << path;
                ioAgain.SetOpened(descriptor, inode, isNew, opened);
            });
        return descriptor;
    };
}

void RecordedCalls::RecordContents(toolbox::os::SystemCalls& ioCalls) {
    ioCalls.pwrite = [](int inDescriptor, const void* inBytes, std::size_t inByteCount, off_t inOffset) {
        const ssize_t count = sReal.pwrite(inDescriptor, inBytes, inByteCount, inOffset);
        if (count < 0) return count;
        const std::string bytes(static_cast<const char*>(inBytes), static_cast<std::size_t>(count));
        const std::uint64_t inode = InodeOf(sReal, inDescriptor);
        Add(Kind::kData, inode, "pwrite", [=](const Again& inAgain) {
            const int file = inAgain.File(inDescriptor, inode);
            if (file < 0) return;
            EXPECT_EQ(count, Calls().pwrite(file, bytes.data(), bytes.size(), inOffset));
        });
        return count;
    };
    ioCalls.ftruncate = [](int inDescriptor, off_t inByteCount) {
        const int result = sReal.ftruncate(inDescriptor, inByteCount);
        if (result != 0) return result;
        const std::uint64_t inode = InodeOf(sReal, inDescriptor);
        Add(Kind::kData, inode, "ftruncate", [=](const Again& inAgain) {
            const int file = inAgain.File(inDescriptor, inode);
            if (file < 0) return;
            EXPECT_EQ(0, Calls().ftruncate(file, inByteCount));
        });
        return result;
    };
    ioCalls.posix_fallocate = [](int inDescriptor, off_t inOffset, off_t inByteCount) {
        const int error = sReal.posix_fallocate(inDescriptor, inOffset, inByteCount);
        if (error != 0) return error;
        const std::uint64_t inode = InodeOf(sReal, inDescriptor);
        Add(Kind::kData, inode, "posix_fallocate", [=](const Again& inAgain) {
            const int file = inAgain.File(inDescriptor, inode);
            if (file < 0) return;
            EXPECT_EQ(0, Calls().posix_fallocate(file, inOffset, inByteCount));
        });
        return error;
    };
    ioCalls.fsync = [](int inDescriptor) {
        const int result = sReal.fsync(inDescriptor);
        if (result == 0) Add(Kind::kSync, InodeOf(sReal, inDescriptor), "fsync", [](const Again&) {});
        return result;
    };
}

void RecordedCalls::RecordAccess(toolbox::os::SystemCalls& ioCalls) {
    ioCalls.fchmod = [](int inDescriptor, mode_t inMode) {
        const int result = sReal.fchmod(inDescriptor, inMode);
        if (result != 0) return result;
        Add(Kind::kName, 0, "fchmod", [=](const Again& inAgain) {
            EXPECT_EQ(0, Calls().fchmod(inAgain.Descriptor(inDescriptor), inMode));
        });
        return result;
    };
    ioCalls.fchmodat = [](int inFolder, const char* inPath, mode_t inMode, int inFlags) {
        const int result = sReal.fchmodat(inFolder, inPath, inMode, inFlags);
        if (result != 0) return result;
        Add(Kind::kName, 0, "fchmodat", [=, path = std::string(inPath)](const Again& inAgain) {
            EXPECT_EQ(0, Calls().fchmodat(inAgain.Descriptor(inFolder), inAgain.Path(path).c_str(), inMode,
                                          inFlags));
        });
        return result;
    };
    ioCalls.fchown = [](int inDescriptor, uid_t inUser, gid_t inGroup) {
        const int result = sReal.fchown(inDescriptor, inUser, inGroup);
        if (result != 0) return result;
        Add(Kind::kName, 0, "fchown", [=](const Again& inAgain) {
            EXPECT_EQ(0, Calls().fchown(inAgain.Descriptor(inDescriptor), inUser, inGroup));
        });
        return result;
    };
}

void RecordedCalls::RecordNames(toolbox::os::SystemCalls& ioCalls) {
    ioCalls.renameat2 = [](int inFolder, const char* inPath, int inNewFolder, const char* inNewPath,
                           unsigned inFlags) {
        const int result = sReal.renameat2(inFolder, inPath, inNewFolder, inNewPath, inFlags);
        if (result != 0) return result;
        const std::string path = inPath;
        const std::string newPath = inNewPath;
        Add(Kind::kName, 0, "renameat2 " + path + ' ' + newPath, [=](const Again& inAgain) {
            EXPECT_EQ(0, Calls().renameat2(inAgain.Descriptor(inFolder), path.c_str(),
                                           inAgain.Descriptor(inNewFolder), newPath.c_str(), inFlags));
        });
        return result;
    };
    ioCalls.linkat = [](int inFolder, const char* inPath, int inNewFolder, const char* inNewPath,
                        int inFlags) {
        const int result = sReal.linkat(inFolder, inPath, inNewFolder, inNewPath, inFlags);
        if (result != 0) return result;
        const std::string path = inPath;
        const std::string newPath = inNewPath;
        Add(Kind::kName, 0, "linkat " + path + ' ' + newPath, [=](const Again& inAgain) {
            EXPECT_EQ(0, Calls().linkat(inAgain.Descriptor(inFolder), inAgain.Path(path).c_str(),
                                        inAgain.Descriptor(inNewFolder), newPath.c_str(), inFlags));
        });
        return result;
    };
    ioCalls.unlinkat = [](int inFolder, const char* inPath, int inFlags) {
        const int result = sReal.unlinkat(inFolder, inPath, inFlags);
        if (result != 0) return result;
        const std::string path = inPath;
        Add(Kind::kName, 0, "unlinkat " + path, [=](const Again& inAgain) {
            EXPECT_EQ(0, Calls().unlinkat(inAgain.Descriptor(inFolder), path.c_str(), inFlags));
        });
        return result;
    };
}

// They would have to be told above.
void RecordedCalls::RefuseOthers(toolbox::os::SystemCalls& ioCalls) {
    ioCalls.write = [](int inDescriptor, const void* inBytes, std::size_t inByteCount) {
        ADD_FAILURE() << "the model knows no write";
        return sReal.write(inDescriptor, inBytes, inByteCount);
    };
    ioCalls.mkdirat = [](int inFolder, const char* inPath, mode_t inMode) {
        ADD_FAILURE() << "the model knows no mkdirat";
        return sReal.mkdirat(inFolder, inPath, inMode);
    };
    ioCalls.utimensat = [](int inFolder, const char* inPath, const timespec* inTimes, int inFlags) {
        ADD_FAILURE() << "the model knows no utimensat";
        return sReal.utimensat(inFolder, inPath, inTimes, inFlags);
    };
    ioCalls.copy_file_range = [](int inFrom, off_t* ioFromOffset, int inTo, off_t* ioToOffset,
                                 std::size_t inByteCount, unsigned inFlags) {
        ADD_FAILURE() << "the model knows no copy_file_range";
        return sReal.copy_file_range(inFrom, ioFromOffset, inTo, ioToOffset, inByteCount, inFlags);
    };
    ioCalls.fallocate = [](int inDescriptor, int inMode, off_t inOffset, off_t inByteCount) {
        ADD_FAILURE() << "the model knows no fallocate";
        return sReal.fallocate(inDescriptor, inMode, inOffset, inByteCount);
    };
}

bool RecordedCalls::IsSynced(std::size_t inStep, std::size_t inEnd) const {
    const auto begin = mSteps.begin();
    return std::any_of(begin + static_cast<std::ptrdiff_t>(inStep),
                       begin + static_cast<std::ptrdiff_t>(inEnd),
                       [inode = mSteps[inStep].inode](const Step& inLater) {
                           return inLater.kind == Kind::kSync && inLater.inode == inode;
                       });
}

// The machine failed before step inEnd, and no name was kept from inCut on.
void RecordedCalls::AddStates(std::size_t inEnd, std::size_t inCut, std::vector<State>& ioStates) const {
    State state(mSteps.size());
    std::vector<std::size_t> unsynced;
    for (std::size_t i = 0; i < inEnd; ++i) {
        const Kind kind = mSteps[i].kind;
        state[i] = kind == Kind::kOpening || kind == Kind::kSync || (kind == Kind::kName && i < inCut) ||
                   (kind == Kind::kData && IsSynced(i, inEnd));
        if (kind == Kind::kData && !state[i]) unsynced.push_back(i);
    }
    ASSERT_LE(unsynced.size(), kMaxUnsynced);
    for (unsigned choice = 0; choice < 1U << unsynced.size(); ++choice) {
        for (std::size_t i = 0; i < unsynced.size(); ++i)
            state[unsynced[i]] = (choice >> i & 1) != 0;
        ioStates.push_back(state);
    }
}

std::vector<RecordedCalls::State> RecordedCalls::States() const {
    std::vector<State> states;
    for (std::size_t end = 0; end <= mSteps.size(); ++end) {
        AddStates(end, end, states);
        for (std::size_t cut = end; cut > 0 && mSteps[cut - 1].kind != Kind::kSync; --cut)
            if (mSteps[cut - 1].kind == Kind::kName) AddStates(end, cut - 1, states);
    }
    std::sort(states.begin(), states.end());
    states.erase(std::unique(states.begin(), states.end()), states.end());
    return states;
}

void RecordedCalls::MakeAgain(const State& inState) const {
    Inodes now;
    AddInodes(mFolder, now);
    Again again(mInodes, now);
    for (std::size_t i = 0; i < mSteps.size(); ++i)
        if (inState[i]) mSteps[i].make(again);
}

std::string RecordedCalls::TextOf(const State& inState) const {
    std::string text;
    for (std::size_t i = 0; i < mSteps.size(); ++i)
        if (inState[i]) text += mSteps[i].text + ", ";
    return text;
}

}  // namespace support
