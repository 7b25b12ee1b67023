// The few file operations of the sandbox wallet, on whole small files.
//
// All of them throw Failure (fileTrouble) with the pathname and the reason. None keeps state; any
// thread may call them. No file descriptor is left open across a return or an exception, but for
// the one that a FileDescriptor owns.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace Orvanta_OvWallet::Sandbox {

// Owner of one file descriptor; -1 means none.
class FileDescriptor {
  public:
    explicit FileDescriptor(int number = -1) : number_(number) {}
    FileDescriptor(FileDescriptor&& other) noexcept;
    FileDescriptor& operator=(FileDescriptor&& other) noexcept;
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    ~FileDescriptor();

    int number() const { return number_; }
    bool isOpen() const { return number_ >= 0; }

  private:
    int number_;
};

std::string errnoText(int number);

// Throws "Cannot ACTION "PATHNAME": REASON."
[[noreturn]] void throwFileTrouble(std::string_view action, const std::string& pathname,
                                   int errorNumber);

// The whole content; nothing when there is no such file.
std::optional<std::string> readFile(const std::string& pathname);

// Puts the text into a new file of mode 0600 beside the old one, then renames it over the old one:
// whoever reads sees the old text or the new one, whole.
void replaceFile(const std::string& pathname, std::string_view text);

// Appends the text in one write; does nothing when there is no such file.
void appendToFileIfPresent(const std::string& pathname, std::string_view text);

// Removes the file; false when there was none.
bool removeFile(const std::string& pathname);

// Makes the directory with mode 0700 unless it is there. Its parent must exist.
void makePrivateDirectory(const std::string& pathname);

// Holds an exclusive lock on the directory for as long as the result lives. Processes and threads
// exclude each other alike.
FileDescriptor lockDirectory(const std::string& pathname);

// Writes everything, however often the system takes only a part; false when it fails (see errno).
bool writeAll(int fileDescriptor, std::string_view text);

}  // namespace Orvanta_OvWallet::Sandbox
