// What operator new was asked for. One thread.
#pragma once

struct HeapCount {
    unsigned long allocations = 0;
    unsigned long bytes = 0;
};

extern HeapCount heapCount;
