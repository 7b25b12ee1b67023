// The double itself: whoever relies on its silence has to know that it can speak.

#include "doubles/StrictJni.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <array>

namespace {

using Texts = std::vector<std::string>;

class StrictJniTest : public ::testing::Test {
  protected:
    // Runs body, which must do exactly the one wrong thing that the double then tells.
    void expectViolation(const std::string& text, const std::function<void()>& body) {
        ::testing::TestPartResultArray failures;
        {
            const ::testing::ScopedFakeTestPartResultReporter catching(
                ::testing::ScopedFakeTestPartResultReporter::INTERCEPT_ALL_THREADS, &failures);
            jvm_.inNativeFrame(body);
        }
        EXPECT_EQ(jvm_.violations(), Texts{text});
        EXPECT_EQ(failures.size(), 1);
    }

    jclass findClass(const char* name) { return env_->FindClass(name); }

    StrictJni jvm_;
    JNIEnv* env_ = jvm_.env();
};

TEST_F(StrictJniTest, RecordsCallsInOrder) {
    EXPECT_EQ(jvm_.inNativeFrame([&] {
        const jclass type = findClass("java/lang/RuntimeException");
        env_->ThrowNew(type, "text");
        env_->ExceptionCheck();
    }),
              "java/lang/RuntimeException: text");
    EXPECT_EQ(jvm_.takeCalls(), (Texts{"FindClass(java/lang/RuntimeException)",
                                       "ThrowNew(RuntimeException, text)", "ExceptionCheck()"}));
    EXPECT_EQ(jvm_.calls(), Texts{});
    EXPECT_EQ(jvm_.pendingException(), "");
}

TEST_F(StrictJniTest, ForbidsOrdinaryCallsWhileAnExceptionIsPending) {
    expectViolation("FindClass(java/lang/String) while an exception is pending: E: text", [&] {
        jvm_.throwJava("E", "text");
        findClass("java/lang/String");
    });
}

TEST_F(StrictJniTest, AllowsCleaningUpWhileAnExceptionIsPending) {
    EXPECT_EQ(jvm_.inNativeFrame([&] {
        const auto string = jvm_.reference<jstring>(jvm_.newString("text", "string"));
        const char* const characters = env_->GetStringUTFChars(string, nullptr);
        EXPECT_STREQ(characters, "text");
        jvm_.throwJava("E", "text");
        env_->ReleaseStringUTFChars(string, characters);
        env_->DeleteLocalRef(string);
        env_->ExceptionCheck();
    }),
              "E: text");
    EXPECT_EQ(jvm_.violations(), Texts{});
}

TEST_F(StrictJniTest, WantsTheExceptionOfAJavaMethodLookedFor) {
    jvm_.defineMethod("java/lang/Object", "run", "()V", true,
                      [](JavaObject*, const auto&) { return nullptr; });
    expectViolation("FindClass(java/lang/String) before an exception of run was looked for", [&] {
        const jclass type = findClass("java/lang/Object");
        env_->CallStaticVoidMethod(type, env_->GetStaticMethodID(type, "run", "()V"));
        findClass("java/lang/String");
    });
}

TEST_F(StrictJniTest, WantsUtfCharactersReleased) {
    expectViolation("the UTF characters \"text\" were not released", [&] {
        env_->GetStringUTFChars(jvm_.reference<jstring>(jvm_.newString("text", "string")), nullptr);
    });
}

TEST_F(StrictJniTest, RefusesDeletedReferences) {
    expectViolation("the deleted reference bytes in GetArrayLength(bytes)", [&] {
        const auto array = jvm_.reference<jbyteArray>(jvm_.newByteArray("abc", "bytes"));
        env_->DeleteLocalRef(array);
        env_->GetArrayLength(array);
    });
}

TEST_F(StrictJniTest, RefusesReferencesOfAnEarlierNativeCall) {
    jbyteArray array = nullptr;
    jvm_.inNativeFrame(
        [&] { array = jvm_.reference<jbyteArray>(jvm_.newByteArray("abc", "bytes")); });
    expectViolation("the deleted reference bytes in GetArrayLength(bytes)",
                    [&] { env_->GetArrayLength(array); });
}

TEST_F(StrictJniTest, RefusesNull) {
    expectViolation("null in GetArrayLength(null)", [&] { env_->GetArrayLength(nullptr); });
}

TEST_F(StrictJniTest, RefusesAnArgumentOfAnotherClass) {
    expectViolation("string is no [B in GetArrayLength(string)", [&] {
        env_->GetArrayLength(jvm_.reference<jbyteArray>(jvm_.newString("text", "string")));
    });
}

TEST_F(StrictJniTest, RefusesRegionsOutsideOfTheArray) {
    expectViolation("a region outside of the array in GetByteArrayRegion(bytes, 1, 3)", [&] {
        std::array<jbyte, 8> bytes{};
        env_->GetByteArrayRegion(jvm_.reference<jbyteArray>(jvm_.newByteArray("abc", "bytes")), 1,
                                 3, bytes.data());
    });
}

TEST_F(StrictJniTest, RefusesAnInstanceMethodCalledAsAStaticOne) {
    jvm_.defineMethod("java/lang/Object", "run", "()V", false,
                      [](JavaObject*, const auto&) { return nullptr; });
    expectViolation("a method of another kind in CallStaticVoidMethodV(Object, run)", [&] {
        const jclass type = findClass("java/lang/Object");
        env_->CallStaticVoidMethod(type, env_->GetMethodID(type, "run", "()V"));
    });
}

TEST_F(StrictJniTest, RefusesAMethodIdThatIsNone) {
    expectViolation("no method id in CallStaticVoidMethodV(Object, unknown)", [&] {
        env_->CallStaticVoidMethod(findClass("java/lang/Object"), jmethodID{});
    });
}

TEST_F(StrictJniTest, RefusesMoreLocalReferencesThanJniPromises) {
    expectViolation("more than 16 local references at once, after FindClass(java/lang/Object)",
                    [&] {
                        for (int i = 0; i < 17; ++i) {
                            findClass("java/lang/Object");
                        }
                    });
}

TEST_F(StrictJniTest, RefusesThrowingWhatIsNotThrowable) {
    expectViolation("java/lang/String is no java/lang/Throwable in ThrowNew(String, text)",
                    [&] { env_->ThrowNew(findClass("java/lang/String"), "text"); });
}

TEST_F(StrictJniTest, MakesTheChosenCallFail) {
    jvm_.failCall(2);
    EXPECT_EQ(jvm_.inNativeFrame([&] {
        EXPECT_NE(findClass("java/lang/Object"), nullptr);
        EXPECT_EQ(jvm_.failedCall(), "");
        EXPECT_EQ(findClass("java/lang/String"), nullptr);
    }),
              "java/lang/NoClassDefFoundError: java/lang/String");
    EXPECT_EQ(jvm_.failedCall(), "FindClass(java/lang/String)");
}

TEST_F(StrictJniTest, MakesTheChosenCallFailWithoutAnException) {
    jvm_.failCall(1, StrictJni::Failure::silent);
    EXPECT_EQ(jvm_.inNativeFrame([&] { EXPECT_EQ(env_->NewByteArray(3), nullptr); }), "");
}

TEST_F(StrictJniTest, EndsAtAFunctionThatTheLibraryDoesNotUse) {
    EXPECT_DEATH(env_->GetVersion(), "The JNI function GetVersion is none that the library uses.");
    EXPECT_DEATH(env_->CallIntMethod(nullptr, nullptr),
                 "The JNI function CallIntMethodV is none that the library uses.");
}

}  // namespace
