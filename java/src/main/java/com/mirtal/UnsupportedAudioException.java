package com.mirtal;

/** The file is of no kind known here, or has sound that nothing here can decode. */
public final class UnsupportedAudioException extends AudioException {
    private static final long serialVersionUID = 1;

    UnsupportedAudioException(String path, int platformCode, String reason) {
        super(path, platformCode, reason);
    }
}
