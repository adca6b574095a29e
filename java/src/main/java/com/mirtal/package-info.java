/**
 * AAC files as WAV byte streams.
 *
 * <pre>{@code
 * try (WavSource song = WavSource.open(Path.of("song.m4a"))) {
 *     System.out.println(song.length() + " bytes");
 *     song.openStream(44, 44 + 4095).transferTo(out);
 * }
 * }</pre>
 *
 * <p>The classes load a native library the first time one of them needs it: from the file or folder that the
 * system property {@code com.mirtal.library.path} names, else from {@code java.library.path}, else from the
 * copy in the jar, which is unpacked to {@code $XDG_CACHE_HOME/mirtal} (or {@code ~/.cache/mirtal}) once.
 * When none can be loaded, an {@link java.lang.UnsatisfiedLinkError} lists every place that was tried, and
 * why it would not do.
 */
package com.mirtal;
