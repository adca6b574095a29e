package com.mirtal;

/** Somebody else's class of this name, with the native methods and without the callback. */
public class AAC2WAV {
    public native int convert_AAC2WAV(String path, long start, long duration);

    public native long get_StreamLength(String path);
}
