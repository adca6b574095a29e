// ALRT, DLOG and DITL resources, byte by byte.
#pragma once

#include <toolbox/MacTypes.h>

#include <string_view>
#include <vector>

namespace test_interface {

using Bytes = std::vector<UInt8>;

inline void AddWord(Bytes& ioBytes, int inValue) {
    ioBytes.push_back(static_cast<UInt8>(inValue >> 8));
    ioBytes.push_back(static_cast<UInt8>(inValue));
}

inline Bytes AlertBytes(int inItemListID, int inStages = 0x4444) {
    Bytes bytes(8);
    AddWord(bytes, inItemListID);
    AddWord(bytes, inStages);
    return bytes;
}

inline Bytes DialogBytes(int inTop, int inLeft, int inBottom, int inRight, int inItemListID,
                         bool inIsVisible = true) {
    Bytes bytes;
    for (const int word :
         {inTop, inLeft, inBottom, inRight, 1, inIsVisible ? 0x0100 : 0, 0, 0, 0, inItemListID})
        AddWord(bytes, word);
    bytes.insert(bytes.end(), {5, 'T', 'i', 't', 'l', 'e'});
    return bytes;
}

class ItemList {
  public:
    enum : UInt8 {
        kButton = 4,
        kCheckBox = 5,
        kRadio = 6,
        kStaticText = 8,
        kEditText = 16,
        kIcon = 32,
        kDisabled = 128
    };

    ItemList& Add(UInt8 inKind, int inTop, int inLeft, std::string_view inText) {
        ++mCount;
        mItems.insert(mItems.end(), 4, 0);
        for (const int coordinate : {inTop, inLeft, inTop + 20, inLeft + 60})
            AddWord(mItems, coordinate);
        mItems.push_back(inKind);
        mItems.push_back(static_cast<UInt8>(inText.size()));
        mItems.insert(mItems.end(), inText.begin(), inText.end());
        if (inText.size() % 2 != 0) mItems.push_back(0);
        return *this;
    }
    Bytes Get() const {
        Bytes bytes;
        bytes.reserve(2 + mItems.size());
        AddWord(bytes, mCount - 1);
        bytes.insert(bytes.end(), mItems.begin(), mItems.end());
        return bytes;
    }

  private:
    int mCount = 0;
    Bytes mItems;
};

// A debug alert: three texts, then buttons 4 to 6, and Continue as item 1.
inline ItemList DebugItems() {
    return ItemList()
        .Add(ItemList::kButton, 90, 200, "Continue")
        .Add(ItemList::kStaticText, 10, 60, "Failure ^0")
        .Add(ItemList::kStaticText, 30, 60, "in ^1, line ^3: ^2")
        .Add(ItemList::kButton, 90, 10, "Quit")
        .Add(ItemList::kButton, 90, 70, "Debug")
        .Add(ItemList::kButton, 90, 130, "Silence");
}

}  // namespace test_interface
