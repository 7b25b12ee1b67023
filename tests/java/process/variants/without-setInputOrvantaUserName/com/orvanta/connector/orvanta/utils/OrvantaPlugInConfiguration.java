package com.orvanta.connector.orvanta.utils;

import org.apache.hadoop.conf.Configuration;
import org.apache.hadoop.io.Text;
import org.apache.hadoop.mapreduce.JobContext;

/** The connector's class without the setter of the input side's user name. */
public final class OrvantaPlugInConfiguration {
    private OrvantaPlugInConfiguration() {}

    public static String getInputJdbcUrl(Configuration configuration) {
        return "";
    }

    public static byte[] getInputOrvantaUserName(JobContext jobContext) {
        return jobContext.getCredentials().getSecretKey(new Text("orvanta.input.user.name"));
    }

    public static byte[] getInputOrvantaPassword(JobContext jobContext) {
        return jobContext.getCredentials().getSecretKey(new Text("orvanta.input.password"));
    }

    public static void setInputOrvantaPassword(JobContext jobContext, byte[] secret) {
        jobContext.getCredentials().addSecretKey(new Text("orvanta.input.password"), secret);
    }

    public static String getOutputJdbcUrl(Configuration configuration) {
        return "";
    }

    public static byte[] getOutputOrvantaUserName(JobContext jobContext) {
        return jobContext.getCredentials().getSecretKey(new Text("orvanta.output.user.name"));
    }

    public static void setOutputOrvantaUserName(JobContext jobContext, byte[] secret) {
        jobContext.getCredentials().addSecretKey(new Text("orvanta.output.user.name"), secret);
    }

    public static byte[] getOutputOrvantaPassword(JobContext jobContext) {
        return jobContext.getCredentials().getSecretKey(new Text("orvanta.output.password"));
    }

    public static void setOutputOrvantaPassword(JobContext jobContext, byte[] secret) {
        jobContext.getCredentials().addSecretKey(new Text("orvanta.output.password"), secret);
    }
}
