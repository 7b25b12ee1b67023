// What the user asked for: one structure per command, filled by parseCommandLine.
#pragma once

#include <optional>
#include <string>
#include <variant>

namespace Orvanta_OvWallet::Tool {

// What the exit status of every command means.
enum ExitStatus : int {
    kNoFailure = 0,
    kFailure = 1,     // a job would fail; with --strict also a warning
    kWrongUsage = 2,  // the command line cannot be understood
    kCannotTell = 3,  // no permission, no answer in time
    kDefect = 4,      // prediction and rehearsal differ
};

// How far doctor goes; each depth does what the earlier ones do.
enum class Depth { kFiles, kLoad, kOpen, kCall };

struct DoctorOptions {
    Depth depth = Depth::kLoad;
    std::optional<std::string> directory;  // as a job would pass it
    std::string temporaryDirectory = "/tmp";
    std::optional<std::string> library;
    std::optional<int> process;
    int timeoutSeconds = 10;
    bool json = false;
    bool strict = false;
    bool brief = false;
};

struct ExplainOptions {
    std::optional<std::string> url;
    std::optional<std::string> text;
    std::optional<std::string> file;
    std::optional<std::string> input;  // "-", or nothing
    bool fetch = false;
    bool batch = false;
    bool json = false;
    bool strict = false;
};

struct WhyOptions {
    std::optional<std::string> text;
};

struct VersionOptions {
    std::optional<std::string> file;
    std::optional<int> process;
};

// Nothing to do but to print a text and to end.
struct PrintText {
    std::string text;
    int exitStatus;
};

using Command = std::variant<PrintText, DoctorOptions, ExplainOptions, WhyOptions, VersionOptions>;

}  // namespace Orvanta_OvWallet::Tool
