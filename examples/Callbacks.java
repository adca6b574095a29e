package com.mirtal.examples;

import com.mirtal.AAC2WAV_Converter;

/**
 * The smallest use of the callbacks: {@code java -cp mirtal-aac2wav.jar examples/Callbacks.java song.m4a >
 * song.wav}
 */
public final class Callbacks extends AAC2WAV_Converter {
    @Override
    protected void writeBuffer(byte[] data, int length) {
        System.out.write(data, 0, length);
    }

    public static void main(String[] arguments) {
        new Callbacks().convert_AAC2WAV(arguments[0]);
        System.out.flush();
    }
}
