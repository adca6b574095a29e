package com.mirtal;

/** Somebody else's class of this name, with the native method and a callback of another signature. */
public class AAC2WAV_Converter {
    public native int convert_AAC2WAV(String path);

    public void writeBuffer(byte[] data, long length) {}
}
