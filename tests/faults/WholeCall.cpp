#include "faults/WholeCall.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <sstream>
#include <utility>

#include <gtest/gtest.h>

#include "doubles/ChildProcess.h"
#include "doubles/PrivateModuleDir.h"
#include "faults/Machine.h"
#include "faults/ProcessState.h"

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kMostReportText = 64 * 1024;
constexpr char kSeparator = '\x1f';

void prepare(const Scenario& scenario) {
    Machine& on = machine();
    fs::remove(privateModuleDir() + "ovwalletdir");
    setLimitsAndUser();
    on.hasCommandLink = scenario.commandLink;
    on.refusesLocks = scenario.locksRefused;
    on.pretendsUsers = scenario.locksRefused || scenario.actsForAnother;
    on.realUser = scenario.actsForAnother ? kPretendedUser + 1 : kPretendedUser;
    on.refusesLibrary = scenario.libraryRefused;
    on.hidesModule = scenario.directoryLost;
    on.losesDirectory = scenario.directoryLost;
    if (scenario.directoryLost) {
        fs::current_path(privateModuleDir());
    }
}

constexpr std::pair<const char*, const char*> kFreeFunctions[] = {
    {"wallet(OvWallet_freeV1)", "live.wallets 1\n"},
    {"wallet(OvWallet_freeLockedUTF8Vector)", "live.locked_vectors 1\n"},
    {"wallet(OvWallet_freeError)", "live.errors 1\n"},
};

bool contains(const std::vector<std::string>& calls, const std::string& call) {
    return std::find(calls.begin(), calls.end(), call) != calls.end();
}

// The objects whose free function threw are still alive, with their uses of the library; otherwise
// there is nothing. What the factory threw, and nobody could turn into an error, has one, too.
void expectNothingHeld(const CallReport& report) {
    std::string objects;
    for (const auto& [call, object] : kFreeFunctions) {
        objects += contains(report.happened, call) ? object : "";
    }
    const bool factoryThrew =
        report.outcome == kOtherPassed &&
        contains(report.happened, "wallet(OvWalletFactory_generateOvWalletV1)");
    EXPECT_EQ(machine().wallet.held(),
              objects.empty() && !factoryThrew ? "" : objects + "uses of the library\n");
}

// What was changed cannot be put back when putting it back is what failed.
void expectUnchanged(const std::string& before, const std::vector<std::string>& happened) {
    if (contains(happened, "setrlimit(restore)")) {
        setLimitsAndUser();
    }
    if (contains(happened, "setreuid(drop back)")) {
        EXPECT_EQ(machine().effectiveUser, 0U);
        setLimitsAndUser();
    }
    EXPECT_EQ(processState(), before);
    EXPECT_EQ(machine().effectiveUser, kPretendedUser);
}

// A call with the faults and one without.
CallReport callTwice(const Scenario& scenario, const std::vector<Fault>& faults) {
    ReferenceJob job;
    if (scenario.isSecondCall) {
        job.callUndisturbed();
        job.reset();
    }
    const std::string before = processState();
    CallReport report = job.call(faults);
    report.log = std::exchange(machine().log, {});
    expectLockFree();
    expectNothingHeld(report);
    expectUnchanged(before, report.happened);
    machine().refusesLibrary = false;
    machine().losesDirectory = false;
    job.callUndisturbed();
    expectLockFree();
    return report;
}

// Reports go from process to process as text: four fields and one for each call that failed.
void write(const CallReport& report, std::string& text) {
    text += report.outcome + kSeparator + report.log + kSeparator;
    text += report.everythingWritten ? "written" : "";
    for (const std::string& call : report.happened) {
        text += kSeparator + call;
    }
}

CallReport read(const std::string& text) {
    CallReport report;
    std::istringstream fields(text);
    std::string field;
    std::getline(fields, report.outcome, kSeparator);
    std::getline(fields, report.log, kSeparator);
    std::getline(fields, field, kSeparator);
    report.everythingWritten = field == "written";
    while (std::getline(fields, field, kSeparator)) {
        report.happened.push_back(field);
    }
    return report;
}

// Returns the report as text; kept is what the calls left on the heap.
std::string callOnHeap(const Scenario& scenario, const std::vector<Fault>& faults,
                       std::int64_t& kept) {
    prepare(scenario);
    std::string text;
    text.reserve(kMostReportText);
    const std::int64_t before = FailingHeap::liveAllocations();
    write(callTwice(scenario, faults), text);
    kept = FailingHeap::liveAllocations() - before;
    return text;
}

std::int64_t keptWithoutFaults(const Scenario& scenario) {
    static std::map<std::string, std::int64_t> known;
    const auto found = known.find(scenario.name);
    if (found != known.end()) {
        return found->second;
    }
    return known[scenario.name] = std::stoll(inChildProcess([&] {
               std::int64_t kept = 0;
               callOnHeap(scenario, {}, kept);
               return std::to_string(kept);
           }));
}

bool freesEverything(const std::string& report) {
    return std::none_of(
        std::begin(kFreeFunctions), std::end(kFreeFunctions),
        [&](const auto& each) { return report.find(each.first) != std::string::npos; });
}

}  // namespace

CallReport callWithFaults(const Scenario& scenario, const std::vector<Fault>& faults) {
    // Made here, where it is also taken down; the child has a copy.
    machine();
    const std::int64_t expected = keptWithoutFaults(scenario);
    return read(inChildProcess([&] {
        std::int64_t kept = 0;
        std::string text = callOnHeap(scenario, faults, kept);
        if (freesEverything(text)) {
            EXPECT_LE(kept, expected) << "allocations left";
        }
        expectNoLeaks();
        return text;
    }));
}

std::string describe(const std::vector<Fault>& faults) {
    std::ostringstream text;
    for (const char* separator = ""; const Fault& fault : faults) {
        text << separator << fault.kind << " " << fault.k << " (" << fault.how << ")";
        separator = ", then ";
    }
    return text.str();
}
