#include "GuardTest.h"
#include "fakes/Resources.h"

#include <foundation/StResource.h>

namespace {

constexpr ResType kType = FourChars("TEXT");
constexpr unsigned char kName[] = "\3two";
constexpr unsigned char kMissing[] = "\4none";

static_assert(sizeof(StResource) == sizeof(void*));

class StResourceTest : public GuardTest {
  protected:
    StResourceTest() {
        fakes::ScriptResource(kType, 1, "one", "first");
        fakes::ScriptResource(kType, 2, "two", "second", false);
    }
    static constexpr short kOne = 1;
    static constexpr short kTwo = 2;
    static constexpr short kNone = 9;
};

TEST_F(StResourceTest, ByID) {
    {
        const StResource resource(kType, kTwo, true, false);
        EXPECT_EQ("second", TextOf(resource.Get()));
    }
    EXPECT_EQ((std::vector<std::string>{"GetResource", "ReleaseResource"}),
              fakes::CallsOf({"GetResource", "Get1Resource", "ReleaseResource", "DisposeHandle"}));
    const StResource resource(kType, kOne, true, true);
    EXPECT_EQ("first", TextOf(resource.Get()));
    EXPECT_EQ(1U, Count("Get1Resource"));
}

TEST_F(StResourceTest, ByName) {
    {
        const StResource resource(kType, kName, true, false);
        EXPECT_EQ("second", TextOf(resource.Get()));
        EXPECT_EQ(1U, Count("GetNamedResource"));
    }
    EXPECT_EQ(resNotFound, CodeOf([] { const StResource resource(kType, kName, true, true); }))
        << "not in the current file";
    EXPECT_EQ(1U, Count("Get1NamedResource"));
}

TEST_F(StResourceTest, ByIndex) {
    StResource resource(nullptr);
    EXPECT_EQ("second", TextOf(resource.GetIndResource(kType, kTwo, true, false)));
    EXPECT_EQ("first", TextOf(resource.GetIndResource(kType, kOne, true, true)));
    EXPECT_EQ(1U, Count("ReleaseResource")) << "the one before";
    EXPECT_EQ(resNotFound, CodeOf([&] { resource.GetIndResource(kType, kTwo, true, true); }));
    EXPECT_EQ(nullptr, resource.Get());
    EXPECT_EQ(2U, Count("ReleaseResource")) << "given back even when nothing is found";
    EXPECT_EQ(1U, Count("GetIndResource"));
    EXPECT_EQ(2U, Count("Get1IndResource"));
}

TEST_F(StResourceTest, NothingFound) {
    for (const OSErr error : {OSErr{noErr}, OSErr{-108}}) {
        fakes::SetErrorOfSearch(error);
        const long expected = error == noErr ? OSErr{resNotFound} : error;
        for (const unsigned char oneDeep : {0, 1}) {
            EXPECT_EQ(expected, CodeOf([&] { const StResource none(kType, kNone, true, oneDeep); }));
            EXPECT_EQ(expected, CodeOf([&] { const StResource none(kType, kMissing, true, oneDeep); }));
            StResource none(kType, kNone, false, oneDeep);
            EXPECT_EQ(nullptr, none.Get());
            EXPECT_EQ(nullptr, none.GetResource(kType, kMissing, false, oneDeep));
            EXPECT_EQ(nullptr, none.GetIndResource(kType, kNone, false, oneDeep));
            EXPECT_EQ(expected, CodeOf([&] { none.GetIndResource(kType, kNone, true, oneDeep); }));
        }
    }
    EXPECT_EQ(0U, Count("ReleaseResource") + Count("DisposeHandle"));
}

TEST_F(StResourceTest, LookingAgainGivesBackTheFirst) {
    StResource resource(kType, kOne, true, false);
    const Handle found = resource.GetResource(kType, kName, true, false);
    EXPECT_EQ(found, resource.Get());
    EXPECT_EQ("second", TextOf(found));
    EXPECT_EQ(1U, Count("ReleaseResource"));
}

TEST_F(StResourceTest, TypesAre32Bit) {
    const StResource resource(static_cast<unsigned long>(0xFFFFFFFF00000000ULL | kType), kOne, true, false);
    EXPECT_EQ("first", TextOf(resource.Get()));
}

TEST_F(StResourceTest, PlainHandleIsDisposedOf) {
    { const StResource resource(HandleOf("plain")); }
    EXPECT_EQ(1U, Count("DisposeHandle"));
    fakes::SetErrorOfPlainHandles(-185);
    { const StResource resource(HandleOf("plain")); }
    EXPECT_EQ(2U, Count("DisposeHandle")) << "whatever the status is";
    { const StResource resource(nullptr); }
    EXPECT_EQ(2U, Count("GetResAttrs"));
}

TEST_F(StResourceTest, DetachedIsDisposedOf) {
    {
        StResource resource(kType, kOne, true, false);
        const Handle handle = resource.Get();
        resource.Detach();
        EXPECT_EQ(handle, resource.Get());
    }
    EXPECT_EQ(1U, Count("DetachResource"));
    EXPECT_EQ(1U, Count("DisposeHandle"));
    EXPECT_EQ(0U, Count("ReleaseResource"));
    StResource none(nullptr);
    none.Detach();
    EXPECT_EQ(1U, Count("DetachResource"));
}

TEST_F(StResourceTest, Adopting) {
    StResource resource(kType, kOne, true, false);
    const Handle held = resource.Get();
    resource.Adopt(held);
    EXPECT_EQ(0U, Count("ReleaseResource"));
    const Handle plain = HandleOf("plain");
    resource.Adopt(plain);
    EXPECT_EQ(1U, Count("ReleaseResource"));
    EXPECT_EQ(plain, resource.Get());
    resource.Adopt(nullptr);
    EXPECT_EQ(1U, Count("DisposeHandle"));
    resource.Dispose();
    EXPECT_EQ(1U, Count("DisposeHandle"));
}

TEST_F(StResourceTest, GivenBackWhenAnExceptionPasses) {
    EXPECT_EQ(-50, CodeOf([] {
        const StResource resource(kType, kOne, true, false);
        LException::Throw(-50);
    }));
    EXPECT_EQ(1U, Count("ReleaseResource"));
}

TEST_F(StResourceTest, EveryCallFails) {
    const int before = fakes::LiveHandles();
    for (int failing = 1;; ++failing) {
        fakes::FailCall(failing);
        const long code = CodeOf([] {
            StResource first(kType, kOne, true, false);
            StResource second(kType, kName, true, false);
            second.GetIndResource(kType, kTwo, true, false);
        });
        EXPECT_EQ(before, fakes::LiveHandles()) << failing;
        if (!fakes::FailureDelivered()) {
            EXPECT_EQ(1, code);
            EXPECT_EQ(4, failing);
            break;
        }
        EXPECT_EQ(resNotFound, code) << failing;
    }
}

}  // namespace
