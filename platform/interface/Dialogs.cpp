#include "AlertResources.h"
#include "AlertText.h"
#include "ResourceBytes.h"
#include "Terminal.h"
#include "os/Mutex.h"

#include <toolbox/Dialogs.h>
#include <toolbox/Interaction.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <new>
#include <type_traits>

using namespace toolbox::interface;

namespace {

constexpr ResType kAlertType = FourChars("ALRT");
constexpr ResType kItemListType = FourChars("DITL");
constexpr DialogItemIndex kNotShown = -1;
constexpr int kLastStage = 3;

using Texts = std::array<std::array<unsigned char, 256>, 4>;  // Pascal strings

// What this thread has given since its last alert: another thread's texts must not come between. Nothing that
// needs to be destroyed, as an alert may come while the thread ends.
struct OwnTexts {
    bool areGiven;
    Texts texts;
};
thread_local OwnTexts sOwn;

struct State {
    toolbox::os::Mutex mutex;
    Texts texts GUARDED_BY(mutex) = {};  // given last, by any thread
    AlertHandler handler GUARDED_BY(mutex) = nullptr;
    void* handlerContext GUARDED_BY(mutex) = nullptr;
    SInt16 lastAlertID GUARDED_BY(mutex) = 0;
    int stage GUARDED_BY(mutex) = -1;  // of the last alert; -1 before the first
};

// An alert may come while the program ends.
static_assert(std::is_trivially_destructible_v<State>);

State& TheState() {
    static State sState;
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
    static toolbox::os::Mutex& sTerminal = *new toolbox::os::Mutex;
    const toolbox::os::MutexLock lock(sTerminal);
    ShowText(LinesOf(inAlert, inTexts));
    return HasTerminal() && IsUserInteractionAllowed() != 0 ? Ask(inAlert) : DialogItemIndex{1};
}

struct Showing {
    int stage;
    Texts texts;
    AlertHandler handler;
    void* handlerContext;
};

DialogItemIndex CallHandler(const Showing& inShowing, SInt16 inAlertID, DialogItemIndex inDefaultItem) {
    ConstStr255Param pointers[4];
    std::transform(inShowing.texts.begin(), inShowing.texts.end(), pointers,
                   [](const auto& inText) { return inText.data(); });
    return inShowing.handler(inShowing.handlerContext, inAlertID, pointers, inDefaultItem);
}

ParamTexts StringsOf(const Texts& inTexts) {
    ParamTexts strings;
    std::transform(inTexts.begin(), inTexts.end(), strings.begin(), [](const auto& inText) {
        return std::string(reinterpret_cast<const char*>(inText.data() + 1), inText[0]);
    });
    return strings;
}

// Counts the alert, and takes the texts that are meant for it.
Showing TakeTurn(SInt16 inAlertID) {
    State& state = TheState();
    const toolbox::os::MutexLock lock(state.mutex);
    const bool isRepeated = state.stage >= 0 && state.lastAlertID == inAlertID;
    state.stage = isRepeated ? std::min(state.stage + 1, kLastStage) : 0;
    state.lastAlertID = inAlertID;
    const Texts& texts = sOwn.areGiven ? sOwn.texts : state.texts;
    sOwn.areGiven = false;
    return {state.stage, texts, state.handler, state.handlerContext};
}

DialogItemIndex Stop(SInt16 inAlertID) {
    // Whoever is asked or told may raise an alert in turn, so that is done without the lock.
    const Showing showing = TakeTurn(inAlertID);
    const Alert alert = LoadAlert(inAlertID, showing.stage);
    if (!alert.stage.isShown) return kNotShown;
    if (showing.handler != nullptr) return CallHandler(showing, inAlertID, alert.stage.defaultItem);
    return ShowOnTerminal(alert, StringsOf(showing.texts));
}

}  // namespace

void ParamText(ConstStr255Param inText0, ConstStr255Param inText1, ConstStr255Param inText2,
               ConstStr255Param inText3) {
    State& state = TheState();
    const toolbox::os::MutexLock lock(state.mutex);
    if (!sOwn.areGiven) sOwn.texts = state.texts;
    sOwn.areGiven = true;
    const ConstStr255Param texts[] = {inText0, inText1, inText2, inText3};
    for (std::size_t i = 0; i < state.texts.size(); ++i) {
        if (texts[i] == nullptr) continue;
        std::copy_n(texts[i], texts[i][0] + 1, sOwn.texts[i].begin());
        state.texts[i] = sOwn.texts[i];
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
    const toolbox::os::MutexLock lock(state.mutex);
    state.handler = inHandler;
    state.handlerContext = inContext;
}
