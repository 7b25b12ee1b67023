// The command line of walletcaller.
//
// The options are described once, in makeParser(): parsing, --help, the manual page and the
// completion for bash all come from that description.
#pragma once

#include <CLI/App.hpp>
#include <memory>

#include "tool/command/CommandOptions.h"

namespace Orvanta_OvWallet::Tool {

struct ParsedOptions {
    DoctorOptions doctor;
    ExplainOptions explain;
    WhyOptions why;
    VersionOptions version;
};

// A parser that fills options, which outlive it.
std::unique_ptr<CLI::App> makeParser(ParsedOptions& options);

}  // namespace Orvanta_OvWallet::Tool
