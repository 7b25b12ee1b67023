#include "faults/WholeCall.h"

#include <algorithm>
#include <array>
#include <sstream>
#include <thread>
#include <utility>

#include <gtest/gtest.h>

#include "doubles/ChildProcess.h"
#include "doubles/PrivateModuleDir.h"
#include "wallet/ProcessLock.h"

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

bool contains(const std::vector<std::string>& calls, const std::string& call) {
    return std::find(calls.begin(), calls.end(), call) != calls.end();
}

// The objects whose free function threw are still alive, with their uses of the library. What the
// factory threw, and nobody could turn into an error, has one, too.
std::string heldAfter(const CallReport& report) {
    std::string held;
    for (const auto& [call, object] :
         {std::pair("OvWallet_freeV1()", "live.wallets 1\n"),
          {"OvWallet_freeLockedUTF8Vector()", "live.locked_vectors 1\n"},
          {"OvWallet_freeError()", "live.errors 1\n"}}) {
        held += contains(report.failed, call) ? object : "";
    }
    const bool factoryThrew = report.outcome == kNumberPassed &&
                              report.failed.back() == "OvWalletFactory_generateOvWalletV1()";
    return held.empty() && !factoryThrew ? "" : held + "uses of the library\n";
}

// What was changed cannot be put back when putting it back is what failed.
void expectNothingLeft(const CallReport& report, const std::string& before) {
    EXPECT_EQ(machine().wallet.held(), heldAfter(report));
    const bool staysRoot = contains(report.failed, "setreuid(drop back)");
    if (staysRoot || contains(report.failed, "setrlimit(restore)")) {
        EXPECT_EQ(machine().effectiveUser == 0, staysRoot);
        machine().resetLimitsAndUser();
    }
    EXPECT_EQ(machine().processState(), before);
}

// A call with the faults and one without.
CallReport callTwice(const Scenario& scenario, const std::vector<Fault>& faults) {
    ReferenceJob job;
    if (scenario.isSecondCall) {
        job.callUndisturbed();
        job.reset();
    }
    const std::string before = machine().processState();
    CallReport report = job.call(faults);
    report.log = std::exchange(machine().log, {});
    expectLockFree();
    expectNothingLeft(report, before);
    machine().scenario = kCommandLink;
    job.callUndisturbed();
    expectLockFree();
    return report;
}

// Reports go from process to process as text, a field or a call a line; no field holds a line end.
void write(const CallReport& report, std::ostream& text) {
    text << report.outcome << '\n' << report.log << '\n' << report.everythingWritten << '\n';
    for (const std::string& call : report.failed) {
        text << "failed " << call << '\n';
    }
    for (const std::string& call : report.calls) {
        text << "called " << call << '\n';
    }
}

CallReport read(std::istream&& text) {
    CallReport report;
    std::string line;
    std::getline(text, report.outcome);
    std::getline(text, report.log);
    std::getline(text, line);
    report.everythingWritten = line == "1";
    while (std::getline(text, line)) {
        const std::size_t blank = line.find(' ');
        const std::string kind = line.substr(0, blank);
        (kind == "failed" ? report.failed : report.calls).push_back(line.substr(blank + 1));
    }
    return report;
}

}  // namespace

ReferenceJob::ReferenceJob() {
    reset();
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
    bool numberPassed = false;
    report.outcome = jvm_.inNativeFrame([&] {
        const jobject context = job_.jobContextReference();
        const jstring directory =
            job_.stringReference(privateModuleDir(), "private temporary directory");
        const FaultInjection injection(jvm_, faults);
        try {
            Java_com_orvanta_connector_common_ovwallet_WalletCaller_performSubstitutions(
                jvm_.env(), nullptr, context, directory);
        } catch (int) {
            numberPassed = true;
        }
        const FailingHeap::Pause pause;
        report.calls = injection.calls();
        report.failed = injection.failed();
    });
    if (numberPassed) {
        report.outcome += kNumberPassed;
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

void expectLockFree() {
    std::thread([] { const Orvanta_OvWallet::ProcessLockGuard lock; }).join();
}

CallReport callWithFaults(const Scenario& scenario, const std::vector<Fault>& faults) {
    // Made here, where it is also taken down; the child has a copy.
    machine();
    return read(std::istringstream(inChildProcess([&] {
        machine().enter(scenario);
        std::ostringstream text;
        write(callTwice(scenario, faults), text);
        expectNoLeaks();
        return text.str();
    })));
}

std::string describe(const std::vector<Fault>& faults) {
    std::ostringstream text;
    for (const char* separator = ""; const Fault& fault : faults) {
        text << separator << fault.call << " " << fault.nth << " (" << fault.how << ")";
        separator = ", then ";
    }
    return text.str();
}
