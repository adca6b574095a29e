#include "Alerts.h"

#include "Calls.h"

#include <toolbox/Debugger.h>
#include <toolbox/Processes.h>

#include <string>

namespace fakes {

namespace {

DialogItemIndex sItem = 1;

std::string TextOf(ConstStr255Param inText) {
    return {reinterpret_cast<const char*>(inText + 1), inText[0]};
}

}  // namespace

void HitItem(DialogItemIndex inItem) {
    sItem = inItem;
}

void ForgetAlerts() {
    sItem = 1;
}

}  // namespace fakes

using namespace fakes;

void ParamText(ConstStr255Param inText0, ConstStr255Param inText1, ConstStr255Param inText2,
               ConstStr255Param inText3) {
    Log("ParamText(" + TextOf(inText0) + "|" + TextOf(inText1) + "|" + TextOf(inText2) + "|" +
        TextOf(inText3) + ")");
}

DialogItemIndex StopAlert(SInt16 inAlertID, ModalFilterUPP inFilter) {
    Log(CallText("StopAlert", inAlertID));
    if (inFilter != nullptr) ReportMisuse("an alert with a filter");
    return sItem;
}

void Debugger() {
    Log("Debugger()");
}

void DebugStr(ConstStr255Param inMessage) {
    Log("DebugStr(" + TextOf(inMessage) + ")");
}

void ExitToShell() {
    Log("ExitToShell()");
    throw Exited();
}
