// A core dump of this process as it is now, written by the kernel.
//
// It is that of a child, forked and aborted at once: the child has the same bytes at the same
// addresses. Where the kernel hands core dumps to a program there is none.
#pragma once

#include <optional>
#include <string>

// The file's bytes; nothing if the kernel writes no file into the current directory.
std::optional<std::string> takeCoreDump();
