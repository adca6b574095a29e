package com.mirtal;

/** The platform's status codes that mean something of their own to Java. */
final class PlatformStatus {
    static final int NO_VOLUME = -35;
    static final int BAD_NAME = -37;
    static final int END_OF_FILE = -39;
    static final int NO_FILE = -43;
    static final int BAD_PARAMETER = -50;
    static final int NO_PERMISSION = -54;
    static final int NO_MEMORY = -108;
    static final int NO_FOLDER = -120;
    static final int CANCELLED = -128;
    static final int BAD_FORMAT = -206;
    static final int NOT_A_FILE = -1302;
    static final int NO_FORK = -1409;
    static final int NO_IMPORTER = -2003;
    static final int INVALID_MOVIE = -2010;
    static final int NO_TRACK = -2030;
    static final int NO_SOUND = -2062;
    static final int ACCESS_DENIED = -5000;
    static final int NO_CODEC = -8961;

    private PlatformStatus() {}
}
