// Dialogs of a test's own, from resources in a file of its own.
#pragma once

#include "AlertBytes.h"
#include "Pictures.h"
#include "platform/resources/ResourcesTest.h"

#include <toolbox/Controls.h>
#include <toolbox/DialogWindows.h>
#include <toolbox/Resources.h>

#include <string_view>

namespace test_interface {

class DialogTest : public test_resources::ResourcesTest {
  protected:
    static constexpr SInt16 kDialogID = 128;
    static constexpr SInt16 kItemsID = 129;

    static std::string_view View(const Bytes& inBytes) {
        return {reinterpret_cast<const char*>(inBytes.data()), inBytes.size()};
    }
    void OpenResources(const Bytes& inDialog, const Bytes& inItems) {
        ASSERT_GT(
            Open(MakeFile("dialogs", {test_resources::ImageOf(FourChars("DLOG"), kDialogID, View(inDialog)),
                                      test_resources::ImageOf(FourChars("DITL"), kItemsID, View(inItems))})),
            0);
    }
    static ControlRef ControlOf(DialogRef inDialog, SInt16 inItem) {
        Handle item = nullptr;
        GetDialogItem(inDialog, inItem, nullptr, &item, nullptr);
        return reinterpret_cast<ControlRef>(item);
    }
};

}  // namespace test_interface
