#include "keys/AccessKeyList.h"
#include "keys/ProcessKeys.h"
#include "platform/keys/StateFolder.h"
#include "support/FailingNew.h"

#include <gtest/gtest.h>
#include <toolbox/AccessKeys.h>

#include <cstring>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace {

struct PascalText {
    Str255 bytes;
    explicit PascalText(const std::string& inText) {
        bytes[0] = static_cast<unsigned char>(inText.size());
        std::memcpy(bytes + 1, inText.data(), inText.size());
    }
    operator ConstStr255Param() const { return bytes; }
};

class Block {
  public:
    explicit Block(const std::string& inBytes) : mHandle(NewHandle(static_cast<Size>(inBytes.size()))) {
        std::memcpy(*mHandle, inBytes.data(), inBytes.size());
    }
    ~Block() { DisposeHandle(mHandle); }
    Block(const Block&) = delete;
    Block& operator=(const Block&) = delete;
    operator Handle() const { return mHandle; }

  private:
    Handle mHandle;
};

OSErr Register(const std::string& inType, const std::string& inKey, SInt32 inFlags) {
    return QTRegisterAccessKey(PascalText(inType), inFlags, Block(inKey));
}
OSErr Unregister(const std::string& inType, const std::string& inKey, SInt32 inFlags) {
    return QTUnregisterAccessKey(PascalText(inType), inFlags, Block(inKey));
}

// A bar after each key; "?" and the status when they cannot be had.
std::string Keys(const std::string& inType, SInt32 inFlags) {
    QTAtomContainer keys = nullptr;
    const OSErr error = QTGetAccessKeys(PascalText(inType), inFlags, &keys);
    if (error != noErr) {
        EXPECT_EQ(nullptr, keys);
        return '?' + std::to_string(error);
    }
    std::string text;
    const SInt16 count = QTCountChildrenOfType(keys, kParentAtomIsContainer, kAccessKeyAtomType);
    for (SInt16 i = 1; i <= count; ++i) {
        SInt32 byteCount = 0;
        Ptr data = nullptr;
        QTAtomID id = 0;
        const QTAtom atom = QTFindChildByIndex(keys, kParentAtomIsContainer, kAccessKeyAtomType, i, &id);
        EXPECT_EQ(i, id);
        EXPECT_EQ(noErr, QTGetAtomDataPtr(keys, atom, &byteCount, &data));
        text.append(data, static_cast<std::size_t>(byteCount)) += '|';
    }
    QTDisposeAtomContainer(keys);
    return text;
}

class AccessKeysTest : public testing::TestWithParam<SInt32> {
  protected:
    ~AccessKeysTest() override {
        const toolbox::keys::AccessKeyList left = toolbox::keys::CopyProcessKeys();
        for (const std::string_view key : left.KeysOf("Type"))
            EXPECT_EQ(noErr, Unregister("Type", std::string(key), 0));
        EXPECT_EQ(0U, toolbox::keys::CopyProcessKeys().Count());
        EXPECT_EQ(mLiveHandles, GetLiveHandleCount());
    }

    UInt64 mLiveHandles = GetLiveHandleCount();
    test_movies::StateFolder mState;
};

TEST_P(AccessKeysTest, RegisteredUntilUnregistered) {
    EXPECT_EQ("", Keys("Type", GetParam()));
    EXPECT_EQ(noErr, Register("Type", "second", GetParam()));
    EXPECT_EQ(noErr, Register("type", "first", GetParam()));
    EXPECT_EQ("second|first|", Keys("TYPE", GetParam()));
    EXPECT_EQ("", Keys("Typ", GetParam()));
    EXPECT_EQ("", Keys("Type", 1 - GetParam())) << "not at the other scope";
    EXPECT_EQ(noErr, Unregister("tYPE", "SECOND", GetParam()));
    EXPECT_EQ("first|", Keys("Type", GetParam()));
    EXPECT_EQ(noErr, Unregister("Type", "first", GetParam()));
    EXPECT_EQ("", Keys("Type", GetParam()));
}

