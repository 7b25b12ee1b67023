// What the threads of the model share, and where each of them is.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "model/ModelProgram.h"

inline constexpr std::size_t kMostThreads = 3;
inline constexpr std::int8_t kNobody = -1;
inline constexpr std::int16_t kEnded = -1;

struct ModelState {
    struct Thread {
        std::int16_t position = 0;   // of its next step in the program
        std::int8_t readValue = 0;   // of the counter that it is about to change
        std::int8_t depth = 0;       // levels of ProcessLock that it owns
        std::int8_t references = 0;  // taken, minus those of the objects it made and did not free
        std::int8_t unused = 0;

        bool operator==(const Thread&) const = default;
    };

    std::int8_t guardMutex = kNobody;
    std::int8_t holdMutex = kNobody;
    std::int8_t owner = kNobody;
    std::int8_t holdCount = 0;
    std::int8_t referenceCount = 0;
    std::int8_t liveObjects = 0;
    std::int8_t libraryIsOpen = 0;
    std::int8_t refusalsLeft = 0;  // of mutexes
    std::array<Thread, kMostThreads> threads;

    bool operator==(const ModelState&) const = default;
    std::string_view bytes() const { return {reinterpret_cast<const char*>(this), sizeof *this}; }
};
static_assert(std::has_unique_object_representations_v<ModelState>);

struct Transition {
    ModelState state;
    std::string violation;
};

// Every outcome of the next step of a thread: none when the thread has ended or has to wait.
std::vector<Transition> stepOf(const ModelProgram& program, const ModelState& state,
                               std::int8_t thread);

// What is wrong with a state in itself; "" for nothing.
std::string violationIn(const ModelState& state, std::size_t threads);

bool allHaveEnded(const ModelState& state, std::size_t threads);
