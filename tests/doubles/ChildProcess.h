// Runs a part of a test in a forked process, which starts where this one stands and leaves no trace
// in it.
#pragma once

#include <functional>
#include <string>

// The child runs body and sends what it returns; failures of expectations in the child are failures
// of this test. So is a child that a signal ended or that took longer than five minutes; the text
// is empty then.
std::string inChildProcess(const std::function<std::string()>& body);

// What a command of the shell prints. Fails the test unless the command succeeds.
std::string outputOf(const std::string& command);

// Under the address sanitizer, fails the test if memory of this process was leaked.
void expectNoLeaks();