TEST_P(AccessKeysTest, AgainIsNoFailure) {
    EXPECT_EQ(noErr, Unregister("Type", "key", GetParam()));
    EXPECT_EQ(noErr, Register("Type", "key", GetParam()));
    EXPECT_EQ(noErr, Register("Type", "KEY", GetParam()));
    EXPECT_EQ("key|", Keys("Type", GetParam())) << "as it was first";
    EXPECT_EQ(noErr, Unregister("Type", "key", GetParam()));
    EXPECT_EQ(noErr, Unregister("Type", "key", GetParam()));
}

TEST_P(AccessKeysTest, AnyBytes) {
    const std::string bytes("\0=\n\xFF", 4);
    EXPECT_EQ(noErr, Register("Type", bytes, GetParam()));
    EXPECT_EQ(noErr, Register("Type", "", GetParam()));
    EXPECT_EQ(bytes + "||", Keys("Type", GetParam()));
    const std::string longType(255, 't');
    EXPECT_EQ(noErr, Register(longType, "key", GetParam()));
    EXPECT_EQ("key|", Keys(longType, GetParam()));
    EXPECT_EQ(noErr, Unregister(longType, "key", GetParam()));
}

TEST_P(AccessKeysTest, ArgumentsThatCannotBe) {
    const Block key("key");
    QTAtomContainer keys = nullptr;
    for (const SInt32 flags : {2, 3, -1}) {
        EXPECT_EQ(paramErr, QTRegisterAccessKey(PascalText("Type"), flags, key));
        EXPECT_EQ(paramErr, QTUnregisterAccessKey(PascalText("Type"), flags, key));
        EXPECT_EQ(paramErr, QTGetAccessKeys(PascalText("Type"), flags, &keys));
    }
    EXPECT_EQ(paramErr, QTRegisterAccessKey(nullptr, GetParam(), key));
    EXPECT_EQ(paramErr, QTRegisterAccessKey(PascalText("Type"), GetParam(), nullptr));
    EXPECT_EQ(paramErr, QTUnregisterAccessKey(nullptr, GetParam(), key));
    EXPECT_EQ(paramErr, QTUnregisterAccessKey(PascalText("Type"), GetParam(), nullptr));
    EXPECT_EQ(paramErr, QTGetAccessKeys(PascalText("Type"), GetParam(), nullptr));
    keys = key;
    EXPECT_EQ(paramErr, QTGetAccessKeys(nullptr, GetParam(), &keys));
    EXPECT_EQ(nullptr, keys);
    EmptyHandle(key);
    EXPECT_EQ(nilHandleErr, QTRegisterAccessKey(PascalText("Type"), GetParam(), key));
}

TEST_P(AccessKeysTest, ManyKeysInOneContainer) {
    std::string expected;
    for (int i = 0; i < 300; ++i) {
        ASSERT_EQ(noErr, Register("Type", "key" + std::to_string(i), GetParam()));
        expected += "key" + std::to_string(i) + '|';
    }
    EXPECT_EQ(expected, Keys("Type", GetParam()));
}

TEST_P(AccessKeysTest, EveryAllocationFails) {
    struct Case {
        const char* name;
        std::function<OSErr()> call;
        std::string before, after;
    };
    const PascalText type("Type");
    const Block first("first"), second("a key that is too long to be kept within a string object itself");
    QTAtomContainer keys = nullptr;
    const std::string whole = "first|a key that is too long to be kept within a string object itself|";
    ASSERT_EQ(noErr, QTRegisterAccessKey(type, GetParam(), first));
    for (const Case& one :
         {Case{"register", [&] { return QTRegisterAccessKey(type, GetParam(), second); }, "first|", whole},
          Case{"get", [&] { return QTGetAccessKeys(type, GetParam(), &keys); }, whole, whole},
          Case{"unregister", [&] { return QTUnregisterAccessKey(type, GetParam(), second); }, whole,
               "first|"}}) {
        const std::size_t descriptors = test_files::OpenDescriptorCount();
        for (int failing = 1;; ++failing) {
            OSErr error = noErr;
            bool wasDelivered = false;
            {
                test_files::FailingNew fault(failing);
                error = one.call();
                wasDelivered = fault.Delivered();
            }
            EXPECT_EQ(descriptors, test_files::OpenDescriptorCount()) << one.name << failing;
            if (!wasDelivered) {
                EXPECT_EQ(noErr, error) << one.name;
                EXPECT_GT(failing, 1) << one.name << ": nothing could fail";
                break;
            }
            EXPECT_EQ(memFullErr, error) << one.name << failing;
            EXPECT_EQ(nullptr, keys);
            EXPECT_EQ(one.before, Keys("Type", GetParam())) << one.name << failing;
        }
        QTDisposeAtomContainer(keys);
        keys = nullptr;
        EXPECT_EQ(one.after, Keys("Type", GetParam())) << one.name;
    }
}

