// Reads a text file line by line.
//
// A file that cannot be opened or read simply has no (further) lines: callers look for a line that
// they can use and do without one otherwise. One thread at a time.
#pragma once

#include <cstdio>
#include <memory>
#include <optional>
#include <string>

namespace Orvanta_OvWallet {

class LineReader {
  public:
    explicit LineReader(const std::string& pathname);

    // The next line exactly as it stands, without its newline; nothing at the end of the file.
    std::optional<std::string> next();

  private:
    struct Closer {
        void operator()(std::FILE* file) const { static_cast<void>(std::fclose(file)); }
    };

    std::unique_ptr<std::FILE, Closer> file_;
};

}  // namespace Orvanta_OvWallet
