package com.orvanta.connector.common.utils;

/** The connector's class without its field. */
public final class StandardCharsets {
    private StandardCharsets() {}
}