TEST_P(AccessKeysTest, NoMemoryForTheContainer) {
    ASSERT_EQ(noErr, Register("Type", "a key of some length", GetParam()));
    // Not even the container, and the container without its key.
    for (const UInt64 room : {UInt64{10}, UInt64{40}}) {
        SetMemoryLimit(GetMemoryInUse() + room);
        EXPECT_EQ('?' + std::to_string(memFullErr), Keys("Type", GetParam()));
        SetMemoryLimit(0);
    }
    EXPECT_EQ("a key of some length|", Keys("Type", GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Scopes, AccessKeysTest, testing::Values(0, SInt32{kAccessKeySystemFlag}),
                         [](const testing::TestParamInfo<SInt32>& inInfo) {
                             return inInfo.param == 0 ? "Process" : "System";
                         });

using AccessKeysOfTheProcess = AccessKeysTest;

TEST_F(AccessKeysOfTheProcess, LeaveNoFile) {
    EXPECT_EQ(noErr, Register("Type", "key", 0));
    EXPECT_EQ("-", mState.Text());
    EXPECT_EQ("", mState.Names());
}

TEST_F(AccessKeysOfTheProcess, AreSoMany) {
    using toolbox::keys::ChangeProcessKeys;
    using toolbox::keys::KeyChange;
    const std::size_t most = toolbox::keys::AccessKeyList::kMaxKeys;
    for (std::size_t i = 0; i < most; ++i)
        ASSERT_EQ(noErr, ChangeProcessKeys(KeyChange::kAdd, {"many", std::to_string(i)}));
    EXPECT_EQ(memFullErr, Register("Type", "one more", 0));
    EXPECT_EQ(noErr, Register("many", "17", 0)) << "that is so already";
    for (std::size_t i = 0; i < most; ++i)
        ASSERT_EQ(noErr, ChangeProcessKeys(KeyChange::kRemove, {"many", std::to_string(i)}));
}

TEST_F(AccessKeysOfTheProcess, OnManyThreads) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([i] {
            for (int n = 0; n < 100; ++n) {
                const std::string key = std::to_string(1000 * i + n);
                EXPECT_EQ(noErr, Register("Type", key, 0));
                EXPECT_NE(std::string::npos, Keys("Type", 0).find(key));
                EXPECT_EQ(noErr, Unregister("Type", key, 0));
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ("", Keys("Type", 0));
}

using SystemWideAccessKeys = AccessKeysTest;

TEST_F(SystemWideAccessKeys, TextOfTheFile) {
    EXPECT_EQ(noErr, Register("SoundArchitecture", "soundmgr", kAccessKeySystemFlag));
    EXPECT_EQ("mirtal access keys 1\nSoundArchitecture=soundmgr\nend\n", mState.Text());
}

TEST_F(SystemWideAccessKeys, DamagedFileIsTold) {
    mState.PutText("mirtal access keys 1\nType=");
    EXPECT_EQ('?' + std::to_string(badFileFormat), Keys("Type", kAccessKeySystemFlag));
    EXPECT_EQ(badFileFormat, Register("Type", "key", kAccessKeySystemFlag));
    EXPECT_EQ(badFileFormat, Unregister("Type", "key", kAccessKeySystemFlag));
    EXPECT_EQ("mirtal access keys 1\nType=", mState.Text());
    EXPECT_EQ("", Keys("Type", 0)) << "those of the process do not depend on it";
}

}  // namespace
