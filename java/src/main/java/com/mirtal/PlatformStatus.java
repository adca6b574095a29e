package com.mirtal;

/** The platform's status codes that mean something of their own to Java, beside their names in toolbox/MacErrors.h. */
final class PlatformStatus {
    static final int NO_VOLUME = -35;         // nsvErr
    static final int BAD_NAME = -37;          // bdNamErr
    static final int END_OF_FILE = -39;       // eofErr
    static final int NO_FILE = -43;           // fnfErr
    static final int BAD_PARAMETER = -50;     // paramErr
    static final int NO_PERMISSION = -54;     // permErr
    static final int NO_FOLDER = -120;        // dirNFErr
    static final int CANCELLED = -128;        // userCanceledErr
    static final int BAD_FORMAT = -206;       // badFormat
    static final int NO_IMPORTER = -2003;     // cantFindHandler
    static final int INVALID_MOVIE = -2010;   // invalidMovie
    static final int NO_TRACK = -2030;        // trackNotInMovie
    static final int NO_SOUND = -2062;        // noSoundTrackInMovieErr
    static final int ACCESS_DENIED = -5000;   // afpAccessDenied
    static final int NO_CODEC = -8961;        // noCodecErr

    private PlatformStatus() {}
}
