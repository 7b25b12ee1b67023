// The directory in which this test program's file lies, for this process alone.
//
// The library looks for the link "ovwalletdir" beside the file of its own module, which in a unit
// test is the test program. So the program's main function links its own file into a fresh
// directory and runs it from there; tests may create what they like in that directory, in parallel
// with others.
#pragma once

#include <string>

// With a "/" at its end. It is removed when the test program has ended.
std::string privateModuleDir();

// Makes "ovwalletdir" in it lead to an installation: below base lies orvanta/client. Replaces the
// link if there is one.
void linkInstallation(const std::string& base);

// The sandbox wallet's installation, as linkInstallation wants it, and those with one fault each.
std::string sandboxBase();
std::string sandboxVariant(const std::string& name);
