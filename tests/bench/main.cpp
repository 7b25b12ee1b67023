#include <thread>

#include <benchmark/benchmark.h>

// glibc's mutexes cost a third as long as a process never had a second thread. A JVM has; "alone"
// as an argument measures without.
int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (argc < 2) {
        std::thread([] {}).join();
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
