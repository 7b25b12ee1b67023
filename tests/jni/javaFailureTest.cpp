// Whole calls in which Java fails: every JNI call in turn, and the classes that may be missing.

#include <algorithm>

#include <gtest/gtest.h>

#include "jni/NativeCall.h"

namespace {

class JavaFailure : public NativeCall {
  protected:
    // What the Java caller sees when this JNI call fails.
    static std::string outcomeOf(const std::string& failedCall) {
        if (failedCall.starts_with("GetStringUTFChars")) {
            return connectorException(
                "Cannot retrieve the pathname to the private temporary directory.");
        }
        if (failedCall.starts_with("NewByteArray")) {
            return connectorException("Cannot allocate Java byte array.");
        }
        if (failedCall.starts_with("Call")) {
            return "java/lang/RuntimeException: the Java method failed";
        }
        if (failedCall.find("ByteArrayRegion") != std::string::npos) {
            return "java/lang/ArrayIndexOutOfBoundsException: the region failed";
        }
        if (failedCall.starts_with("FindClass(")) {
            const std::size_t name = failedCall.find('(') + 1;
            return "java/lang/NoClassDefFoundError: " +
                   failedCall.substr(name, failedCall.size() - name - 1);
        }
        const std::size_t name = failedCall.find(", ") + 2;
        return (failedCall.find("FieldID") != std::string::npos ? "java/lang/NoSuchFieldError: "
                                                                : "java/lang/NoSuchMethodError: ") +
               failedCall.substr(name, failedCall.rfind(", ") - name);
    }

    // Calls with the k-th JNI call failing, and says which it was; "" when there are not as many.
    std::string callWithFailure(std::uint64_t k) {
        resetJob();
        jvm_.failCall(k);
        const std::string outcome = call();
        const std::string failedCall = jvm_.failedCall();
        EXPECT_EQ(outcome, failedCall.empty() ? "" : outcomeOf(failedCall)) << failedCall;
        EXPECT_EQ(sandbox_.held(), "") << failedCall;
        jvm_.failCall(0);
        return failedCall;
    }

    void expectThatCallsWork() {
        resetJob();
        EXPECT_EQ(call(), "");
        EXPECT_EQ(credentials(), kExpanded);
    }
};

// The calls of a record that can fail.
CallRecord fallible(const CallRecord& calls) {
    CallRecord found;
    for (const std::string& call : calls) {
        for (const char* const name :
             {"FindClass", "GetMethodID", "GetStaticMethodID", "GetStaticFieldID", "Call",
              "GetStringUTFChars", "GetByteArrayRegion", "NewByteArray", "SetByteArrayRegion"}) {
            if (call.starts_with(name)) {
                found.push_back(call);
            }
        }
    }
    return found;
}

TEST_F(JavaFailure, EachCallOfTheSetUpMayFailAndTheNextNativeCallWorks) {
    const CallRecord expected = fallible(sessionCalls() + setUpCalls());
    CallRecord failed;
    for (std::uint64_t k = 1; k <= expected.size(); ++k) {
        failed.push_back(callWithFailure(k));
        EXPECT_EQ(credentials(), kUntouched);
        EXPECT_EQ(sandbox_.counter("calls.OvWallet_freeV1"), 0);
    }
    EXPECT_EQ(failed, expected);
    expectThatCallsWork();
}

TEST_F(JavaFailure, EachCallMayFailAndTheNextNativeCallWorks) {
    expectThatCallsWork();
    CallRecord failed;
    for (std::uint64_t k = 1;; ++k) {
        const std::string failedCall = callWithFailure(k);
        if (failedCall.empty()) {
            break;
        }
        failed.push_back(failedCall);
        expectThatCallsWork();
    }
    EXPECT_EQ(failed, fallible(sessionCalls() + inputCalls() + outputCalls()));
    const std::int64_t made = sandbox_.counter("calls.OvWalletFactory_generateOvWalletV1");
    EXPECT_EQ(sandbox_.counter("calls.OvWallet_freeV1"), made);
}

TEST_F(JavaFailure, WhatWasWrittenBeforeTheFailureStays) {
    job_.throwingMethods = {"getOutputJdbcUrl"};
    EXPECT_EQ(call(), "java/lang/RuntimeException: getOutputJdbcUrl failed");
    EXPECT_EQ(credentials(), "name secret plain $ovwallet");
}

TEST_F(JavaFailure, TheExceptionOfAJavaMethodIsPassedOn) {
    for (const std::string method :
         {"getConfiguration", "getInputJdbcUrl", "getBytes", "getInputOrvantaUserName",
          "setInputOrvantaUserName", "getInputOrvantaPassword", "setInputOrvantaPassword",
          "getOutputJdbcUrl", "getOutputOrvantaUserName", "setOutputOrvantaUserName",
          "getOutputOrvantaPassword", "setOutputOrvantaPassword"}) {
        resetJob();
        job_.throwingMethods = {method};
        EXPECT_EQ(call(), "java/lang/RuntimeException: " + method + " failed");
        EXPECT_EQ(jvm_.takeCalls().back().substr(0, 14),
                  method.starts_with("set") ? "DeleteLocalRef" : "ExceptionCheck");
        EXPECT_EQ(sandbox_.held(), "") << method;
    }
}

TEST_F(JavaFailure, ANewArrayThatIsNullWithoutAnExceptionIsReported) {
    expectThatCallsWork();
    const CallRecord calls = fallible(sessionCalls() + inputCalls());
    const auto newArray =
        static_cast<std::uint64_t>(std::find(calls.begin(), calls.end(), "NewByteArray(4)") -
                                   calls.begin()) +
        1;
    resetJob();
    jvm_.failCall(newArray, StrictJni::Failure::silent);
    EXPECT_EQ(call(), connectorException("Cannot allocate Java byte array."));
    EXPECT_EQ(jvm_.failedCall(), "NewByteArray(4)");
    EXPECT_EQ(credentials(), kUntouched);
}

TEST_F(JavaFailure, ADirectoryThatTheJvmDoesNotTellWithoutAnExceptionIsReported) {
    jvm_.failCall(fallible(sessionCalls()).size() + 1, StrictJni::Failure::silent);
    EXPECT_EQ(call(), connectorException(
                          "Cannot retrieve the pathname to the private temporary directory."));
    EXPECT_EQ(jvm_.failedCall(), "GetStringUTFChars(private temporary directory, null)");
    expectThatCallsWork();
}

TEST_F(JavaFailure, WithoutTheConnectorExceptionClassJavaSaysSo) {
    jvm_.removeClass("com/orvanta/connector/common/exception/ConnectorException");
    job_.properties["InputOrvantaUserName"] = "$ovwallet(none)";
    EXPECT_EQ(call(),
              "java/lang/NoClassDefFoundError: "
              "com/orvanta/connector/common/exception/ConnectorException");
    expectThatCallsWork();
}

TEST_F(JavaFailure, AConfigurationThatIsNullIsPassedOnToTheUrlGetter) {
    job_.hasConfiguration = false;
    EXPECT_EQ(call(), "");
    const CallRecord calls = jvm_.takeCalls();
    EXPECT_NE(std::find(calls.begin(), calls.end(),
                        "CallStaticObjectMethodV(OrvantaPlugInConfiguration, getInputJdbcUrl, "
                        "null)"),
              calls.end());
}

}  // namespace
