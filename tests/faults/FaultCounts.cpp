#include "faults/FaultCounts.h"

#include <iostream>
#include <map>

#include <gtest/gtest.h>

namespace {

using Counts = std::map<std::string, std::uint64_t>;

Counts& counts() {
    static Counts counted;
    return counted;
}

class Report : public ::testing::Environment {
  public:
    void TearDown() override {
        std::uint64_t total = 0;
        for (const auto& [kind, count] : counts()) {
            std::cout << "injected failures: " << count << " of " << kind << "\n";
            total += count;
        }
        std::cout << "injected failures: " << total << " in all\n";
    }
};

// GoogleTest owns it.
const ::testing::Environment* const kReport = ::testing::AddGlobalTestEnvironment(new Report);

}  // namespace

void countInjected(const std::string& kind, std::uint64_t count) {
    EXPECT_GT(count, 0U) << "no failure of " << kind << " was injected";
    countInjectedIfAny(kind, count);
}

void countInjectedIfAny(const std::string& kind, std::uint64_t count) {
    EXPECT_NE(kReport, nullptr);
    counts()[kind] += count;
}
