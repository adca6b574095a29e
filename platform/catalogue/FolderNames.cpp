#include "FolderNames.h"

#include "companions/Companions.h"

#include <algorithm>
#include <utility>

namespace toolbox::files {

namespace {

// Of the item whose companion it is, or whose companion's companion.
std::uint64_t NumberOf(std::string_view inName) {
    while (inName.starts_with(kCompanionPrefix))
        inName.remove_prefix(kCompanionPrefix.size());
    std::uint64_t number = 0xCBF29CE484222325;  // FNV-1a
    for (const char unit : inName)
        number = (number ^ static_cast<unsigned char>(unit)) * 0x100000001B3;
    return number;
}

}  // namespace

bool FolderNames::IsBefore(const Name& inLeft, const Name& inRight) const {
    return inLeft.number != inRight.number ? inLeft.number < inRight.number
                                           : TextOf(inLeft) < TextOf(inRight);
}

bool FolderNames::IsPassed(const Name& inName) const {
    if (!mHasPassed || inName.number != mPassedNumber) return mHasPassed && inName.number < mPassedNumber;
    return TextOf(inName) <= mPassed;
}

void FolderNames::BeginReading() {
    Clear();
    mMaxNumber = UINT64_MAX;
    mHasMore = true;  // should this not come to an end
}

//   inError  ENOENT when all was read
int FolderNames::EndReading(int inError) {
    if (inError != ENOENT) {
        Clear();
        return inError;
    }
    Sort();
    PutBytesInOrder();
    mHasMore = mMaxNumber != UINT64_MAX;
    const auto isPassed = [this](const Name& inName) { return IsPassed(inName); };
    const auto next = std::partition_point(mNames.begin(), mNames.end(), isPassed);
    mNext = static_cast<std::size_t>(next - mNames.begin());
    return 0;
}

// Those of the number that was passed last are all read again: they may be beside one that comes.
void FolderNames::Take(std::string_view inName) {
    const std::uint64_t number = NumberOf(inName);
    if ((mHasPassed && number < mPassedNumber) || number > mMaxNumber) return;
    if (mNames.size() >= mMaxNames || mBytes.size() + inName.size() >= mMaxNameBytes) KeepHalf();
    if (number > mMaxNumber) return;
    mNames.push_back(
        {number, static_cast<std::uint32_t>(mBytes.size()), static_cast<std::uint32_t>(inName.size())});
    mBytes.append(inName).push_back('\0');
}

void FolderNames::Sort() {
    std::sort(mNames.begin(), mNames.end(),
              [this](const Name& inLeft, const Name& inRight) { return IsBefore(inLeft, inRight); });
    // What is renamed while it is read can be told twice.
    const auto isSame = [this](const Name& inLeft, const Name& inRight) {
        return inLeft.number == inRight.number && TextOf(inLeft) == TextOf(inRight);
    };
    mNames.erase(std::unique(mNames.begin(), mNames.end(), isSame), mNames.end());
}

// The first half and whatever has the number of its last one, with one at least that is to come: else it
// would be read for ever.
void FolderNames::KeepHalf() {
    Sort();
    std::size_t count = (mNames.size() + 1) / 2;
    while (count < mNames.size() && IsPassed(mNames[count - 1]))
        ++count;
    while (count < mNames.size() && mNames[count].number == mNames[count - 1].number)
        ++count;
    if (count == mNames.size()) return;
    mNames.resize(count);
    PutBytesInOrder();
    mMaxNumber = mNames.back().number;
}

// So that they are read as they lie in memory, and hold nothing that was left out.
void FolderNames::PutBytesInOrder() {
    std::string bytes;
    bytes.reserve(mBytes.size());
    for (Name& name : mNames) {
        const auto offset = static_cast<std::uint32_t>(bytes.size());
        bytes.append(TextOf(name)).push_back('\0');
        name.offset = offset;
    }
    mBytes = std::move(bytes);
}

const char* FolderNames::Current() const {
    return mNext == mNames.size() ? nullptr : mBytes.data() + mNames[mNext].offset;
}

void FolderNames::Pass() {
    const Name& name = mNames[mNext];
    mPassed.assign(TextOf(name));
    mPassedNumber = name.number;
    mHasPassed = true;
    ++mNext;
}

bool FolderNames::HasCompanionName() const {
    const std::uint64_t number = mNames[mNext].number;
    const std::string_view item = TextOf(mNames[mNext]);
    const auto isCompanions = [&](std::size_t inIndex) {
        const std::string_view text = TextOf(mNames[inIndex]);
        return text.size() == kCompanionPrefix.size() + item.size() && text.starts_with(kCompanionPrefix) &&
               text.ends_with(item);
    };
    for (std::size_t i = mNext; i > 0 && mNames[i - 1].number == number; --i)
        if (isCompanions(i - 1)) return true;
    for (std::size_t i = mNext + 1; i < mNames.size() && mNames[i].number == number; ++i)
        if (isCompanions(i)) return true;
    return false;
}

void FolderNames::Clear() noexcept {
    mNames.clear();
    mBytes.clear();
    mNext = 0;
}

void FolderNames::Drop() noexcept {
    mHasMore = mHasMore || mNext < mNames.size();
    mNames = {};
    mBytes = {};
    mNext = 0;
}

void FolderNames::End() noexcept {
    Drop();
    mHasMore = false;
}

}  // namespace toolbox::files
