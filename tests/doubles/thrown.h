// What code under test throws, as text to compare.
#pragma once

#include <exception>
#include <string>
#include <type_traits>
#include <typeinfo>

// The message of the exception that the action throws, "nothing" if it throws none. What is thrown
// has to be of exactly the class Exception, or derived from std::exception where that is Exception;
// it is "something else" otherwise.
template <typename Exception = std::exception, typename Action>
std::string thrownBy(const Action& action) {
    try {
        action();
        return "nothing";
    } catch (const Exception& exception) {
        const bool isOfTheClass =
            std::is_same_v<Exception, std::exception> || typeid(exception) == typeid(Exception);
        return isOfTheClass ? exception.what() : "something else";
    } catch (...) {
        return "something else";
    }
}

// The text that the action returns, or "failed: " and what thrownBy says of the action.
template <typename Exception = std::exception, typename Action>
std::string outcomeOf(const Action& action) {
    std::string text;
    const std::string failure = thrownBy<Exception>([&] { text = action(); });
    return failure == "nothing" ? text : "failed: " + failure;
}
