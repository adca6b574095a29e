package com.mirtal;

import java.io.IOException;

/**
 * A file that cannot be opened or read as sound, and the platform's reason. The subclasses are the reasons that programs
 * tell apart; this class itself stands for the rest, such as a disk that fails.
 */
public class AudioException extends IOException {
    private static final long serialVersionUID = 1;

    /** The file, as it was given. */
    private final String path;

    /** The platform's status code. */
    private final int platformCode;

    AudioException(String path, int platformCode, String reason) {
        super(path + ": " + reason + " (platform status " + platformCode + ")");
        this.path = path;
        this.platformCode = platformCode;
    }

    /**
     * The file that could not be read.
     *
     * @return the path as it was given, or its nearest text
     */
    public String path() {
        return path;
    }

    /**
     * The platform's status code: a negative number such as -43.
     *
     * @return the code, never 0
     */
    public int platformCode() {
        return platformCode;
    }

    /** The exception for a platform status and the words that the platform has for it, if any. */
    static AudioException of(String path, int code, String words) {
        String reason = words.isEmpty() ? "it cannot be read" : words;
        return switch (code) {
            case PlatformStatus.NO_FILE, PlatformStatus.NO_FOLDER, PlatformStatus.NO_VOLUME, PlatformStatus.BAD_NAME ->
                new AudioFileNotFoundException(path, code, reason);
            case PlatformStatus.NO_PERMISSION, PlatformStatus.ACCESS_DENIED ->
                new AudioAccessDeniedException(path, code, reason);
            case PlatformStatus.NO_IMPORTER, PlatformStatus.NO_SOUND, PlatformStatus.NO_TRACK, PlatformStatus.NO_CODEC,
                    PlatformStatus.BAD_FORMAT ->
                new UnsupportedAudioException(path, code, reason);
            case PlatformStatus.INVALID_MOVIE, PlatformStatus.END_OF_FILE, PlatformStatus.BAD_PARAMETER ->
                new DamagedAudioException(path, code, reason);
            default -> new AudioException(path, code, reason);
        };
    }
}
