#include <clocale>
#include <cstdio>
#include <exception>
#include <variant>

#include "tool/command/parseCommandLine.h"
#include "tool/doctor/runDoctor.h"
#include "tool/explain/runExplain.h"
#include "tool/version/runVersion.h"
#include "tool/why/runWhy.h"

namespace Orvanta_OvWallet::Tool {
namespace {

// One overload per command.
struct Runner {
    int operator()(const PrintText& print) const {
        std::fputs(print.text.c_str(), print.exitStatus == kNoFailure ? stdout : stderr);
        return print.exitStatus;
    }
    int operator()(const ExplainOptions& options) const { return runExplain(options); }
    int operator()(const DoctorOptions& options) const { return runDoctor(options); }
    int operator()(const WhyOptions& options) const { return runWhy(options); }
    int operator()(const VersionOptions& options) const { return runVersion(options); }
};

}  // namespace
}  // namespace Orvanta_OvWallet::Tool

int main(int argumentCount, char** arguments) {
    using namespace Orvanta_OvWallet::Tool;
    // As the JVM's launcher does: the system's texts are those that a job would be told.
    std::setlocale(LC_ALL, "");
    try {
        return std::visit(Runner{}, parseCommandLine(argumentCount, arguments));
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "walletcaller: %s\n", failure.what());
        return kCannotTell;
    }
}
