#include "tool/doctor/elfFile.h"

#include <elf.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <optional>
#include <string_view>

#include "support/formatMessage.h"

namespace Orvanta_OvWallet::Tool {
namespace {

// The file's bytes, as far as they are asked for.
class Bytes {
  public:
    explicit Bytes(const std::string& pathname)
        : descriptor_(::open(pathname.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)),
          errnum_(descriptor_ < 0 ? errno : 0) {
        struct stat status{};
        if (descriptor_ >= 0 && ::fstat(descriptor_, &status) == 0) {
            isRegular_ = S_ISREG(status.st_mode);
            size_ = isRegular_ ? static_cast<std::uint64_t>(status.st_size) : 0;
        }
    }
    ~Bytes() {
        if (descriptor_ >= 0) {
            ::close(descriptor_);
        }
    }
    Bytes(const Bytes&) = delete;
    Bytes& operator=(const Bytes&) = delete;

    int errnum() const { return errnum_; }
    bool isRegular() const { return isRegular_; }
    std::uint64_t size() const { return size_; }

    // Nothing for a range that does not lie in the file whole, or is unreasonably large.
    std::optional<std::string> read(std::uint64_t offset, std::uint64_t size) const {
        constexpr std::uint64_t kLargest = std::uint64_t{64} << 20;
        if (size > kLargest || offset > size_ || size > size_ - offset) {
            return std::nullopt;
        }
        std::string bytes(size, '\0');
        const ssize_t length =
            ::pread(descriptor_, bytes.data(), bytes.size(), static_cast<off_t>(offset));
        return length == static_cast<ssize_t>(size) ? std::optional(std::move(bytes))
                                                    : std::nullopt;
    }

    template <typename T>
    std::optional<T> record(std::uint64_t offset) const {
        const std::optional<std::string> bytes = read(offset, sizeof(T));
        return bytes ? std::optional(recordIn<T>(*bytes, 0)) : std::nullopt;
    }

    // Precondition: the record lies in bytes.
    template <typename T>
    static T recordIn(const std::string& bytes, std::size_t offset) {
        T record;
        std::memcpy(&record, bytes.data() + offset, sizeof record);
        return record;
    }

  private:
    int descriptor_;
    int errnum_;
    bool isRegular_ = false;
    std::uint64_t size_ = 0;
};

std::optional<Elf64_Shdr> section(const Bytes& file, const Elf64_Ehdr& header, std::size_t index) {
    if (index >= header.e_shnum || header.e_shentsize != sizeof(Elf64_Shdr)) {
        return std::nullopt;
    }
    // The table's end is checked by the read; its beginning cannot wrap around with 16-bit counts.
    const std::uint64_t offset = header.e_shoff + index * sizeof(Elf64_Shdr);
    return offset < header.e_shoff ? std::nullopt : file.record<Elf64_Shdr>(offset);
}

void readSymbols(const Bytes& file, const Elf64_Shdr& table, const Elf64_Shdr& names,
                 ElfFile& found) {
    const std::optional<std::string> symbols = file.read(table.sh_offset, table.sh_size);
    const std::optional<std::string> strings = file.read(names.sh_offset, names.sh_size);
    if (!symbols || !strings) {
        return;
    }
    found.hasSymbolTable = true;
    for (std::size_t at = 0; at + sizeof(Elf64_Sym) <= symbols->size(); at += sizeof(Elf64_Sym)) {
        const auto symbol = Bytes::recordIn<Elf64_Sym>(*symbols, at);
        const unsigned char binding = ELF64_ST_BIND(symbol.st_info);
        const unsigned char visibility = ELF64_ST_VISIBILITY(symbol.st_other);
        const bool found_here = symbol.st_shndx != SHN_UNDEF && binding != STB_LOCAL &&
                                (visibility == STV_DEFAULT || visibility == STV_PROTECTED);
        const std::size_t end = symbol.st_name < strings->size()
                                    ? strings->find('\0', symbol.st_name)
                                    : std::string::npos;
        if (found_here && end != std::string::npos) {
            found.exports.insert(strings->substr(symbol.st_name, end - symbol.st_name));
        }
    }
}

std::string hexadecimal(std::string_view bytes) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    constexpr unsigned kHalf = 4;
    constexpr unsigned kMask = 15;
    std::string text;
    for (const char byte : bytes) {
        text += kDigits[static_cast<unsigned char>(byte) >> kHalf];
        text += kDigits[static_cast<unsigned char>(byte) & kMask];
    }
    return text;
}

void readNotes(const Bytes& file, const Elf64_Shdr& table, ElfFile& found) {
    constexpr std::uint64_t kAlignment = 4;
    const auto aligned = [](std::uint64_t size) {
        return (size + kAlignment - 1) / kAlignment * kAlignment;
    };
    const std::optional<std::string> notes = file.read(table.sh_offset, table.sh_size);
    for (std::uint64_t at = 0; notes && at + sizeof(Elf64_Nhdr) <= notes->size();) {
        const auto note = Bytes::recordIn<Elf64_Nhdr>(*notes, at);
        const std::uint64_t name = at + sizeof(Elf64_Nhdr);
        const std::uint64_t contents = name + aligned(note.n_namesz);
        const std::uint64_t end = contents + aligned(note.n_descsz);
        if (end > notes->size() + kAlignment || contents + note.n_descsz > notes->size()) {
            return;
        }
        const std::string_view all(*notes);
        const std::string_view noteName = all.substr(name, note.n_namesz);
        const std::string_view text = all.substr(contents, note.n_descsz);
        if (note.n_type == NT_GNU_BUILD_ID && noteName == std::string_view("GNU\0", 4)) {
            found.buildId = hexadecimal(text);
        } else if (noteName == std::string_view("WalletCaller\0", 13)) {
            found.version = text.substr(0, text.find('\0'));
        }
        at = end;
    }
}

// What the dynamic linker would say.
std::string problemOf(const Bytes& file, const std::optional<Elf64_Ehdr>& header) {
    if (file.errnum() != 0) {
        return "cannot open shared object file: " + errnoText(file.errnum());
    }
    if (!file.isRegular()) {
        return "cannot read file data";
    }
    if (!header) {
        return "file too short";
    }
    if (std::memcmp(header->e_ident, ELFMAG, SELFMAG) != 0) {
        return "invalid ELF header";
    }
    if (header->e_ident[EI_CLASS] != ELFCLASS64) {
        return "wrong ELF class: ELFCLASS32";
    }
    if (header->e_machine != EM_X86_64 || header->e_ident[EI_DATA] != ELFDATA2LSB) {
        return "cannot open shared object file: No such file or directory";
    }
    return header->e_type == ET_DYN ? "" : "only ET_DYN and ET_EXEC can be loaded";
}

}  // namespace

ElfFile readElfFile(const std::string& pathname) {
    const Bytes file(pathname);
    const std::optional<Elf64_Ehdr> header = file.record<Elf64_Ehdr>(0);
    ElfFile found;
    found.problem = problemOf(file, header);
    if (!found.problem.empty()) {
        return found;
    }
    for (std::size_t i = 0; i < header->e_shnum; ++i) {
        const std::optional<Elf64_Shdr> table = section(file, *header, i);
        if (!table) {
            continue;
        }
        if (table->sh_type == SHT_DYNSYM) {
            if (const auto names = section(file, *header, table->sh_link)) {
                readSymbols(file, *table, *names, found);
            }
        } else if (table->sh_type == SHT_NOTE) {
            readNotes(file, *table, found);
        }
    }
    return found;
}

}  // namespace Orvanta_OvWallet::Tool
