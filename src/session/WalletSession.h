// WalletSession: what one call of performSubstitutions works with.
//
// It lives on the entry point's stack, on the Java thread of the call. Its references are local
// references of that thread, which the JVM frees when the call returns; none is deleted here. The
// wallet handle is owned by the entry point, which gives it to an OwnedWallet.
#pragma once

#include <jni.h>

#include "wallet/WalletTypes.h"

namespace Orvanta_OvWallet {

struct WalletSession {
    // Resolves the Java classes, methods and objects that the passes need, sets up the installation
    // once per process (see installationLink.h), and opens a wallet. jobContext is a
    // org.apache.hadoop.mapreduce.JobContext, privateTempDir a String.
    //
    // Throws JavaLangThrowable when a Java exception is pending, a NullPointerException for a null
    // jobContext among them; what establishInstallationLink throws; and OvWalletException
    // "Attempt to use Orvanta Wallet failed because: TEXT". Nothing needs to be freed then.
    WalletSession(JNIEnv* env, jobject jobContext, jstring privateTempDir);

    JNIEnv* env;
    jobject jobContext;
    jstring privateTempDir;
    jobject configuration = nullptr;
    jclass plugInConfigurationClass = nullptr;
    jclass charsetsClass = nullptr;
    jobject utf8Charset = nullptr;
    jclass stringClass = nullptr;
    jmethodID getBytesMethod = nullptr;
    Wallet* walletHandle = nullptr;
};

}  // namespace Orvanta_OvWallet
