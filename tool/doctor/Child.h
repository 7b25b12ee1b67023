// Runs code of the wallet, or of the library, in a process of its own.
//
// The child has a session of its own and no terminal, reads nothing, leaves no core, and is killed
// with all it started when the time is over or the parent ends. What it prints goes nowhere.
#pragma once

#include <functional>
#include <map>
#include <string>

namespace Orvanta_OvWallet::Tool {

// How the child tells the parent what it found.
class ChildReport {
  public:
    explicit ChildReport(int descriptor) : descriptor_(descriptor) {}

    // At once, so that it is known whatever happens to the child afterwards.
    void put(const std::string& key, const std::string& value) const;

  private:
    int descriptor_;
};

struct ChildResult {
    enum class End { kFinished, kTimedOut, kDied };

    End end = End::kFinished;
    int signal = 0;  // that ended it; 0 when it ended itself with a status other than 0
    std::map<std::string, std::string> values;

    bool has(const std::string& key) const { return values.contains(key); }
};

// Runs work in a child. An exception that leaves it is put under "exception". Throws
// OvWalletException when there can be no child.
ChildResult runInChild(const std::function<void(const ChildReport&)>& work, int timeoutSeconds);

// Whether SIGINT, SIGTERM or SIGHUP came since catchSignals; children are then ended early.
bool wasInterrupted();
void catchSignals();

// Ends this process by the signal that came, if one came.
void endIfInterrupted();

}  // namespace Orvanta_OvWallet::Tool
