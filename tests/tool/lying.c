/* Stands for the library and tells a job something that nobody foresees. */
#include <jni.h>

JNIEXPORT void JNICALL Java_com_orvanta_connector_common_ovwallet_WalletCaller_performSubstitutions(
    JNIEnv* env, jclass caller, jobject job, jstring directory) {
    (void)caller;
    (void)job;
    (void)directory;
    (*env)->ThrowNew(env, (*env)->FindClass(env, "java/lang/IllegalStateException"),
                     "not foreseen");
}
