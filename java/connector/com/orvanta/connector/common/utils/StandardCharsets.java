package com.orvanta.connector.common.utils;

import java.nio.charset.Charset;

/** The character sets that the connector names. Native code reads the field by its name. */
public final class StandardCharsets {
    public static final Charset UTF_8 = java.nio.charset.StandardCharsets.UTF_8;

    private StandardCharsets() {}
}
