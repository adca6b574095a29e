#include "status/StatusOfErrno.h"

#include <toolbox/MacErrors.h>
#include <toolbox/StatusText.h>

#include <cstdio>

namespace {

struct Words {
    OSStatus status;
    const char* text;
};
constexpr Words kWords[] = {
    {unimpErr, "there is no such function on this system"},
    {dskFulErr, "no space left, on the volume or among what such a file can hold"},
    {nsvErr, "no such volume"},
    {ioErr, "reading or writing failed, or it would be longer than files may be"},
    {bdNamErr, "its path is too long, or links go in circles"},
    {eofErr, "it ends too early"},
    {posErr, "a position before its start"},
    {tmfoErr, "too many open files"},
    {fnfErr, "no such file or folder"},
    {wPrErr, "its volume may only be read"},
    {fLckdErr, "is locked"},
    {vLckdErr, "its volume is mounted to be read only"},
    {fBsyErr, "is in use"},
    {dupFNErr, "the name is taken"},
    {opWrErr, "is being written already"},
    {paramErr, "an argument, or what the file holds, makes no sense"},
    {rfNumErr, "no such open file"},
    {permErr, "permission denied"},
    {wrPermErr, "may only be read"},
    {memFullErr, "not enough memory"},
    {nilHandleErr, "a block of memory is missing"},
    {memWZErr, "a block of memory was disposed of before"},
    {memPurErr, "a block of memory is locked"},
    {memLockedErr, "a block of memory is locked"},
    {dirNFErr, "no such folder on the way to it"},
    {badMovErr, "a folder cannot be moved into what is in it"},
    {userCanceledErr, "it was stopped"},
    {cDepthErr, "pixels of a depth that is not there"},
    {resNotFound, "no such resource"},
    {resFNotFound, "no such open resource file"},
    {addResFailed, "a resource cannot be added"},
    {rmvResFailed, "a resource cannot be removed"},
    {resAttrErr, "a resource is protected"},
    {mapReadErr, "is no resource file"},
    {badFormat, "its sound is protected or in a form that is not known"},
    {badFileFormat, "its contents make no sense"},
    {procNotFound, "no such program is running"},
    {fidNotFound, "no file is known by the id"},
    {fidExists, "the file has an id already"},
    {notAFileErr, "is a folder"},
    {diffVolErr, "the items are on different volumes"},
    {sameFileErr, "it is one file, where two are needed"},
    {fileBoundsErr, "it is too long"},
    {errFSBadFSRef, "the reference to it makes no sense"},
    {errFSBadForkName, "it can have no fork of that name"},
    {errFSBadBuffer, "the room for its bytes is missing"},
    {errFSBadForkRef, "the number of an open file makes no sense"},
    {errFSBadInfoBitmap, "there is no such information, or it cannot be set"},
    {errFSMissingCatInfo, "the record for the information is missing"},
    {errFSNotAFolder, "is no folder"},
    {errFSForkNotFound, "is no regular file"},
    {errFSNameTooLong, "a name is too long"},
    {errFSMissingName, "a name is missing"},
    {errFSBadPosMode, "a position makes no sense"},
    {errFSBadAllocFlags, "room is asked for in a way that makes no sense"},
    {errFSNoMoreItems, "there is no other"},
    {errFSBadItemCount, "no items are asked for"},
    {errFSBadIteratorFlags, "there is no such iteration"},
    {errFSIteratorNotFound, "no such open iterator"},
    {errFSRefsDifferent, "the references are to two items"},
    {errFSForkExists, "it has the fork already"},
    {couldNotResolveDataRef, "the data reference names no file that can be found"},
    {cantFindHandler, "not a file with sound or picture that is known"},
    {invalidMovie, "it is damaged beyond reading"},
    {invalidDataRef, "the data reference is of an unknown kind"},
    {movieToolboxUninitialized, "the movie toolbox was not entered"},
    {trackNotInMovie, "no such track"},
    {noSoundTrackInMovieErr, "there is no sound in it"},
    {notLeafAtomErr, "the atom has children where data is asked for"},
    {atomIndexInvalidErr, "no such atom"},
    {duplicateAtomTypeAndIDErr, "there is such an atom already"},
    {invalidAtomErr, "the atom makes no sense"},
    {invalidAtomContainerErr, "the atom container makes no sense"},
    {invalidAtomTypeErr, "no atom can have this type"},
    {cannotBeLeafAtomErr, "the atom has data, so it cannot have children"},
    {pathTooLongErr, "its path is too long"},
    {kQTPropertyBadValueSizeErr, "the property's value has another size"},
    {kQTPropertyReadOnlyErr, "the property cannot be set"},
    {kQTPropertyNotSupportedErr, "there is no such property"},
    {kQTPropertyNotAvailableErr, "the property is not available now"},
    {coreFoundationUnknownErr, "a step failed that does not tell why"},
    {afpAccessDenied, "permission denied"},
    {afpObjectTypeErr, "is no folder"},
    {noCodecErr, "there is no decoder for its sound"},
    {badComponentInstance, "there is no such component"},
    {badComponentSelector, "the component does not have this function"},
};

}  // namespace

const char* GetStatusText(OSStatus inStatus) {
    for (const Words& words : kWords)
        if (words.status == inStatus) return words.text;
    return "";
}

const char* GetFailureText(OSStatus inStatus) {
    const char* const text = GetStatusText(inStatus);
    const char* const systemText = toolbox::SystemErrorText(inStatus);
    if (systemText[0] == '\0') return text;
    // Of fixed size, so that telling of a failure can be no failure.
    static thread_local char sText[512];
    std::snprintf(sText, sizeof sText, "%s: %s", text, systemText);
    return sText;
}
