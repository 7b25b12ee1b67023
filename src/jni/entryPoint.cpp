#include <jni.h>

#include <exception>

#include "jni/JavaLangThrowable.h"
#include "session/WalletSession.h"
#include "substitution/credentialPass.h"
#include "wallet/WalletOwner.h"

using namespace Orvanta_OvWallet;

// Native half of WalletCaller.performSubstitutions(JobContext, String): expands the wallet
// references in the credentials of the job's input side and then of its output side. Any Java
// thread may call.
//
// Every failure is reported as a Java exception left pending: the one that a Java call left, or a
// ConnectorException with the message. A failure of the input side leaves the output side alone.
//
// Deliberate: an exception that is neither of the two passes through, and ends the process, as
// nothing in a JVM catches it. Nothing here throws one; a client library could.
extern "C" JNIEXPORT void JNICALL
Java_com_orvanta_connector_common_ovwallet_WalletCaller_performSubstitutions(
    JNIEnv* env, jclass, jobject jobContext, jstring privateTempDir) {
    try {
        const WalletSession session(env, jobContext, privateTempDir);
        OwnedWallet wallet(session.walletHandle);
        runCredentialPass(session, kInputSide);
        runCredentialPass(session, kOutputSide);
        wallet.free();
    } catch (const JavaLangThrowable&) {
        return;
    } catch (const std::exception& failure) {
        leaveConnectorException(env, failure.what());
    }
}
