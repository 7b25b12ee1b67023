// Texts: expansion, URL, messages and the memory map, each beside plain code of the same result.

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <string>
#include <string_view>

#include <benchmark/benchmark.h>

#include "bench/subjects.h"
#include "session/memoryMap.h"
#include "substitution/JdbcUrl.h"

using namespace Orvanta_OvWallet;

namespace {

void expansion(benchmark::State& state) {
    const RoomForTexts room;
    Wallet* const wallet = CheapWallet::open();
    const std::string text = textWithReferences(static_cast<std::size_t>(state.range(0)),
                                                static_cast<std::size_t>(state.range(1)));
    for (auto _ : state) {
        expand(text, wallet);
    }
}

// One pass, without escapes or macros in names, in ordinary memory.
void plainReplacement(benchmark::State& state) {
    const std::string text = textWithReferences(static_cast<std::size_t>(state.range(0)),
                                                static_cast<std::size_t>(state.range(1)));
    constexpr std::string_view kKeyword = "$ovwallet(";
    for (auto _ : state) {
        std::string bytes = text;
        std::size_t begin = 0;
        while ((begin = bytes.find(kKeyword, begin)) != std::string::npos) {
            const std::size_t end = bytes.find(')', begin);
            const std::size_t nameBegin = begin + kKeyword.size();
            const std::string name = bytes.substr(nameBegin, end - nameBegin);
            const auto value = CheapWallet::fetchPlainly(name.c_str());
            bytes.replace(begin, end + 1 - begin, reinterpret_cast<const char*>(value.data()),
                          value.size());
            begin += value.size();
        }
        benchmark::DoNotOptimize(bytes.data());
    }
}

void url(benchmark::State& state) {
    std::string text = kUrl;
    const std::span bytes(reinterpret_cast<std::uint8_t*>(text.data()), text.size());
    for (auto _ : state) {
        const JdbcUrlParts parts = parseJdbcUrl(bytes);
        benchmark::DoNotOptimize(parts.databaseId.data());
    }
}

void plainUrl(benchmark::State& state) {
    std::string text = kUrl;
    for (auto _ : state) {
        benchmark::DoNotOptimize(text.data());
        const std::size_t begin = text.find("//") + 2;
        const std::string_view databaseId(text.data() + begin, text.find('/', begin) - begin);
        benchmark::DoNotOptimize(databaseId.data());
    }
}

void message(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(formatFailure());
    }
}

void plainMessage(benchmark::State& state) {
    for (auto _ : state) {
        std::array<char, 200> buffer{};
        const int length = std::snprintf(buffer.data(), buffer.size(),
                                         "Cannot read the \"%s\" symbolic link (errno = %s).",
                                         "/usr/bin/ovwallet", "No such file or directory");
        benchmark::DoNotOptimize(std::string(buffer.data(), static_cast<std::size_t>(length)));
    }
}

void map(benchmark::State& state) {
    const MapFile file(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        benchmark::DoNotOptimize(pathnameMappedAt(file.lastAddress(), file.pathname()));
    }
}

// In pieces as large as the kernel gives of a map.
void plainMap(benchmark::State& state) {
    const MapFile file(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        const int descriptor = ::open(file.pathname(), O_RDONLY | O_CLOEXEC);
        std::array<char, 4096> piece;
        while (::read(descriptor, piece.data(), piece.size()) > 0) {
        }
        ::close(descriptor);
    }
}

constexpr long kKibibyte = 1024;
constexpr long kMebibyte = kKibibyte * kKibibyte;
void texts(benchmark::internal::Benchmark* benchmark) {
    benchmark->ArgNames({"bytes", "references"});
    for (const long size : {kKibibyte, kMebibyte}) {
        benchmark->Args({size, 0})->Args({size, 4});
    }
    benchmark->Args({kMebibyte, 1000});
}

void mappings(benchmark::internal::Benchmark* benchmark) {
    benchmark->ArgName("mappings")->Arg(50)->Arg(500)->Arg(5000);
}

BENCHMARK(expansion)->Name("expansion | ours")->Apply(texts);
BENCHMARK(plainReplacement)->Name("expansion | std::string::replace")->Apply(texts);
BENCHMARK(url)->Name("URL: its parts | ours");
BENCHMARK(plainUrl)->Name("URL: its parts | std::string::find");
BENCHMARK(message)->Name("message: two texts | ours");
BENCHMARK(plainMessage)->Name("message: two texts | snprintf");
BENCHMARK(map)->Name("memory map | ours")->Apply(mappings);
BENCHMARK(plainMap)->Name("memory map | read")->Apply(mappings);

}  // namespace
