// Runs code with the session of one native call, for tests of what a call does with it.
#pragma once

#include <exception>
#include <functional>
#include <string>

#include "doubles/ConnectorJob.h"
#include "doubles/PrivateModuleDir.h"
#include "jni/JavaLangThrowable.h"
#include "session/WalletSession.h"
#include "wallet/WalletOwner.h"

// Makes a session with the job in a native frame, forgets the calls that took, and runs body.
// Returns the Java exception left pending and, if body threw one, " failed: " and the message of
// the std::exception.
inline std::string withSession(
    StrictJni& jvm, ConnectorJob& job,
    const std::function<void(const Orvanta_OvWallet::WalletSession&)>& body) {
    std::string failure;
    const std::string pending = jvm.inNativeFrame([&] {
        const Orvanta_OvWallet::WalletSession session(
            jvm.env(), job.jobContextReference(),
            job.stringReference(privateModuleDir(), "private temporary directory"));
        const Orvanta_OvWallet::OwnedWallet wallet(session.walletHandle);
        jvm.takeCalls();
        try {
            body(session);
        } catch (const JavaLangThrowable&) {
            failure = jvm.pendingException().empty() ? " thrown without a Java exception" : "";
        } catch (const std::exception& exception) {
            failure = std::string(" failed: ") + exception.what();
        }
    });
    return pending + failure;
}
