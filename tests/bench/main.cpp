#include <thread>

#include <benchmark/benchmark.h>

int main(int argc, char** argv) {
    // glibc's mutexes cost half as much as long as a process never had a second thread; a JVM has.
    std::thread([] {}).join();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
