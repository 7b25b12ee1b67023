#include "session/memoryMap.h"

#include <fcntl.h>
#include <unistd.h>

#include <charconv>

namespace Orvanta_OvWallet {
namespace {

constexpr std::size_t kPiece = 4096;  // the kernel never gives more of a map at once

// Read without a stream: the process of a big job has thousands of lines before ours.
class MapFile {
  public:
    explicit MapFile(const char* pathname) : descriptor_(::open(pathname, O_RDONLY | O_CLOEXEC)) {}
    ~MapFile() {
        if (descriptor_ >= 0) {
            ::close(descriptor_);
        }
    }
    MapFile(const MapFile&) = delete;
    MapFile& operator=(const MapFile&) = delete;

    // Appends the next piece to text; false at the end, or when there is nothing to be had.
    bool appendTo(std::string& text) const {
        const std::size_t before = text.size();
        text.resize(before + kPiece);
        const ssize_t length = ::read(descriptor_, text.data() + before, kPiece);
        text.resize(before + (length > 0 ? static_cast<std::size_t>(length) : 0));
        return length > 0;
    }

  private:
    int descriptor_;
};

}  // namespace

std::optional<Mapping> parseMapLine(std::string_view line) {
    constexpr int kHexadecimal = 16;
    // First, for speed: most lines of a JVM's map have none.
    const std::size_t slash = line.find('/');
    if (slash == std::string_view::npos) {
        return std::nullopt;
    }
    Mapping mapping{};
    const char* const lineEnd = line.data() + line.size();
    const auto begin = std::from_chars(line.data(), lineEnd, mapping.begin, kHexadecimal);
    if (begin.ec != std::errc() || begin.ptr == lineEnd) {
        return std::nullopt;
    }
    const auto end = std::from_chars(begin.ptr + 1, lineEnd, mapping.end, kHexadecimal);
    if (end.ec != std::errc()) {
        return std::nullopt;
    }
    mapping.pathname = line.substr(slash);
    return mapping;
}

std::optional<std::string> pathnameMappedAt(std::uint64_t address, const char* mapFile) {
    const MapFile file(mapFile);
    std::string text;  // what is read and not yet searched
    text.reserve(2 * kPiece);
    for (bool atEnd = false; !atEnd;) {
        atEnd = !file.appendTo(text);
        if (atEnd) {
            text += '\n';  // the last line may have none
        }
        std::size_t begin = 0;
        for (std::size_t end = text.find('\n'); end != std::string::npos;
             end = text.find('\n', begin)) {
            const auto mapping = parseMapLine(std::string_view(text).substr(begin, end - begin));
            if (mapping && mapping->begin <= address && address < mapping->end) {
                return std::string(mapping->pathname);
            }
            begin = end + 1;
        }
        text.erase(0, begin);
    }
    return std::nullopt;
}

}  // namespace Orvanta_OvWallet
