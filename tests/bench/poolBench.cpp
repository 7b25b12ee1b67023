// The pool beside malloc: the same blocks, taken and given back in the same order.

#include <array>
#include <mutex>
#include <vector>

#include <benchmark/benchmark.h>

#include "bench/poolSequences.h"
#include "securemem/SecureByteVector.h"

using namespace Orvanta_OvWallet;

namespace {

template <typename Memory>
void oneBlock(benchmark::State& state) {
    const Held<Memory> region(1);
    for (auto _ : state) {
        takeAndGive<Memory>();
    }
}

// What ProcessLock makes of two turns, one to take a block and one to give it back: none of it can
// be left out, so no pool behind that lock is faster.
void mutexesOfOneBlock(benchmark::State& state) {
    std::mutex mutex;
    for (auto _ : state) {
        for (int times = 0; times < 8; ++times) {
            const std::lock_guard lock(mutex);
        }
    }
}

template <typename Memory>
void credentialPass(benchmark::State& state) {
    const Held<Memory> region(1);
    for (auto _ : state) {
        blocksOfCredentialPass<Memory>();
    }
}

// So many blocks of 1 to 256 bytes live; one of them gives way to a new one, and so on.
template <typename Memory>
void liveBlocks(benchmark::State& state) {
    LiveBlocks<Memory> blocks(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        blocks.replaceNext();
    }
}

template <typename Bytes>
void vectorGrows(benchmark::State& state) {
    constexpr std::array<std::uint8_t, 32> kRun{};
    const Held<Pool> region(1);
    for (auto _ : state) {
        Bytes bytes(32);
        for (int times = 0; times < 8; ++times) {
            bytes.insert(bytes.begin() + 16, kRun.data(), kRun.data() + kRun.size());
        }
        benchmark::DoNotOptimize(bytes.begin());
    }
}

BENCHMARK(oneBlock<Pool>)->Name("pool: one block | ours");
BENCHMARK(oneBlock<Heap>)->Name("pool: one block | malloc");
BENCHMARK(mutexesOfOneBlock)->Name("pool: the mutexes of one block | ours");
BENCHMARK(oneBlock<Heap>)->Name("pool: the mutexes of one block | malloc");
BENCHMARK(credentialPass<Pool>)->Name("pool: the blocks of a credential pass | ours");
BENCHMARK(credentialPass<Heap>)->Name("pool: the blocks of a credential pass | malloc");
BENCHMARK(liveBlocks<Pool>)->Name("pool: live | ours")->ArgName("blocks")->Arg(64)->Arg(1024);
BENCHMARK(liveBlocks<Heap>)->Name("pool: live | malloc")->ArgName("blocks")->Arg(64)->Arg(1024);
BENCHMARK(oneBlock<Pool>)->Name("pool: one block | ours")->Threads(2)->UseRealTime();
BENCHMARK(oneBlock<Heap>)->Name("pool: one block | malloc")->Threads(2)->UseRealTime();
BENCHMARK(vectorGrows<SecureByteVector>)->Name("vector: eight insertions | ours");
BENCHMARK(vectorGrows<std::vector<std::uint8_t>>)->Name("vector: eight insertions | std::vector");

}  // namespace
