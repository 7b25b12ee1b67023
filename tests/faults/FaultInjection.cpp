#include "faults/FaultInjection.h"

#include <utility>

namespace {

thread_local FaultInjection* current = nullptr;

}  // namespace

FaultInjection::FaultInjection(StrictJni& jvm, std::vector<Fault> faults)
    : jvm_(&jvm), faults_(std::move(faults)), heap_(0, [this] { note("allocation"); }) {
    jvm_->onFailure = [this](const std::string& call) { note(call); };
    current = this;
    begin();
}

FaultInjection::~FaultInjection() {
    finish();
}

std::vector<std::string> FaultInjection::finish() {
    heap_.failNext(0);
    current = nullptr;
    jvm_->failCall(0);
    jvm_->onFailure = nullptr;
    return happened_;
}

std::optional<int> FaultInjection::take(const char* kind, const char* detail) {
    return take(kind, detail, [](int) { return true; });
}

std::optional<int> FaultInjection::take(const char* kind, const char* detail,
                                        bool (*accepts)(int how)) {
    if (current == nullptr || current->happened_.size() == current->faults_.size()) {
        return std::nullopt;
    }
    const FailingHeap::Pause pause;
    const Fault& fault = current->faults_[current->happened_.size()];
    if (fault.kind != kind || !accepts(fault.how) || ++current->seen_ != fault.k) {
        return std::nullopt;
    }
    const int how = fault.how;
    current->note(std::string(kind) + "(" + detail + ")");
    return how;
}

void FaultInjection::begin() {
    seen_ = 0;
    if (happened_.size() == faults_.size()) {
        return;
    }
    const Fault& fault = faults_[happened_.size()];
    if (fault.kind == "allocation") {
        heap_.failNext(fault.k);
    } else if (fault.kind == "JNI") {
        jvm_->failCall(fault.k, static_cast<StrictJni::Failure>(fault.how));
    }
}

void FaultInjection::note(const std::string& call) {
    happened_.push_back(call);
    begin();
}
