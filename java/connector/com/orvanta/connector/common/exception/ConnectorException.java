package com.orvanta.connector.common.exception;

import java.io.IOException;

/**
 * The one failure that the connector reports to a job. It is an {@link IOException} because the
 * methods of a job's input and output format, where a job is set up, may throw nothing else that is
 * checked: the message reaches the person who submitted the job unwrapped.
 *
 * <p>Native code raises it by name and through the constructor that takes one string.
 */
public class ConnectorException extends IOException {
    private static final long serialVersionUID = 1L;

    public ConnectorException(String message) {
        super(message);
    }
}
