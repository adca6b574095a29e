#include <toolbox/Dialogs.h>

#include "AlertResources.h"
#include "AlertText.h"
#include "ResourceBytes.h"
#include "Terminal.h"

#include <toolbox/Interaction.h>

#include <algorithm>
#include <charconv>
#include <mutex>
#include <new>

using namespace toolbox::interface;

namespace {

constexpr ResType kAlertType = FourChars("ALRT");
constexpr ResType kItemListType = FourChars("DITL");
constexpr DialogItemIndex kNotShown = -1;
constexpr int kLastStage = 3;

struct State {
    std::mutex mutex;
    ParamTexts texts;
    AlertHandler handler = nullptr;
    void* handlerContext = nullptr;
    SInt16 lastAlertID = 0;
    int stage = -1;  // of the last alert; -1 before the first
};

// Never destroyed: an alert may come while the program ends.
State& TheState() {
    static State& sState = *new State;
    return sState;
}

struct Alert {
    bool hasTemplate = false;
    AlertStage stage;
    std::vector<AlertItem> items;
};

Alert LoadAlert(SInt16 inAlertID, int inStage) {
    Alert alert;
    AlertTemplate contents;
    if (!DecodeAlert(BytesOfResource(kAlertType, inAlertID), contents)) return alert;
    alert.hasTemplate = true;
    alert.stage = contents.stages[static_cast<std::size_t>(inStage)];
    // Of a list that is cut off, the items before are shown.
    DecodeItems(BytesOfResource(kItemListType, contents.itemListID), alert.items);
    return alert;
}

// 0 when the line is not the number of an item.
SInt16 ItemOfLine(const std::string& inLine, const Alert& inAlert) {
    SInt16 item = 0;
    const auto [end, error] = std::from_chars(inLine.data(), inLine.data() + inLine.size(), item);
    if (error != std::errc() || end != inLine.data() + inLine.size() || item < 1) return 0;
    if (inAlert.items.empty()) return item;
    const auto index = static_cast<std::size_t>(item) - 1;
    return index < inAlert.items.size() && inAlert.items[index].isEnabled ? item : SInt16{0};
}

DialogItemIndex Ask(const Alert& inAlert) {
    const std::string prompt = "Item [" + std::to_string(inAlert.stage.defaultItem) + "]: ";
    for (;;) {
        ShowText(prompt);
        std::string line;
        if (!ReadLine(line)) {
            ShowText("\n");
            return inAlert.stage.defaultItem;
        }
        if (line.empty()) return inAlert.stage.defaultItem;
        const SInt16 item = ItemOfLine(line, inAlert);
        if (item != 0) return item;
    }
}

// An alert with a template that shows no text at all would leave out what it has to tell.
std::string LinesOf(const Alert& inAlert, const ParamTexts& inTexts) {
    const std::string lines = AlertLines(inAlert.items, inTexts, inAlert.stage.defaultItem);
    return inAlert.items.empty() ? PlainLines(inTexts) : lines;
}

DialogItemIndex ShowOnTerminal(const Alert& inAlert, const ParamTexts& inTexts) {
    static std::mutex& sTerminal = *new std::mutex;
    const std::lock_guard lock(sTerminal);
    ShowText(LinesOf(inAlert, inTexts));
    return HasTerminal() && IsUserInteractionAllowed() != 0 ? Ask(inAlert) : DialogItemIndex{1};
}

DialogItemIndex CallHandler(AlertHandler inHandler, void* inContext, SInt16 inAlertID,
                            const ParamTexts& inTexts, DialogItemIndex inDefaultItem) {
    Str255 texts[4];
    ConstStr255Param pointers[4];
    for (std::size_t i = 0; i < inTexts.size(); ++i) {
        texts[i][0] = static_cast<unsigned char>(inTexts[i].size());
        std::copy(inTexts[i].begin(), inTexts[i].end(), texts[i] + 1);
        pointers[i] = texts[i];
    }
    return inHandler(inContext, inAlertID, pointers, inDefaultItem);
}

DialogItemIndex Stop(SInt16 inAlertID) {
    State& state = TheState();
    std::unique_lock lock(state.mutex);
    const bool isRepeated = state.stage >= 0 && state.lastAlertID == inAlertID;
    state.stage = isRepeated ? std::min(state.stage + 1, kLastStage) : 0;
    state.lastAlertID = inAlertID;
    const int stage = state.stage;
    const ParamTexts texts = state.texts;
    const AlertHandler handler = state.handler;
    void* const context = state.handlerContext;
    lock.unlock();

    const Alert alert = LoadAlert(inAlertID, stage);
    if (!alert.stage.isShown) return kNotShown;
    if (handler != nullptr) return CallHandler(handler, context, inAlertID, texts, alert.stage.defaultItem);
    return ShowOnTerminal(alert, texts);
}

}  // namespace

void ParamText(ConstStr255Param inText0, ConstStr255Param inText1, ConstStr255Param inText2,
               ConstStr255Param inText3) {
    try {
        State& state = TheState();
        const std::lock_guard lock(state.mutex);
        const ConstStr255Param texts[] = {inText0, inText1, inText2, inText3};
        for (std::size_t i = 0; i < state.texts.size(); ++i)
            if (texts[i] != nullptr)
                state.texts[i].assign(reinterpret_cast<const char*>(texts[i] + 1), texts[i][0]);
    } catch (const std::bad_alloc&) {
        // The texts from here on stay what they were.
    }
}

DialogItemIndex StopAlert(SInt16 inAlertID, ModalFilterUPP /*inFilter*/) {
    try {
        return Stop(inAlertID);
    } catch (const std::bad_alloc&) {
        return kNotShown;
    }
}

void SetAlertHandler(AlertHandler inHandler, void* inContext) {
    State& state = TheState();
    const std::lock_guard lock(state.mutex);
    state.handler = inHandler;
    state.handlerContext = inContext;
}
