// What the library itself does here: a private directory as a job makes it, a copy of the library's
// file in it, and one call of its entry point with an empty job, in a child.
#pragma once

#include <string>

#include "tool/doctor/Report.h"
#include "tool/doctor/Subject.h"

namespace Orvanta_OvWallet::Tool {

// A directory of mode 0700 with a copy of the library in it. It is removed with all that lies in it
// when this goes; callers see to it that signals do not end the process before.
class PrivateDirectory {
  public:
    // Throws OvWalletException with a sentence when it cannot be made.
    PrivateDirectory(const std::string& temporaryDirectory, const std::string& library);
    ~PrivateDirectory();
    PrivateDirectory(const PrivateDirectory&) = delete;
    PrivateDirectory& operator=(const PrivateDirectory&) = delete;

    // As a job passes it: with a "/" at its end.
    const std::string& name() const { return name_; }
    std::string library() const { return name_ + kLibraryName; }

  private:
    void remove() const;

    std::string name_;
};

// How the call ends.
Verdict rehearse(const PrivateDirectory& directory, int timeoutSeconds);

}  // namespace Orvanta_OvWallet::Tool
