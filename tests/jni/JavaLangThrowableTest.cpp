#include "jni/JavaLangThrowable.h"

#include <exception>
#include <type_traits>

#include <gtest/gtest.h>

#include "doubles/ConnectorCalls.h"
#include "doubles/ConnectorJob.h"

namespace {

// No handler for std::exception may catch it.
static_assert(std::is_empty_v<JavaLangThrowable>);
static_assert(!std::is_base_of_v<std::exception, JavaLangThrowable>);
static_assert(!std::is_convertible_v<JavaLangThrowable*, std::exception*>);

class PendingException : public ::testing::Test {
  protected:
    StrictJni jvm_;
    ConnectorJob job_{jvm_};
    JNIEnv* env_ = jvm_.env();
};

TEST_F(PendingException, WithoutOneNothingIsRaised) {
    EXPECT_EQ(jvm_.inNativeFrame([&] { EXPECT_NO_THROW(raiseIfPending(env_)); }), "");
    EXPECT_EQ(jvm_.takeCalls(), CallRecord{"ExceptionCheck()"});
}

TEST_F(PendingException, APendingOneIsRaisedAndStaysPending) {
    EXPECT_EQ(jvm_.inNativeFrame([&] {
        jvm_.throwJava("java/lang/RuntimeException", "text");
        EXPECT_THROW(raiseIfPending(env_), JavaLangThrowable);
    }),
              "java/lang/RuntimeException: text");
    EXPECT_EQ(jvm_.takeCalls(), CallRecord{"ExceptionCheck()"});
}

TEST_F(PendingException, ACheckedCallGivesItsResultOrRaisesWhatItLeft) {
    EXPECT_EQ(jvm_.inNativeFrame([&] {
        EXPECT_NE(checked(env_, &JNIEnv::FindClass, "java/lang/String"), nullptr);
        EXPECT_THROW(checked(env_, &JNIEnv::FindClass, "missing"), JavaLangThrowable);
    }),
              "java/lang/NoClassDefFoundError: missing");
    EXPECT_EQ(jvm_.takeCalls(), (CallRecord{"FindClass(java/lang/String)", "ExceptionCheck()",
                                            "FindClass(missing)", "ExceptionCheck()"}));
}

TEST_F(PendingException, AStaticMethodThatIsMissingIsNotCalled) {
    EXPECT_EQ(jvm_.inNativeFrame([&] {
        const jclass string = env_->FindClass("java/lang/String");
        jvm_.takeCalls();
        EXPECT_THROW(callStatic<void>(env_, string, "missing", "()V"), JavaLangThrowable);
    }),
              "java/lang/NoSuchMethodError: missing");
    EXPECT_EQ(jvm_.takeCalls(),
              (CallRecord{"GetStaticMethodID(String, missing, ()V)", "ExceptionCheck()"}));
}

TEST_F(PendingException, ANullPointerExceptionIsLeftPendingAndRaised) {
    EXPECT_EQ(jvm_.inNativeFrame([&] {
        EXPECT_THROW(raiseNullPointerException(env_, "text"), JavaLangThrowable);
    }),
              "java/lang/NullPointerException: text");
    EXPECT_EQ(jvm_.takeCalls(), (CallRecord{"FindClass(java/lang/NullPointerException)",
                                            "ThrowNew(NullPointerException, text)"}));
}

TEST_F(PendingException, WithoutItsClassTheErrorThatSaysSoIsRaised) {
    jvm_.removeClass("java/lang/NullPointerException");
    EXPECT_EQ(jvm_.inNativeFrame([&] {
        EXPECT_THROW(raiseNullPointerException(env_, "text"), JavaLangThrowable);
    }),
              "java/lang/NoClassDefFoundError: java/lang/NullPointerException");
}

TEST_F(PendingException, AConnectorExceptionIsLeftPendingWithTheMessageAsItStands) {
    EXPECT_EQ(jvm_.inNativeFrame([&] { leaveConnectorException(env_, "100%s \xc3\xa4\xff"); }),
              connectorException("100%s \xc3\xa4\xff"));
    EXPECT_EQ(jvm_.takeCalls(), connectorExceptionCalls("100%s \xc3\xa4\xff"));
}

TEST_F(PendingException, AConnectorExceptionTakesThePlaceOfAPendingOne) {
    EXPECT_EQ(jvm_.inNativeFrame([&] {
        jvm_.throwJava("java/lang/OutOfMemoryError", "Java heap space");
        leaveConnectorException(env_, "text");
    }),
              connectorException("text"));
}

TEST_F(PendingException, WithoutTheConnectorExceptionClassTheErrorThatSaysSoIsLeft) {
    jvm_.removeClass("com/orvanta/connector/common/exception/ConnectorException");
    EXPECT_EQ(jvm_.inNativeFrame([&] { leaveConnectorException(env_, "text"); }),
              "java/lang/NoClassDefFoundError: "
              "com/orvanta/connector/common/exception/ConnectorException");
    EXPECT_EQ(jvm_.takeCalls(),
              (CallRecord{"ExceptionClear()",
                          "FindClass(com/orvanta/connector/common/exception/ConnectorException)"}));
}

TEST_F(PendingException, WhatThrowingItselfFailedWithIsLeft) {
    constexpr std::uint64_t kThrowNew = 2;
    jvm_.failCall(kThrowNew);
    EXPECT_EQ(jvm_.inNativeFrame([&] { leaveConnectorException(env_, "text"); }),
              "java/lang/OutOfMemoryError: Java heap space");
}

}  // namespace
