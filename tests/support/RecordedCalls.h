// What may lie on disk after a machine failed in the middle of a change.
#pragma once

#include "os/SystemCalls_test_access.h"

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace support {

// While it records, the table's calls that change files are made, and kept to be made again in a folder that
// is as it was, as far as a failing machine may have kept what they did:
//   - names, permissions and owners in their order up to some moment, as journals keep them;
//   - what was written into a file, and its length, each by itself or not at all;
//   - but all of it that was synced, and with that all names that came before.
// A call that changes files in another way fails the test. One at a time, on one thread.
class RecordedCalls {
  public:
    // Of what lies in a folder, with the folders below.
    explicit RecordedCalls(std::string inFolder);
    ~RecordedCalls();
    RecordedCalls(const RecordedCalls&) = delete;
    RecordedCalls& operator=(const RecordedCalls&) = delete;

    // Records no more.
    void Stop();

    // For each step whether it was kept.
    using State = std::vector<bool>;
    // Each state in which the machine may have left the folder, once.
    std::vector<State> States() const;
    // Makes what was kept again.
    void MakeAgain(const State& inState) const;
    // Those that were kept: "openat ._b, pwrite, fsync, " for instance.
    std::string TextOf(const State& inState) const;

  private:
    enum class Kind { kOpening, kName, kData, kSync };
    class Again;
    struct Step {
        Kind kind;
        std::uint64_t inode;  // of what was opened, written or synced
        std::string text;
        std::function<void(Again&)> make;
    };
    using Inodes = std::map<std::string, std::uint64_t>;  // by path

    static void RecordOpenings(toolbox::os::SystemCalls& ioCalls);
    static void RecordContents(toolbox::os::SystemCalls& ioCalls);
    static void RecordAccess(toolbox::os::SystemCalls& ioCalls);
    static void RecordNames(toolbox::os::SystemCalls& ioCalls);
    static void RefuseOthers(toolbox::os::SystemCalls& ioCalls);
    static void Add(Kind inKind, std::uint64_t inInode, std::string inText,
                    std::function<void(Again&)> inMake);
    void AddStates(std::size_t inEnd, std::size_t inCut, std::vector<State>& ioStates) const;
    bool IsSynced(std::size_t inStep, std::size_t inEnd) const;

    static inline RecordedCalls* sInUse;
    static inline toolbox::os::SystemCalls sReal;

    std::string mFolder;
    Inodes mInodes;
    std::vector<Step> mSteps;
};

}  // namespace support
