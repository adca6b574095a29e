package com.mirtal;

/**
 * The file is of a known kind, and too damaged to be read. Lesser damage is heard as silence and told by
 * {@link WavSource#damage}.
 */
public final class DamagedAudioException extends AudioException {
    private static final long serialVersionUID = 1;

    DamagedAudioException(String path, int platformCode, String reason) { super(path, platformCode, reason); }
}
