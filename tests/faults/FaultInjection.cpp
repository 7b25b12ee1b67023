#include "faults/FaultInjection.h"

#include <utility>

namespace {

thread_local FaultInjection* current = nullptr;

}  // namespace

FaultInjection::FaultInjection(StrictJni& jvm, std::vector<Fault> faults)
    : jvm_(&jvm), faults_(std::move(faults)), heap_(0, [this] { note(kAllocation); }) {
    jvm_->failing = [](const std::string& call) -> std::optional<StrictJni::Failure> {
        const std::optional<int> how = take(call);
        return how ? std::optional(static_cast<StrictJni::Failure>(*how)) : std::nullopt;
    };
    current = this;
    begin();
}

FaultInjection::~FaultInjection() {
    current = nullptr;
    jvm_->failing = nullptr;
}

std::optional<int> FaultInjection::take(const std::string& call) {
    if (current == nullptr) {
        return std::nullopt;
    }
    const FailingHeap::Pause pause;
    current->calls_.push_back(call);
    const std::size_t next = current->failed_.size();
    if (next == current->faults_.size() || !call.starts_with(current->faults_[next].call) ||
        ++current->seen_ != current->faults_[next].nth) {
        return std::nullopt;
    }
    current->note(call);
    return current->faults_[next].how;
}

void FaultInjection::begin() {
    seen_ = 0;
    if (failed_.size() < faults_.size() && faults_[failed_.size()].call == kAllocation) {
        heap_.failNext(faults_[failed_.size()].nth);
    }
}

void FaultInjection::note(const std::string& call) {
    failed_.push_back(call);
    begin();
}
