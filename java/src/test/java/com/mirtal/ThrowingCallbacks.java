package com.mirtal;

/** Run by itself: conversions whose callbacks throw. */
final class ThrowingCallbacks {
    private ThrowingCallbacks() {}

    public static void main(String[] arguments) {
        String sweep = TestMedia.file("sweep-44100-stereo.m4a").toString();
        for (int round = 0; round < 3; round++) {
            throwsOnce(sweep);
            throwsAlways(sweep);
            throwsAnError(sweep);
        }
        getsALengthBelowZero(sweep);
        byte[] stream = new TestMedia.WholeCollector().convert(TestMedia.TONE);
        require(stream.length == 176444, "the runtime and the library survive");
        System.out.println("all as expected");
    }

    private static void throwsOnce(String path) {
        IllegalStateException thrown = new IllegalStateException("second call");
        int[] calls = {0};
        AAC2WAV converter = new AAC2WAV() {
            @Override
            protected void sendBuffer(byte[] data, int length) {
                if (++calls[0] == 2) {
                    throw thrown;
                }
            }
        };
        require(caught(() -> converter.convert_AAC2WAV(path, 0, 0)) == thrown, "the very exception surfaces");
        require(calls[0] == 4, "and the conversion goes on to its end, not " + calls[0]);
    }

    private static void throwsAlways(String path) {
        int[] calls = {0};
        AAC2WAV_Converter converter = new AAC2WAV_Converter() {
            @Override
            protected void writeBuffer(byte[] data, int length) {
                throw new IllegalStateException("call " + ++calls[0]);
            }
        };
        Throwable surfaced = caught(() -> converter.convert_AAC2WAV(path));
        require(surfaced instanceof IllegalStateException, "it surfaces as it was thrown");
        require(
            "call 1".equals(surfaced.getMessage()), "of several, the first, not " + surfaced.getMessage());
        require(calls[0] == 4, "and the conversion goes on to its end, not " + calls[0]);
    }

    private static void throwsAnError(String path) {
        AssertionError thrown = new AssertionError("no exception, an error");
        AAC2WAV_Converter converter = new AAC2WAV_Converter() {
            @Override
            protected void writeBuffer(byte[] data, int length) {
                throw thrown;
            }
        };
        require(caught(() -> converter.convert_AAC2WAV(path)) == thrown, "errors surface too");
    }

    /**
     * A window whose duration ends before its start begins with a part of less than nothing, handed on
     * unchecked.
     */
    private static void getsALengthBelowZero(String path) {
        int[] lengths = new int[2];
        int[] calls = {0};
        AAC2WAV converter = new AAC2WAV() {
            @Override
            protected void sendBuffer(byte[] data, int length) {
                lengths[Math.min(calls[0]++, 1)] = length;
            }
        };
        Throwable surfaced = caught(() -> converter.convert_AAC2WAV(path, 20, 11));
        require(surfaced instanceof ArrayIndexOutOfBoundsException, "the array has no such part");
        require(lengths[0] == -9, "the length is handed on, not " + lengths[0]);
        require(lengths[1] == 33, "and the padding follows, to the 44 bytes announced, not " + lengths[1]);
    }

    private static Throwable caught(Runnable action) {
        try {
            action.run();
            return null;
        } catch (Throwable thrown) {
            return thrown;
        }
    }

    private static void require(boolean isTrue, String what) {
        if (!isTrue) {
            System.out.println("not so: " + what);
            System.exit(1);
        }
    }
}
