package com.mirtal;

import java.io.ByteArrayOutputStream;
import java.nio.ByteBuffer;
import java.nio.CharBuffer;
import java.nio.charset.CharacterCodingException;
import java.nio.charset.StandardCharsets;
import java.nio.file.FileSystems;
import java.nio.file.Path;

/** File names as the bytes that the system knows them by, whatever the locale of the Java runtime. */
final class FilePaths {
    private FilePaths() {}

    /**
     * UTF-8, always: the runtime's own idea of file name encoding depends on the locale it was started in.
     */
    static byte[] bytesOf(String path) throws AudioFileNotFoundException {
        try {
            ByteBuffer encoded = StandardCharsets.UTF_8.newEncoder().encode(CharBuffer.wrap(path));
            byte[] bytes = new byte[encoded.remaining()];
            encoded.get(bytes);
            return requireNoNul(path, bytes);
        } catch (CharacterCodingException unpairedSurrogate) {
            throw new AudioFileNotFoundException(
                path, PlatformStatus.BAD_NAME, "the name is not valid Unicode");
        }
    }

    /**
     * The bytes that a path of the default file system stands for. Its text may have lost some of them, when
     * the name is not valid in the runtime's encoding; its URI has them all.
     */
    static byte[] bytesOf(Path path) throws AudioFileNotFoundException {
        if (path.getFileSystem() != FileSystems.getDefault()) {
            throw new AudioFileNotFoundException(
                path.toString(), PlatformStatus.NO_FILE, "it is not in the default file system");
        }
        return requireNoNul(path.toString(), percentDecoded(path.toUri().getRawPath()));
    }

    private static byte[] percentDecoded(String text) {
        ByteArrayOutputStream bytes = new ByteArrayOutputStream(text.length());
        for (int at = 0; at < text.length(); at++) {
            char letter = text.charAt(at);
            if (letter == '%') {
                bytes.write(Integer.parseInt(text.substring(at + 1, at + 3), 16));
                at += 2;
            } else {
                bytes.write(letter);
            }
        }
        return bytes.toByteArray();
    }

    /** The system takes a name up to its first NUL, so one with a NUL would open another file. */
    private static byte[] requireNoNul(String path, byte[] bytes) throws AudioFileNotFoundException {
        for (byte value : bytes) {
            if (value == 0) {
                throw new AudioFileNotFoundException(
                    path, PlatformStatus.BAD_NAME, "the name has a NUL in it");
            }
        }
        return bytes;
    }
}
