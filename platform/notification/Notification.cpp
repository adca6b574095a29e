#include "Subscriptions.h"
#include "notification/Notices.h"

#include <pthread.h>
#include <toolbox/Notification.h>

#include <new>

namespace toolbox::notification {

namespace {

// What a thread does about notices. Its address tells the thread.
struct ThreadState {
    bool hasSubscribed;  // at some time
    bool isDelivering;
    bool isEnding;
};
constinit thread_local ThreadState sThread = {};

// Ends what the thread subscribed with the thread. Until then the system keeps the library in memory.
struct ThreadEnd {
    ThreadEnd() = default;
    ~ThreadEnd() {
        sThread.isEnding = true;
        Subscriptions::Shared().RemoveAllOf(&sThread);
    }
    ThreadEnd(const ThreadEnd&) = delete;
    ThreadEnd& operator=(const ThreadEnd&) = delete;
};

// Once. False when there is no memory for it.
bool MindForks() {
    static const bool isMinded = pthread_atfork([] { Subscriptions::Shared().HoldForFork(); },
                                                [] { Subscriptions::Shared().GoOnInParent(); },
                                                [] { Subscriptions::Shared().GoOnInChild(&sThread); }) == 0;
    return isMinded;
}

class Delivery {
  public:
    Delivery() { sThread.isDelivering = true; }
    ~Delivery() { sThread.isDelivering = false; }
    Delivery(const Delivery&) = delete;
    Delivery& operator=(const Delivery&) = delete;
};

// What has a place in the catalogue, by path or by reference.
OSStatus Find(const UInt8* inPath, files::FoundItem& outItem) {
    return files::FindByPath(reinterpret_cast<const char*>(inPath), outItem);
}
OSStatus Find(const FSRef* inRef, files::FoundItem& outItem) {
    return files::FindByRef(*inRef, outItem);
}

template <typename Where>
OSStatus FindFolder(const Where* inWhere, files::FoundItem& outFolder) {
    const OSStatus status = Find(inWhere, outFolder);
    if (status != noErr) return status;
    return outFolder.status.kind == os::ItemKind::kFolder ? OSStatus{noErr} : OSStatus{errFSNotAFolder};
}

template <typename Where>
OSStatus Subscribe(const Where* inWhere, const Subscriber& inSubscriber, FNSubscriptionRef* outSubscription) {
    constexpr OptionBits kOptions = kFNNoImplicitAllSubscription | kFNNotifyInBackground;
    if (inWhere == nullptr || inSubscriber.callback == nullptr || outSubscription == nullptr ||
        (inSubscriber.options & ~kOptions) != 0 || sThread.isEnding)
        return paramErr;
    if (!MindForks()) return memFullErr;
    try {
        static thread_local const ThreadEnd sEnd;
        sThread.hasSubscribed = true;
        files::FoundItem folder;
        const OSStatus status = FindFolder(inWhere, folder);
        return status == noErr ? Subscriptions::Shared().Add(folder, inSubscriber, *outSubscription) : status;
    } catch (const std::bad_alloc&) {
        return memFullErr;
    }
}

}  // namespace

void DeliverDueNotices() {
    if (!sThread.hasSubscribed || sThread.isDelivering) return;
    Subscriptions& subscriptions = Subscriptions::Shared();
    if (subscriptions.IsEmpty()) return;
    subscriptions.MakeDue(&sThread);
    const Delivery delivery;
    for (Notice notice = {}; subscriptions.TakeDue(&sThread, notice);)
        notice.subscriber.callback(kFNDirectoryModifiedMessage, notice.flags, notice.subscriber.refcon,
                                   notice.subscription);
}

}  // namespace toolbox::notification

using namespace toolbox::notification;

FNSubscriptionUPP NewFNSubscriptionUPP(FNSubscriptionProcPtr inCallback) {
    return inCallback;
}

void DisposeFNSubscriptionUPP(FNSubscriptionUPP) {}

void InvokeFNSubscriptionUPP(FNMessage inMessage, OptionBits inFlags, void* inRefcon,
                             FNSubscriptionRef inSubscription, FNSubscriptionUPP inCallback) {
    inCallback(inMessage, inFlags, inRefcon, inSubscription);
}

OSStatus FNSubscribe(const FSRef* inFolder, FNSubscriptionUPP inCallback, void* inRefcon,
                     OptionBits inOptions, FNSubscriptionRef* outSubscription) {
    return Subscribe(inFolder, {inCallback, inRefcon, inOptions, &sThread}, outSubscription);
}

OSStatus FNSubscribeByPath(const UInt8* inFolderPath, FNSubscriptionUPP inCallback, void* inRefcon,
                           OptionBits inOptions, FNSubscriptionRef* outSubscription) {
    return Subscribe(inFolderPath, {inCallback, inRefcon, inOptions, &sThread}, outSubscription);
}

OSStatus FNUnsubscribe(FNSubscriptionRef inSubscription) {
    return Subscriptions::Shared().Remove(inSubscription) ? noErr : paramErr;
}

OSStatus FNGetDirectoryForSubscription(FNSubscriptionRef inSubscription, FSRef* outFolder) {
    if (outFolder == nullptr) return paramErr;
    return Subscriptions::Shared().GetFolder(inSubscription, *outFolder) ? noErr : paramErr;
}

OSStatus FNNotify(const FSRef* inFolder, FNMessage inMessage, OptionBits inFlags) {
    if (inFolder == nullptr || inMessage != kFNDirectoryModifiedMessage) return paramErr;
    toolbox::os::ItemIdentity folder;
    if (!toolbox::files::ReadRef(*inFolder, folder)) return errFSBadFSRef;
    Subscriptions::Shared().Notify(folder, inFlags);
    return noErr;
}

OSStatus FNNotifyByPath(const UInt8* inFolderPath, FNMessage inMessage, OptionBits inFlags) {
    if (inFolderPath == nullptr || inMessage != kFNDirectoryModifiedMessage) return paramErr;
    try {
        toolbox::files::FoundItem folder;
        const OSStatus status = FindFolder(inFolderPath, folder);
        if (status == noErr) Subscriptions::Shared().Notify(folder.status.identity, inFlags);
        return status;
    } catch (const std::bad_alloc&) {
        return memFullErr;
    }
}

OSStatus FNNotifyAll(FNMessage inMessage, OptionBits inFlags) {
    if (inMessage != kFNDirectoryModifiedMessage) return paramErr;
    Subscriptions::Shared().NotifyAll(inFlags);
    return noErr;
}
