// The ways through a whole call that faults are injected into.
#pragma once

#include <ostream>

struct Scenario {
    const char* name;
    bool commandLink;   // finds the installation by the command link, else in the package database
    bool isSecondCall;  // an undisturbed call comes first, so nothing is left to set up
    bool locksRefused;  // no page is locked before the escalation's last attempt
    bool actsForAnother;  // real and effective user differ, the helper executable is checked
    bool libraryRefused;  // the dynamic loader refuses the client library, whatever else happens
    bool directoryLost;   // the module's directory can only be told from the working directory
};

inline constexpr Scenario kCommandLink{"CommandLink", true, false, false, false, false, false};
inline constexpr Scenario kPackages{"Packages", false, false, false, false, false, false};
inline constexpr Scenario kSecondCall{"SecondCall", true, true, false, false, false, false};
inline constexpr Scenario kLocksRefused{"LocksRefused", true, false, true, false, false, false};
inline constexpr Scenario kForAnotherUser{"ForAnotherUser", true, false, false, true, false, false};
inline constexpr Scenario kLibraryRefused{"LibraryRefused", true, false, false, false, true, false};
inline constexpr Scenario kDirectoryLost{"DirectoryLost", true, false, false, false, false, true};

// Whether a call without any fault succeeds.
inline bool succeeds(const Scenario& scenario) {
    return !scenario.libraryRefused && !scenario.directoryLost;
}

// GoogleTest shows it in the names of tests.
inline void PrintTo(const Scenario& scenario, std::ostream* stream) {
    *stream << scenario.name;
}
