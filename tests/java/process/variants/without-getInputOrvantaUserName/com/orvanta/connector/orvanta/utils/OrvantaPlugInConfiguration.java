package com.orvanta.connector.orvanta.utils;

import org.apache.hadoop.conf.Configuration;

/** The connector's class without the getter of the input side's user name. */
public final class OrvantaPlugInConfiguration {
    private OrvantaPlugInConfiguration() {}

    public static String getInputJdbcUrl(Configuration configuration) {
        return "";
    }
}
