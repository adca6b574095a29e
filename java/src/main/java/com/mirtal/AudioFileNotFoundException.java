package com.mirtal;

/** There is no file of that name, or a folder on the way to it is missing. */
public final class AudioFileNotFoundException extends AudioException {
    private static final long serialVersionUID = 1;

    AudioFileNotFoundException(String path, int platformCode, String reason) {
        super(path, platformCode, reason);
    }
}
