// Runs one operation so that what it does can be counted: operations NAME. Without a name, prints
// the names.
//
// callgrind counts the instructions inside of countedOperation; the program itself counts what is
// asked of the heap there and prints it. The operation ran before, so what is made once is made.

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "bench/countingHeap.h"
#include "bench/poolSequences.h"
#include "bench/subjects.h"
#include "session/memoryMap.h"
#include "substitution/JdbcUrl.h"

using namespace Orvanta_OvWallet;

namespace {

// The operation itself; what it needs is made here and lives as long as it does.
using Operation = std::function<void()>;

Operation inHeldRegion(const Operation& operation) {
    return [region = std::make_shared<Held<Pool>>(1), operation] { operation(); };
}

Operation hundredReplacements(std::size_t blocks) {
    return [live = std::make_shared<LiveBlocks<Pool>>(blocks)] {
        for (int times = 0; times < 100; ++times) {
            live->replaceNext();
        }
    };
}

Operation expansionOf(std::size_t references) {
    return [room = std::make_shared<RoomForTexts>(), wallet = CheapWallet::open(),
            text = textWithReferences(1024, references)] { expand(text, wallet); };
}

void parseUrl() {
    std::string text = kUrl;
    parseJdbcUrl({reinterpret_cast<std::uint8_t*>(text.data()), text.size()});
}

Operation mapReading(int mappings) {
    return [file = std::make_shared<MapFile>(mappings)] {
        pathnameMappedAt(file->lastAddress(), file->pathname());
    };
}

const std::map<std::string, Operation (*)()>& operations() {
    static const std::map<std::string, Operation (*)()> kOperations{
        {"pool-block", [] { return inHeldRegion(takeAndGive<Pool>); }},
        {"pool-pass", [] { return inHeldRegion(blocksOfCredentialPass<Pool>); }},
        {"pool-64", [] { return hundredReplacements(64); }},
        {"pool-1024", [] { return hundredReplacements(1024); }},
        {"expansion-0", [] { return expansionOf(0); }},
        {"expansion-4", [] { return expansionOf(4); }},
        {"url", [] { return Operation(parseUrl); }},
        {"message", [] { return Operation([] { formatFailure(); }); }},
        {"map-500", [] { return mapReading(500); }},
    };
    return kOperations;
}

}  // namespace

extern "C" [[gnu::noinline]] void countedOperation(const std::function<void()>& operation) {
    operation();
}

int main(int argc, char** argv) {
    if (argc < 2) {
        for (const auto& [name, make] : operations()) {
            std::puts(name.c_str());
        }
        return EXIT_SUCCESS;
    }
    const Operation operation = operations().at(argv[1])();
    operation();
    const HeapCount before = heapCount;
    countedOperation(operation);
    std::printf("%lu %lu\n", heapCount.allocations - before.allocations,
                heapCount.bytes - before.bytes);
    return EXIT_SUCCESS;
}
