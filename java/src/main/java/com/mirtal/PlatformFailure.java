package com.mirtal;

/** A platform status on its way from the native library to the code that knows which file it is about. */
final class PlatformFailure extends Exception {
    private static final long serialVersionUID = 1;

    /** The platform's status code. */
    final int code;

    /** More about it for people, or empty. */
    final String detail;

    PlatformFailure(int code, String detail) {
        super(detail, null, false, false);
        this.code = code;
        this.detail = detail;
    }
}
