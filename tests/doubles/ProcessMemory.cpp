#include "doubles/ProcessMemory.h"

#include <cstdio>
#include <fstream>
#include <stdexcept>

namespace {

// Fills in what a line like "7f0c1a200000-7f0c1a228000 r-xp 00028000 fe:01 1835   /lib/libc.so.6"
// says, if it is one.
bool readHead(const std::string& line, MappedRange& mapped) {
    unsigned long begin = 0;
    unsigned long end = 0;
    char access[5] = {};
    int name = 0;
    if (std::sscanf(line.c_str(), "%lx-%lx %4s %*x %*s %*u %n", &begin, &end, access, &name) < 3) {
        return false;
    }
    mapped = {
        {begin, end}, line.substr(static_cast<std::size_t>(name)), access[0] == 'r', false, 0};
    return true;
}

}  // namespace

std::vector<MappedRange> processMemory() {
    std::vector<MappedRange> all;
    std::ifstream smaps("/proc/self/smaps");
    for (std::string line; std::getline(smaps, line);) {
        MappedRange mapped{};
        if (readHead(line, mapped)) {
            all.push_back(mapped);
        } else if (line.starts_with("Locked:")) {
            all.back().lockedKilobytes = std::stol(line.substr(7));
        } else if (line.starts_with("VmFlags:")) {
            all.back().isLocked = (line + " ").find(" lo ") != std::string::npos;
        }
    }
    if (all.empty()) {
        throw std::runtime_error("the kernel does not describe the process's memory");
    }
    return all;
}

long lockedKilobytes() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmLck:")) {
            return std::stol(line.substr(6));
        }
    }
    throw std::runtime_error("the kernel does not say how much memory is locked");
}
