#include "jni/LocalRef.h"

#include <type_traits>

#include <gtest/gtest.h>

#include "doubles/ConnectorJob.h"
#include "doubles/StrictJni.h"

namespace {

static_assert(!std::is_copy_constructible_v<LocalRef<jobject>>);
static_assert(!std::is_copy_assignable_v<LocalRef<jobject>>);

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

}  // namespace
