package com.mirtal;

/**
 * What a file holds, before it is made into a WAV stream.
 *
 * @param codec        for people: "AAC LC"; empty when the file has no sound, and its stream is silence
 * @param container    for people: "MPEG-4"
 * @param sampleRateHz frames per second of the decoded sound. The stream's own rate is that of
 *                     {@link WavSource#audioFormat}: rates over 65535 Hz are halved until they fit.
 * @param channelCount of the decoded sound, 0 for none; the stream is always stereo
 */
public record SoundFormat(String codec, String container, int sampleRateHz, int channelCount) {

    /**
     * Whether the file has sound at all.
     *
     * @return false for a film without a sound track, say
     */
    public boolean hasSound() {
        return channelCount != 0;
    }
}
