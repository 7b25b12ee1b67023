package org.apache.hadoop.mapreduce;

import org.apache.hadoop.conf.Configuration;
import org.apache.hadoop.security.Credentials;

/** Stands in for Hadoop's interface of this name: as much of it as the connector's classes use. */
public interface JobContext {
    Configuration getConfiguration();

    Credentials getCredentials();
}
