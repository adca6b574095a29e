package com.mirtal;

/** Run by itself, without the jar: calls the natives of classes that lack what the natives call back. */
public final class Callbackless {
    private Callbackless() {}

    public static void main(String[] arguments) {
        System.loadLibrary("com_mirtal_AAC2WAV");
        switch (arguments[0]) {
            case "length" -> System.out.println(new AAC2WAV().get_StreamLength(arguments[1]));
            case "windowed" -> System.out.println("returned " + new AAC2WAV().convert_AAC2WAV(arguments[1], 0, 0));
            default -> System.out.println("returned " + new AAC2WAV_Converter().convert_AAC2WAV(arguments[1]));
        }
    }
}
