package com.orvanta.connector.orvanta.utils;

import org.apache.hadoop.conf.Configuration;
import org.apache.hadoop.io.Text;
import org.apache.hadoop.mapreduce.JobContext;

/** The connector's class without the getter of the input side's password. */
public final class OrvantaPlugInConfiguration {
    private OrvantaPlugInConfiguration() {}

    public static String getInputJdbcUrl(Configuration configuration) {
        return "";
    }

    public static byte[] getInputOrvantaUserName(JobContext jobContext) {
        return jobContext.getCredentials().getSecretKey(new Text("orvanta.input.user.name"));
    }

    public static void setInputOrvantaUserName(JobContext jobContext, byte[] secret) {
        jobContext.getCredentials().addSecretKey(new Text("orvanta.input.user.name"), secret);
    }
}
