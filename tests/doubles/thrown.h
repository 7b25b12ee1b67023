// What code under test throws, as text to compare.
#pragma once

#include <exception>
#include <string>

// The message of the exception that the action throws, "nothing" if it throws none, and
// "something else" if what it throws is no Exception.
template <typename Exception = std::exception, typename Action>
std::string thrownBy(const Action& action) {
    try {
        action();
        return "nothing";
    } catch (const Exception& exception) {
        return exception.what();
    } catch (...) {
        return "something else";
    }
}
