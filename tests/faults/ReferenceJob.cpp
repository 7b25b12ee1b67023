#include "faults/ReferenceJob.h"

#include <array>

#include <gtest/gtest.h>

#include "doubles/PrivateModuleDir.h"

extern "C" JNIEXPORT void JNICALL
Java_com_orvanta_connector_common_ovwallet_WalletCaller_performSubstitutions(JNIEnv*, jclass,
                                                                             jobject, jstring);

namespace {

struct Property {
    const char* name;
    const char* references;
    std::string expanded;
};

const std::array<Property, 4>& properties() {
    static const std::array<Property, 4> all{{
        {"InputOrvantaUserName", "$ovwallet(un)@$ovwallet(domain)", "name@example"},
        {"InputOrvantaPassword", "$ovwallet(pw_$(ovpid))$ovwallet(none)", "secret"},
        {"OutputOrvantaUserName", "$ovwallet-$ovwallet(nested)", "default-<name>"},
        {"OutputOrvantaPassword", "$ovwallet(long)$ovwallet", std::string(5000, 'x') + "default"},
    }};
    return all;
}

}  // namespace

void ReferenceJob::fill(SandboxWallet& wallet) {
    wallet.add("un", "name");
    wallet.add("domain", "example");
    wallet.add("pw_dbhost", "secret");
    wallet.add("none", "");
    wallet.add("nested", "<$ovwallet(un)>");
    wallet.add("long", std::string(5000, 'x'));
    wallet.add("com.orvanta.OV2", "default");
}

void ReferenceJob::reset() {
    job_.properties = {{"InputJdbcUrl", "jdbc:orvanta://dbhost/"},
                       {"OutputJdbcUrl", "jdbc:orvanta://dbhost/"}};
    for (const Property& property : properties()) {
        job_.properties[property.name] = property.references;
    }
}

// The faults concern the exported function alone, not what surrounds it here.
CallReport ReferenceJob::call(const std::vector<Fault>& faults) {
    CallReport report;
    bool otherPassed = false;
    report.outcome = jvm_.inNativeFrame([&] {
        const jobject context = job_.jobContextReference();
        const jstring directory =
            job_.stringReference(privateModuleDir(), "private temporary directory");
        FaultInjection injection(jvm_, faults);
        try {
            Java_com_orvanta_connector_common_ovwallet_WalletCaller_performSubstitutions(
                jvm_.env(), nullptr, context, directory);
        } catch (...) {
            otherPassed = true;
        }
        report.happened = injection.finish();
    });
    if (otherPassed) {
        report.outcome += kOtherPassed;
    }
    report.everythingWritten = isEverythingWritten();
    return report;
}

void ReferenceJob::callUndisturbed() {
    reset();
    const CallReport report = call({});
    EXPECT_EQ(report.outcome, "");
    EXPECT_TRUE(report.everythingWritten);
}

bool ReferenceJob::isEverythingWritten() {
    bool written = true;
    for (const Property& property : properties()) {
        const std::string text = job_.properties[property.name].value_or("null");
        written = written && text == property.expanded;
        EXPECT_EQ(text, written ? property.expanded : property.references) << property.name;
    }
    return written;
}
