// A core dump of this process as it is now, written by the kernel.
//
// It is that of a child, forked and aborted at once: the child has the same bytes at the same
// addresses. Where the kernel hands core dumps to a program there is none.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "doubles/ProcessMemory.h"

class CoreDump {
  public:
    struct Segment {
        std::size_t offset;  // in the file
        MemoryRange range;   // of addresses; what the file holds of it
    };

    // Nothing if the kernel writes no file into the current directory.
    static std::optional<CoreDump> take();

    const std::vector<unsigned char>& file() const { return file_; }
    // By their offsets; what lies between them are the processor's registers and the like.
    const std::vector<Segment>& segments() const { return segments_; }

  private:
    explicit CoreDump(const std::string& pathname);

    std::vector<unsigned char> file_;
    std::vector<Segment> segments_;
};
