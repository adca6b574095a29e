// Status codes that the toolbox answers. 0 is success; every failure is negative.
#pragma once

enum {
    noErr = 0,
    unimpErr = -4,             // no such function on this system
    dirFulErr = -33,           // the folder is full
    dskFulErr = -34,           // the volume is full
    nsvErr = -35,              // no such volume
    ioErr = -36,               // the device or file failed
    bdNamErr = -37,            // a name that cannot be one
    eofErr = -39,              // the file ends before the bytes asked for
    tmfoErr = -42,             // too many open files
    fnfErr = -43,              // no such file or folder
    wPrErr = -44,              // the volume is read only
    fBsyErr = -47,             // the file is in use
    dupFNErr = -48,            // the name is taken
    paramErr = -50,            // a bad argument, or data of an unexpected form
    permErr = -54,             // the permissions forbid it
    wrPermErr = -61,           // read only
    memROZErr = -99,
    memFullErr = -108,         // not enough memory
    nilHandleErr = -109,       // a null handle where a block is needed, or an emptied one
    memWZErr = -111,           // the block is free or not the memory manager's
    memPurErr = -112,          // the block is locked and cannot be emptied
    memLockedErr = -117,       // the block is locked and cannot move
    dirNFErr = -120,           // no such folder on the way to the item
    notAFileErr = -1302,       // a file was needed, and this is a folder
    diffVolErr = -1303,        // the items are on different volumes
    afpAccessDenied = -5000,   // the user may not do it
    errFSBadFSRef = -1401,     // the bytes are no reference
    errFSNotAFolder = -1407,   // a folder was needed
    errFSForkNotFound = -1409, // the item has no such fork; a pipe, socket or device has none
    pathTooLongErr = -2110,    // the path does not fit in the room for it
    couldNotResolveDataRef = -2000,
    badImageDescription = -2001,
    badPublicMovieAtom = -2002,
    cantFindHandler = -2003,   // nothing can read this kind of file
    cantOpenHandler = -2004,
    noMediaHandler = -2006,
    invalidMedia = -2008,
    invalidTrack = -2009,
    invalidMovie = -2010,
    invalidDataRef = -2012,
    noSoundTrackInMovieErr = -2062,
    noSourceTreeFound = -2018,
    invalidDuration = -2014,
    invalidTime = -2015,
    badComponentInstance = (int)0x80008001,
    badComponentSelector = (int)0x80008002,
    couldntGetRequiredComponent = -9405,
    badFormat = -206,          // sound in a form that cannot be played
    noCodecErr = -8961         // the decoder that the description asks for is missing
};
