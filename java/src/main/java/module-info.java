/**
 * AAC files as WAV byte streams, with the length known first.
 *
 * <p>{@link com.mirtal.WavSource} is the place to begin. {@link com.mirtal.AAC2WAV} and
 * {@link com.mirtal.AAC2WAV_Converter} are the older interface, by callbacks. The module also provides a
 * reader of AAC files to {@code javax.sound.sampled.AudioSystem}.
 */
module com.mirtal {
    requires transitive java.desktop;

    exports com.mirtal;

    provides javax.sound.sampled.spi.AudioFileReader with com.mirtal.sampled.AACAudioFileReader;
}
