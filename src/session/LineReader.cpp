#include "session/LineReader.h"

#include <sys/types.h>

#include <cstdlib>

namespace Orvanta_OvWallet {
namespace {

// The buffer that getline allocates and grows.
struct LineBuffer {
    char* text = nullptr;
    std::size_t capacity = 0;

    LineBuffer() = default;
    ~LineBuffer() { std::free(text); }
    LineBuffer(const LineBuffer&) = delete;
    LineBuffer& operator=(const LineBuffer&) = delete;
};

}  // namespace

LineReader::LineReader(const std::string& pathname) : file_(std::fopen(pathname.c_str(), "re")) {}

std::optional<std::string> LineReader::next() {
    if (file_ == nullptr) {
        return std::nullopt;
    }
    LineBuffer line;
    const ssize_t length = ::getline(&line.text, &line.capacity, file_.get());
    if (length <= 0) {
        return std::nullopt;
    }
    const bool endsInNewline = line.text[length - 1] == '\n';
    return std::string(line.text, static_cast<std::size_t>(length) - (endsInNewline ? 1 : 0));
}

}  // namespace Orvanta_OvWallet
