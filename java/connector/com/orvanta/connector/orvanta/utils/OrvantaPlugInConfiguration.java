package com.orvanta.connector.orvanta.utils;

import org.apache.hadoop.conf.Configuration;
import org.apache.hadoop.io.Text;
import org.apache.hadoop.mapreduce.JobContext;

/**
 * Where a job keeps what it needs to reach the database, for its input side and its output side.
 *
 * <p>The JDBC URL is an ordinary property. User name and password never appear in the
 * configuration, which Hadoop shows to everybody who may see the job: they travel as bytes among
 * the job's credentials. A getter gives null for what has not been set, a setter takes null to
 * unset it.
 *
 * <p>Native code calls these methods by name.
 */
public final class OrvantaPlugInConfiguration {
    public static final String INPUT_JDBC_URL = "orvanta.input.jdbc.url";
    public static final String OUTPUT_JDBC_URL = "orvanta.output.jdbc.url";

    private static final String INPUT_USER_NAME = "orvanta.input.user.name";
    private static final String INPUT_PASSWORD = "orvanta.input.password";
    private static final String OUTPUT_USER_NAME = "orvanta.output.user.name";
    private static final String OUTPUT_PASSWORD = "orvanta.output.password";

    private OrvantaPlugInConfiguration() {}

    public static String getInputJdbcUrl(Configuration configuration) {
        return configuration.get(INPUT_JDBC_URL);
    }

    public static void setInputJdbcUrl(Configuration configuration, String url) {
        setUrl(configuration, INPUT_JDBC_URL, url);
    }

    public static byte[] getInputOrvantaUserName(JobContext jobContext) {
        return getSecret(jobContext, INPUT_USER_NAME);
    }

    public static void setInputOrvantaUserName(JobContext jobContext, byte[] userName) {
        setSecret(jobContext, INPUT_USER_NAME, userName);
    }

    public static byte[] getInputOrvantaPassword(JobContext jobContext) {
        return getSecret(jobContext, INPUT_PASSWORD);
    }

    public static void setInputOrvantaPassword(JobContext jobContext, byte[] password) {
        setSecret(jobContext, INPUT_PASSWORD, password);
    }

    public static String getOutputJdbcUrl(Configuration configuration) {
        return configuration.get(OUTPUT_JDBC_URL);
    }

    public static void setOutputJdbcUrl(Configuration configuration, String url) {
        setUrl(configuration, OUTPUT_JDBC_URL, url);
    }

    public static byte[] getOutputOrvantaUserName(JobContext jobContext) {
        return getSecret(jobContext, OUTPUT_USER_NAME);
    }

    public static void setOutputOrvantaUserName(JobContext jobContext, byte[] userName) {
        setSecret(jobContext, OUTPUT_USER_NAME, userName);
    }

    public static byte[] getOutputOrvantaPassword(JobContext jobContext) {
        return getSecret(jobContext, OUTPUT_PASSWORD);
    }

    public static void setOutputOrvantaPassword(JobContext jobContext, byte[] password) {
        setSecret(jobContext, OUTPUT_PASSWORD, password);
    }

    private static void setUrl(Configuration configuration, String property, String url) {
        if (url == null) {
            configuration.unset(property);
        } else {
            configuration.set(property, url);
        }
    }

    private static byte[] getSecret(JobContext jobContext, String alias) {
        return jobContext.getCredentials().getSecretKey(new Text(alias));
    }

    private static void setSecret(JobContext jobContext, String alias, byte[] secret) {
        if (secret == null) {
            jobContext.getCredentials().removeSecretKey(new Text(alias));
        } else {
            jobContext.getCredentials().addSecretKey(new Text(alias), secret);
        }
    }
}
