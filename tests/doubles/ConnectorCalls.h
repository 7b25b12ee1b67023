// The JNI calls of each step of a native call, as StrictJni records them with a ConnectorJob.
#pragma once

#include <string>
#include <vector>

#include "doubles/ConnectorJob.h"

inline CallRecord operator+(CallRecord first, const CallRecord& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

// What every session looks up.
inline CallRecord sessionCalls() {
    return {
        "FindClass(org/apache/hadoop/mapreduce/JobContext)",
        "ExceptionCheck()",
        "GetMethodID(JobContext, getConfiguration, ()Lorg/apache/hadoop/conf/Configuration;)",
        "ExceptionCheck()",
        "CallObjectMethodV(job, getConfiguration)",
        "ExceptionCheck()",
        "FindClass(com/orvanta/connector/orvanta/utils/OrvantaPlugInConfiguration)",
        "ExceptionCheck()",
        "FindClass(com/orvanta/connector/common/utils/StandardCharsets)",
        "ExceptionCheck()",
        "GetStaticFieldID(StandardCharsets, UTF_8, Ljava/nio/charset/Charset;)",
        "ExceptionCheck()",
        "GetStaticObjectField(StandardCharsets, UTF_8)",
        "FindClass(java/lang/String)",
        "ExceptionCheck()",
        "GetMethodID(String, getBytes, (Ljava/nio/charset/Charset;)[B)",
        "ExceptionCheck()",
    };
}

// What the first session of a process asks for besides.
inline CallRecord setUpCalls() {
    return {
        "GetStringUTFChars(private temporary directory, null)",
        "ReleaseStringUTFChars(private temporary directory)",
    };
}

// Looking a static method up and calling it with what the connector's methods take first.
inline CallRecord staticCall(const std::string& function, const std::string& method,
                             const std::string& signature, const std::string& arguments) {
    const std::string target = "(OrvantaPlugInConfiguration, " + method + ", ";
    return {"GetStaticMethodID" + target + signature + ")", "ExceptionCheck()",
            function + target + arguments + ")", "ExceptionCheck()"};
}

inline CallRecord copyCalls(const std::string& array, std::size_t size) {
    CallRecord calls{"GetArrayLength(" + array + ")"};
    if (size != 0) {
        calls.push_back("GetByteArrayRegion(" + array + ", 0, " + std::to_string(size) + ")");
    }
    calls.push_back("ExceptionCheck()");
    return calls;
}

inline CallRecord urlGetterCalls(const std::string& side) {
    return staticCall("CallStaticObjectMethodV", "get" + side + "JdbcUrl",
                      "(Lorg/apache/hadoop/conf/Configuration;)Ljava/lang/String;",
                      "configuration");
}

// Reading the URL of a side, which is this long.
inline CallRecord urlCalls(const std::string& side, std::size_t size) {
    return urlGetterCalls(side) +
           CallRecord{"CallObjectMethodV(" + side + "JdbcUrl, getBytes, UTF_8)",
                      "ExceptionCheck()"} +
           copyCalls("bytes of " + side + "JdbcUrl", size);
}

inline CallRecord getterCalls(const std::string& property) {
    return staticCall("CallStaticObjectMethodV", "get" + property,
                      "(Lorg/apache/hadoop/mapreduce/JobContext;)[B", "job");
}

// Reading a property of this length.
inline CallRecord readCalls(const std::string& property, std::size_t size) {
    return getterCalls(property) + copyCalls(property, size);
}

inline CallRecord writeCalls(const std::string& property, const std::string& text) {
    const std::string size = std::to_string(text.size());
    const std::string array = "new byte[" + size + "]";
    return CallRecord{"NewByteArray(" + size + ")",
                      "SetByteArrayRegion(" + array + ", 0, " + size + ", " + text + ")",
                      "ExceptionCheck()"} +
           staticCall("CallStaticVoidMethodV", "set" + property,
                      "(Lorg/apache/hadoop/mapreduce/JobContext;[B)V", "job, " + array) +
           CallRecord{"DeleteLocalRef(" + array + ")"};
}

// Raising a ConnectorException with this message.
inline CallRecord connectorExceptionCalls(const std::string& message) {
    return {"ExceptionClear()",
            "FindClass(com/orvanta/connector/common/exception/ConnectorException)",
            "ThrowNew(ConnectorException, " + message + ")"};
}

inline std::string connectorException(const std::string& message) {
    return "com/orvanta/connector/common/exception/ConnectorException: " + message;
}
