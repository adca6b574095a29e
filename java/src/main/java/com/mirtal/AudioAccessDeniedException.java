package com.mirtal;

/** The file is there, and this user may not read it. */
public final class AudioAccessDeniedException extends AudioException {
    private static final long serialVersionUID = 1;

    AudioAccessDeniedException(String path, int platformCode, String reason) {
        super(path, platformCode, reason);
    }
}
