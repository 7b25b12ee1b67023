// Looks for the markers in all memory of the process that can be read.
#pragma once

#include <cstddef>
#include <set>
#include <string>

// Each kind of place in which a marker stands, as "MARKER in PLACE". Places are
//   the page pool, locked          a page of the library's pool that the kernel has locked
//   the page pool, not locked
//   the heap of the library        any other block that the library asked for
//   the heap of the client library
//   the heap of the test           where the double keeps Java's arrays and strings, too
//   the heap of others
//   [stack], a file's name, ...    a mapping by the kernel's name, when no live block holds it
// The search runs in a thread of its own, so that it leaves the stack of the caller as it is.
std::set<std::string> searchMemory();

// How often markers stand in all memory of the process, and how often in a text.
std::size_t countInMemory();
std::size_t countIn(const std::string& text);
