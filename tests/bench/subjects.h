// What the benchmarks and the counting of instructions run on.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "wallet/WalletTypes.h"

// A client library inside the program whose entries all have the same value of 24 bytes: the
// wrappers run as they do in a job, the wallet's own work costs next to nothing. Made once; one
// wallet stays open.
class CheapWallet {
  public:
    static Orvanta_OvWallet::Wallet* open();

    // The value of an entry, fetched without our wrappers. The caller copies it.
    static std::span<const std::uint8_t> fetchPlainly(const char* name);
};

// A URL as jobs have it.
inline constexpr const char* kUrl =
    "jdbc:orvanta://warehouse/DATABASE=sales,CHARSET=UTF8,TMODE=ANSI";

// So many bytes, with so many references spread over them evenly.
std::string textWithReferences(std::size_t size, std::size_t references);

// Expands a text by our code: the copy into locked memory and back is part of it.
void expand(const std::string& text, Orvanta_OvWallet::Wallet* wallet);

// The pool then has room for texts of 1 MiB for as long as the object lives: otherwise locking
// memory would be measured.
class RoomForTexts {
  public:
    RoomForTexts();
    ~RoomForTexts();
    RoomForTexts(const RoomForTexts&) = delete;
    RoomForTexts& operator=(const RoomForTexts&) = delete;

  private:
    std::uint8_t* block_;
};

// A memory map with so many mappings, in a file without a name.
class MapFile {
  public:
    explicit MapFile(int mappings);
    ~MapFile();
    MapFile(const MapFile&) = delete;
    MapFile& operator=(const MapFile&) = delete;

    const char* pathname() const { return pathname_.c_str(); }

    // In the last mapping.
    std::uint64_t lastAddress() const { return lastAddress_; }

  private:
    int descriptor_;
    std::string pathname_;
    std::uint64_t lastAddress_ = 0;
};

// The formatter's message of a failing call.
std::string formatFailure();
