#include "jni/JniOwners.h"

#include <type_traits>

#include <gtest/gtest.h>

#include "doubles/ConnectorJob.h"
#include "doubles/StrictJni.h"

namespace {

static_assert(!std::is_copy_constructible_v<LocalRef<jobject>>);
static_assert(!std::is_copy_assignable_v<LocalRef<jobject>>);
static_assert(!std::is_copy_constructible_v<UtfChars>);
static_assert(!std::is_copy_assignable_v<UtfChars>);

TEST(LocalRef, DeletesItsReferenceWhenItGoes) {
    StrictJni jvm;
    jvm.inNativeFrame([&] {
        const auto array = jvm.reference<jbyteArray>(jvm.newByteArray("abc", "bytes"));
        {
            const LocalRef<jbyteArray> owner(jvm.env(), array);
            EXPECT_EQ(owner.get(), array);
            EXPECT_EQ(jvm.calls(), CallRecord{});
        }
        EXPECT_EQ(jvm.takeCalls(), CallRecord{"DeleteLocalRef(bytes)"});
    });
}

TEST(LocalRef, DeletesItAlsoWhileAnExceptionIsPending) {
    StrictJni jvm;
    EXPECT_EQ(jvm.inNativeFrame([&] {
        const LocalRef<jobject> owner(jvm.env(), jvm.reference(jvm.newByteArray("abc", "bytes")));
        jvm.throwJava("java/lang/RuntimeException", "text");
    }),
              "java/lang/RuntimeException: text");
    EXPECT_EQ(jvm.takeCalls(), CallRecord{"DeleteLocalRef(bytes)"});
    EXPECT_EQ(jvm.violations(), CallRecord{});
}

TEST(LocalRef, ANullReferenceIsNotDeleted) {
    StrictJni jvm;
    jvm.inNativeFrame([&] {
        const LocalRef<jobject> owner(jvm.env(), nullptr);
        EXPECT_EQ(owner.get(), nullptr);
    });
    EXPECT_EQ(jvm.takeCalls(), CallRecord{});
}

TEST(UtfChars, GivesTheCharactersBackWhenItGoes) {
    StrictJni jvm;
    jvm.inNativeFrame([&] {
        const auto string = jvm.reference<jstring>(jvm.newString("a\xc3\xa4", "string"));
        {
            const UtfChars characters(jvm.env(), string);
            EXPECT_STREQ(characters.get(), "a\xc3\xa4");
            EXPECT_EQ(jvm.takeCalls(), CallRecord{"GetStringUTFChars(string, null)"});
        }
        EXPECT_EQ(jvm.takeCalls(), CallRecord{"ReleaseStringUTFChars(string)"});
    });
}

TEST(UtfChars, ANullStringHasNoneAndTheJvmIsNotAsked) {
    StrictJni jvm;
    jvm.inNativeFrame([&] {
        const UtfChars characters(jvm.env(), nullptr);
        EXPECT_EQ(characters.get(), nullptr);
    });
    EXPECT_EQ(jvm.takeCalls(), CallRecord{});
}

TEST(UtfChars, WhatTheJvmCouldNotTellIsNotGivenBack) {
    StrictJni jvm;
    jvm.failCall(1);
    EXPECT_EQ(jvm.inNativeFrame([&] {
        const UtfChars characters(jvm.env(),
                                  jvm.reference<jstring>(jvm.newString("text", "string")));
        EXPECT_EQ(characters.get(), nullptr);
    }),
              "java/lang/OutOfMemoryError: Java heap space");
    EXPECT_EQ(jvm.takeCalls(), CallRecord{"GetStringUTFChars(string, null)"});
}

}  // namespace
