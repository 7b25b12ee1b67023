package com.orvanta.connector.orvanta.utils;

/** The connector's class without any method. */
public final class OrvantaPlugInConfiguration {
    private OrvantaPlugInConfiguration() {}
}
