// Notices of changes in folders.
//
// Who subscribes to a folder is called when something in it was changed: an item made, deleted, renamed,
// moved, written or dated, by this process or another, or when a program of this process says so (FNNotify).
// The call comes on the thread that subscribed, when that asks for events (Events.h). Many changes between
// two such moments are one notice. A folder that is renamed or moved keeps its subscribers; those of one that
// is deleted, or whose volume is unmounted, are told once more and then no more.
//
// Changes by other programs and by calls that do not tell of them are seen as far as the system tells of
// changes: not those that another machine makes on a network's volume, nor in a folder that the user may not
// list, nor where the process or the user watches as many folders as the system allows. There, and in a child
// of fork, subscribers are called for what this process tells with FNNotify alone; no status says so. A child
// has the subscriptions of the thread that forked.
//
// Every function may be called on any thread, also by who is called. Beside what a function names, each may
// answer: paramErr for a null argument that may not be null and for options or messages not named here,
// errFSBadFSRef for bytes that are no reference, errFSNotAFolder, memFullErr, and those of a path or
// reference what Files.h tells of every function.
#pragma once

#include <toolbox/Files.h>

TOOLBOX_EXTERN_C_BEGIN

typedef UInt32 FNMessage;
enum { kFNDirectoryModifiedMessage = 1 };

// Names a subscription. That of one that was ended is known to be that, and never names another.
typedef struct OpaqueFNSubscriptionRef* FNSubscriptionRef;

//   inFlags   what FNNotify was given, of all calls that became this notice together; 0 for what the system
//             told
//   inRefcon  as FNSubscribe was given it
// It may subscribe, end any subscription, also its own, tell of changes and ask for events; while it runs its
// thread gets no other notice. It is not called again once FNUnsubscribe was called on its own thread; where
// another thread calls that, it may be under way still.
typedef void (*FNSubscriptionProcPtr)(FNMessage inMessage, OptionBits inFlags, void* inRefcon,
                                      FNSubscriptionRef inSubscription);
typedef FNSubscriptionProcPtr FNSubscriptionUPP;

// A function as a callback: itself. There is nothing to dispose of.
TOOLBOX_MUST_USE FNSubscriptionUPP NewFNSubscriptionUPP(FNSubscriptionProcPtr inCallback);
TOOLBOX_EXPORT void DisposeFNSubscriptionUPP(FNSubscriptionUPP inCallback);
TOOLBOX_EXPORT void InvokeFNSubscriptionUPP(FNMessage inMessage, OptionBits inFlags, void* inRefcon,
                                            FNSubscriptionRef inSubscription, FNSubscriptionUPP inCallback);

// Options of a subscription.
enum {
    kFNNoImplicitAllSubscription = 0x01,  // FNNotifyAll does not reach it
    kFNNotifyInBackground = 0x02          // all are told at once: no program is in the background here
};

// Subscribes this thread to a folder, until FNUnsubscribe or until the thread ends. Several subscriptions to
// one folder are told each.
//   outSubscription  untouched on failure
// fnfErr when the folder is gone; paramErr also on a thread that is ending.
TOOLBOX_MUST_USE OSStatus FNSubscribe(const FSRef* inFolder, FNSubscriptionUPP inCallback, void* inRefcon,
                                      OptionBits inOptions, FNSubscriptionRef* outSubscription);
TOOLBOX_MUST_USE OSStatus FNSubscribeByPath(const UInt8* inFolderPath, FNSubscriptionUPP inCallback,
                                            void* inRefcon, OptionBits inOptions,
                                            FNSubscriptionRef* outSubscription);

// Ends a subscription, on any thread; notices that were due are dropped. paramErr when it has ended.
TOOLBOX_MUST_USE OSStatus FNUnsubscribe(FNSubscriptionRef inSubscription);

// The folder of a subscription, also when it is gone. outFolder is untouched on failure. paramErr when the
// subscription has ended.
TOOLBOX_MUST_USE OSStatus FNGetDirectoryForSubscription(FNSubscriptionRef inSubscription, FSRef* outFolder);

// Tells the subscribers of a folder in this process of a change in it. By reference nothing is looked up:
// noErr also when it is of a file, or of a folder that is gone, which have no subscribers to be told.
//   inFlags  handed on to who is called
TOOLBOX_MUST_USE OSStatus FNNotify(const FSRef* inFolder, FNMessage inMessage, OptionBits inFlags);
TOOLBOX_MUST_USE OSStatus FNNotifyByPath(const UInt8* inFolderPath, FNMessage inMessage, OptionBits inFlags);

// The same of all folders.
TOOLBOX_MUST_USE OSStatus FNNotifyAll(FNMessage inMessage, OptionBits inFlags);

TOOLBOX_EXTERN_C_END
