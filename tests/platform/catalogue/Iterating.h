// Iterators in a test's short form.
#pragma once

#include "ItemChanges.h"
#include "catalogue/KnownNames.h"
#include "support/FileWorld.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <toolbox/Iterators.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

namespace test_files {

using Names = std::vector<std::string>;

// A name that is ASCII; "/" of the catalogue as it is.
inline std::string TextOf(const HFSUniStr255& inName) {
    return {inName.unicode, inName.unicode + inName.length};
}

// Closed at the end at the latest.
class OpenedIterator {
  public:
    explicit OpenedIterator(const FSRef& inFolder, FSIteratorFlags inFlags = kFSIterateFlat)
        : mStatus(FSOpenIterator(&inFolder, inFlags, &mIterator)) {}
    ~OpenedIterator() {
        if (mIterator != nullptr) {
            EXPECT_EQ(noErr, Close());
        }
    }
    OpenedIterator(const OpenedIterator&) = delete;
    OpenedIterator& operator=(const OpenedIterator&) = delete;

    OSErr Status() const { return mStatus; }
    FSIterator Get() const { return mIterator; }
    OSErr Close() {
        const FSIterator iterator = mIterator;
        mIterator = nullptr;
        return FSCloseIterator(iterator);
    }

    // The next name alone; "status -1417" for instance.
    std::string Next(Boolean* outHasChanged = nullptr, FSRef* outRef = nullptr) {
        HFSUniStr255 name = {};
        ItemCount count = 0;
        const OSErr status = FSGetCatalogInfoBulk(mIterator, 1, &count, outHasChanged, kFSCatInfoNone,
                                                  nullptr, outRef, nullptr, &name);
        EXPECT_EQ(status == noErr ? 1U : 0U, count);
        return status == noErr ? TextOf(name) : "status " + std::to_string(status);
    }

  private:
    FSIterator mIterator = nullptr;
    OSErr mStatus;
};

struct ListedItem {
    std::string name;
    FSCatalogInfo info;
    FSRef ref;
    FSSpec spec;
};

struct Listing {
    OSErr opening = noErr;
    std::vector<ListedItem> items;
    std::vector<OSErr> failures;  // but the end
    bool hasChanged = false;

    // Sorted.
    std::vector<std::string> Names() const {
        std::vector<std::string> names;
        for (const ListedItem& item : items)
            names.push_back(item.name);
        std::sort(names.begin(), names.end());
        return names;
    }
};

// All to the end, which must come.
inline Listing ListAll(const FSRef& inFolder, FSIteratorFlags inFlags = kFSIterateFlat, ItemCount inBulk = 7,
                       FSCatalogInfoBitmap inWhich = kFSCatInfoNodeFlags | kFSCatInfoNodeID) {
    constexpr int kMaxCalls = 200'000;
    Listing listing;
    OpenedIterator iterator(inFolder, inFlags);
    listing.opening = iterator.Status();
    if (listing.opening != noErr) return listing;
    std::vector<FSCatalogInfo> infos(inBulk);
    std::vector<FSRef> refs(inBulk);
    std::vector<FSSpec> specs(inBulk);
    std::vector<HFSUniStr255> names(inBulk);
    for (int call = 0; call < kMaxCalls; ++call) {
        ItemCount count = 0;
        Boolean hasChanged = 0;
        const OSErr status = FSGetCatalogInfoBulk(iterator.Get(), inBulk, &count, &hasChanged, inWhich,
                                                  infos.data(), refs.data(), specs.data(), names.data());
        listing.hasChanged = listing.hasChanged || hasChanged != 0;
        for (ItemCount i = 0; i < count; ++i)
            listing.items.push_back({TextOf(names[i]), infos[i], refs[i], specs[i]});
        if (status == errFSNoMoreItems) return listing;
        if (status == noErr)
            EXPECT_GT(count, 0U) << "success with nothing";
        else
            EXPECT_EQ(0U, count);
        if (status != noErr) listing.failures.push_back(status);
    }
    ADD_FAILURE() << "there is no end";
    return listing;
}

// Leaves no descriptor open.
class IteratingTest : public ItemChangesTest<support::FileWorldTest> {
  protected:
    ~IteratingTest() override {
        toolbox::files::KnownNames::Shared().Close();
        EXPECT_EQ(mDescriptors, OpenDescriptorCount());
    }

    // What was changed a moment ago is looked at more closely.
    static void LetTimePass() { usleep(30'000); }
    Names NamesHere(FSIteratorFlags inFlags = kFSIterateFlat, ItemCount inBulk = 7) const {
        const Listing listing = ListAll(mHere, inFlags, inBulk);
        EXPECT_EQ(noErr, listing.opening);
        EXPECT_EQ(0U, listing.failures.size());
        return listing.Names();
    }
    void MakeFiles(int inCount, const std::string& inPrefix = "file ") const {
        for (int i = 0; i < inCount; ++i)
            mFolder.MakeFile(inPrefix + std::to_string(i), "");
    }

    // Folders of a name, each in the one before, and beside each a file.
    void MakeDeep(int inDepth, const std::string& inName) const {
        const toolbox::os::SystemCalls& calls = toolbox::os::Calls();
        int folder = calls.openat(AT_FDCWD, mFolder.Path().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC, 0);
        for (int i = 0; i < inDepth; ++i) {
            const int file = calls.openat(folder, "file", O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
            EXPECT_EQ(0, calls.close(file));
            EXPECT_EQ(0, calls.mkdirat(folder, inName.c_str(), 0700));
            const int next = calls.openat(folder, inName.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC, 0);
            EXPECT_EQ(0, calls.close(folder));
            folder = next;
        }
        EXPECT_EQ(0, calls.close(folder));
    }

    FSRef mHere = RefOf(mFolder.Path());

  private:
    std::size_t mDescriptors = OpenDescriptorCount();
};

}  // namespace test_files
