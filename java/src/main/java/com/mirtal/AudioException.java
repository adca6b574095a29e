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
        super(path + ": " + reason + " (platform status " + codeText(platformCode) + ")");
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
     * The platform's status code: a negative number such as -43, or a code of four characters.
     *
     * @return the code, never 0
     */
    public int platformCode() {
        return platformCode;
    }

    /** The exception for a platform status. A detail that is not empty takes the place of the general reason. */
    static AudioException of(String path, int code, String fullDetail) {
        String detail = withoutStatus(code, withoutPath(path, fullDetail));
        return switch (code) {
            case PlatformStatus.NO_FILE, PlatformStatus.NO_FOLDER, PlatformStatus.NO_VOLUME, PlatformStatus.BAD_NAME ->
                new AudioFileNotFoundException(path, code, "no such file");
            case PlatformStatus.NO_PERMISSION, PlatformStatus.ACCESS_DENIED ->
                new AudioAccessDeniedException(path, code, "reading it is not allowed");
            case PlatformStatus.NO_IMPORTER, PlatformStatus.NO_HANDLER, PlatformStatus.NO_MEDIA_HANDLER ->
                new UnsupportedAudioException(path, code, either(detail, "not a known kind of sound file"));
            case PlatformStatus.NO_SOUND ->
                new UnsupportedAudioException(path, code, either(detail, "no sound in the file"));
            case PlatformStatus.NO_TRACK ->
                new UnsupportedAudioException(path, code, either(detail, "no such sound track in the file"));
            case PlatformStatus.NO_CODEC ->
                new UnsupportedAudioException(path, code, either(detail, "no decoder for its sound"));
            case PlatformStatus.BAD_FORMAT ->
                new UnsupportedAudioException(path, code, either(detail, "its sound is protected or in a form unknown"));
            case PlatformStatus.INVALID_MOVIE, PlatformStatus.BAD_MOVIE_ATOM, PlatformStatus.BAD_DESCRIPTION,
                    PlatformStatus.INVALID_MEDIA, PlatformStatus.INVALID_TRACK, PlatformStatus.INVALID_DURATION,
                    PlatformStatus.INVALID_TIME, PlatformStatus.END_OF_FILE, PlatformStatus.BAD_PARAMETER ->
                new DamagedAudioException(path, code, either(detail, "damaged beyond reading"));
            case PlatformStatus.NOT_A_FILE -> new AudioException(path, code, "is a folder");
            case PlatformStatus.NO_FORK -> new AudioException(path, code, "is no regular file");
            case PlatformStatus.NO_MEMORY -> new AudioException(path, code, either(detail, "not enough memory"));
            default -> new AudioException(path, code, either(detail, "it cannot be read"));
        };
    }

    /** The platform begins with the name of the file, as it knows it; the message has it as it was given. */
    private static String withoutPath(String path, String detail) {
        String nameAndColon = path.substring(path.lastIndexOf('/') + 1) + ": ";
        int at = detail.indexOf(nameAndColon);
        return at < 0 ? detail : detail.substring(at + nameAndColon.length());
    }

    /** The platform may end with the status, as the message does. */
    private static String withoutStatus(int code, String detail) {
        String status = " (status " + code + ")";
        return detail.endsWith(status) ? detail.substring(0, detail.length() - status.length()) : detail;
    }

    private static String either(String detail, String general) {
        return detail.isEmpty() ? general : detail;
    }

    /** Codes of four characters are printed as such. */
    private static String codeText(int code) {
        StringBuilder text = new StringBuilder();
        for (int shift = 24; shift >= 0; shift -= 8) {
            char letter = (char) (code >> shift & 0xFF);
            if (letter < ' ' || letter > '~') {
                return Integer.toString(code);
            }
            text.append(letter);
        }
        return "\"" + text + "\"";
    }
}
