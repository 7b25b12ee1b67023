#include "session/ModuleLocator.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "doubles/PrivateModuleDir.h"
#include "doubles/SystemCalls.h"
#include "doubles/TemporaryDirectory.h"
#include "doubles/thrown.h"
#include "support/OvWalletException.h"

namespace Orvanta_OvWallet {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;

constexpr const char* kEmptyPathname =
    "Attempt to locate the current module using dl_iterate_phdr() yielded an empty pathname.";

constexpr const char* kNoSuchFile = "failed: \"/no/such/file\" does not name an existing file.";

std::string locate() {
    return outcomeOf<OvWalletException>(ModuleLocator);
}

std::string noLinkIn(std::string directory) {
    directory.resize(directory.find_last_not_of('/') + 1);
    return "failed: The ovwalletdir symbolic link is not present in \"" + directory + "\".";
}

// Replaces what the process reads in "/proc/self/maps".
class MemoryMap {
  public:
    static void isMissing() {
        systemCalls().open = [](const char* path, int flags, mode_t mode) {
            if (std::strcmp(path, "/proc/self/maps") == 0) {
                errno = ENOENT;
                return -1;
            }
            return real::open(path, flags, mode);
        };
    }

    // Every occurrence of from in the real map is replaced.
    void shows(const std::string& from, const std::string& to) {
        std::string content;
        std::FILE* const map = real::fopen("/proc/self/maps", "r");
        for (int c = std::fgetc(map); c != EOF; c = std::fgetc(map)) {
            content += static_cast<char>(c);
        }
        std::fclose(map);
        for (std::size_t at = content.find(from); at != std::string::npos;
             at = content.find(from, at + to.size())) {
            content.replace(at, from.size(), to);
        }
        is(content);
    }

    void is(const std::string& content) {
        writeFile(directory_ / "maps", content);
        systemCalls().open = [this](const char* path, int flags, mode_t mode) {
            const bool isMap = std::strcmp(path, "/proc/self/maps") == 0;
            return real::open(isMap ? (directory_ / "maps").c_str() : path, flags, mode);
        };
    }

  private:
    const TemporaryDirectory directory_;
};

// Lets the dynamic linker give this name to the module that holds our code.
void linkerNames(const char* name) {
    systemCalls().dl_iterate_phdr = [name](int (*visit)(dl_phdr_info*, std::size_t, void*),
                                           void* data) {
        struct Walk {
            int (*visit)(dl_phdr_info*, std::size_t, void*);
            void* data;
            const char* name;
        } walk{visit, data, name};
        return real::dl_iterate_phdr(
            [](dl_phdr_info* info, std::size_t size, void* context) {
                const Walk& outer = *static_cast<Walk*>(context);
                dl_phdr_info renamed = *info;
                if (info->dlpi_name[0] == '\0') {
                    renamed.dlpi_name = outer.name;
                }
                return outer.visit(&renamed, size, outer.data);
            },
            &walk);
    };
}

std::string program() {
    return fs::read_symlink("/proc/self/exe");
}

class ModuleLocatorTest : public testing::Test {
  protected:
    ModuleLocatorTest() {
        fs::create_directories(base_ / "orvanta/client/ovwallet");
        linkInstallation(base_.pathname());
    }

    const TemporaryDirectory base_;
    const std::string clientDir_ = base_ / "orvanta/client";
    MemoryMap map_;
};

TEST_F(ModuleLocatorTest, FindsItsModuleInTheMemoryMap) {
    systemCalls().dl_iterate_phdr = [](auto, void*) {
        ADD_FAILURE() << "the linker is not asked";
        return 0;
    };
    EXPECT_EQ(locate(), clientDir_);
}

TEST_F(ModuleLocatorTest, SearchesAgainWithEachCallAndFillsTheSameString) {
    const std::string* const first = &ModuleLocator();
    const TemporaryDirectory other;
    fs::create_directories(other / "orvanta/client/ovwallet");
    linkInstallation(other.pathname());
    EXPECT_EQ(&ModuleLocator(), first);
    EXPECT_EQ(*first, other / "orvanta/client");
}

TEST_F(ModuleLocatorTest, LooksNowhereWhenItIsSwitchedOff) {
    moduleLocationEnabled = false;
    MemoryMap::isMissing();
    systemCalls().dl_iterate_phdr = [](auto, void*) {
        ADD_FAILURE() << "the linker is not asked";
        return 0;
    };
    EXPECT_EQ(locate(), "");
}

TEST_F(ModuleLocatorTest, ReturnsWhatItFoundBeforeItWasSwitchedOff) {
    locate();
    moduleLocationEnabled = false;
    linkInstallation("/nowhere");
    EXPECT_EQ(locate(), clientDir_);
}

TEST_F(ModuleLocatorTest, FindsAModuleInADirectoryWithBlanks) {
    const TemporaryDirectory directory;
    const std::string module = directory / "with two blanks/lib so";
    writeFile(module, "");
    fs::create_symlink(base_ / "orvanta/client/ovwallet",
                       directory / "with two blanks/ovwalletdir");
    map_.shows(program(), module);
    EXPECT_EQ(locate(), clientDir_);
}

TEST_F(ModuleLocatorTest, SkipsLinesThatAreNoMappingsOfFiles) {
    map_.is(
        "0-ffffffffffffffff r-xp 0 0:0 0 [stack]\n"
        "0-ffffffffffffffff r-xp 0 0:0 0 \n"
        "\n"
        "no mapping /bin/sh\n"
        "0-1 r-xp 0 0:0 0 /bin/sh\n"
        "fffffffffffffff0-ffffffffffffffff r-xp 0 0:0 0 /bin/sh\n"
        "1-ffffffffffffffff r-xp 0 0:0 0 " +
        program() + "\n");
    EXPECT_EQ(locate(), clientDir_);
}

TEST_F(ModuleLocatorTest, TakesTheFirstMappingThatCoversIt) {
    map_.is("0-ffffffffffffffff r-xp 0 0:0 0 " + program() +
            "\n0-ffffffffffffffff r-xp 0 0:0 0 /bin/sh\n");
    EXPECT_EQ(locate(), clientDir_);
}

TEST_F(ModuleLocatorTest, ReadsNoFurtherLinesAfterAFailure) {
    linkerNames("");
    map_.is("0-ffffffffffffffff r-xp 0 0:0 0 /no/such/file\n0-ffffffffffffffff r-xp 0 0:0 0 " +
            program() + "\n");
    EXPECT_EQ(locate(), kNoSuchFile);
}

TEST_F(ModuleLocatorTest, FallsBackToTheLinkerForADeletedFile) {
    map_.shows(program(), program() + " (deleted)");
    EXPECT_EQ(locate(), "failed: \"" + program() + " (deleted)\" does not name an existing file.")
        << "the linker has no name for a program";
    const std::string name = program();
    linkerNames(name.c_str());
    EXPECT_EQ(locate(), clientDir_);
}

TEST_F(ModuleLocatorTest, FallsBackToTheLinkerWithoutAMemoryMap) {
    MemoryMap::isMissing();
    const std::string name = program();
    linkerNames(name.c_str());
    EXPECT_EQ(locate(), clientDir_);
}

TEST_F(ModuleLocatorTest, FallsBackToTheLinkerForAMapWithoutAMatch) {
    map_.is("0-1 r-xp 0 0:0 0 " + program() + "\n");
    const std::string name = program();
    linkerNames(name.c_str());
    EXPECT_EQ(locate(), clientDir_);
}

TEST_F(ModuleLocatorTest, ThrowsTheLinkersOwnMessageWhenBothNamesFail) {
    map_.shows(program(), "/no/such/file");
    linkerNames("/no/other/file");
    EXPECT_EQ(locate(), "failed: \"/no/other/file\" does not name an existing file.");
}

TEST_F(ModuleLocatorTest, ThrowsTheLinkersMessageForTheSamePathname) {
    fs::remove(privateModuleDir() + "ovwalletdir");
    const std::string name = program();
    linkerNames(name.c_str());
    std::vector<std::string> links;
    systemCalls().readlink = [&](const char* path, char* buffer, std::size_t size) {
        links.push_back(path);
        return real::readlink(path, buffer, size);
    };
    EXPECT_EQ(locate(), noLinkIn(privateModuleDir()));
    const std::string link = privateModuleDir() + "ovwalletdir";
    EXPECT_THAT(links, ElementsAre(name, link, name, link)) << "the second pass ran";
}

TEST_F(ModuleLocatorTest, ThrowsTheMapsMessageWhenTheLinkerHasNoName) {
    fs::remove(privateModuleDir() + "ovwalletdir");
    EXPECT_EQ(locate(), noLinkIn(privateModuleDir()));
}

TEST_F(ModuleLocatorTest, SaysSoWhenTheLinkerHasNoNameAndNothingElseIsKnown) {
    MemoryMap::isMissing();
    EXPECT_EQ(locate(), std::string("failed: ") + kEmptyPathname);
}

TEST_F(ModuleLocatorTest, SaysSoWhenTheLinkerKnowsNoSuchModule) {
    map_.shows(program(), "/no/such/file");
    systemCalls().dl_iterate_phdr = [](int (*visit)(dl_phdr_info*, std::size_t, void*),
                                       void* data) {
        ElfW(Phdr) segment{};
        segment.p_vaddr = 0x1000;
        segment.p_memsz = 0x1000;
        dl_phdr_info elsewhere{};
        elsewhere.dlpi_name = "/elsewhere";
        elsewhere.dlpi_phdr = &segment;
        elsewhere.dlpi_phnum = 1;
        return visit(&elsewhere, sizeof elsewhere, data);
    };
    EXPECT_EQ(locate(),
              "failed: Attempt to locate the current module using dl_iterate_phdr() failed.");
}

TEST_F(ModuleLocatorTest, CountsSegmentsOfAnyTypeFromTheModulesBase) {
    MemoryMap::isMissing();
    systemCalls().dl_iterate_phdr = [](int (*visit)(dl_phdr_info*, std::size_t, void*),
                                       void* data) {
        ElfW(Phdr) segments[2]{};
        segments[0].p_memsz = 1;
        segments[1].p_type = PT_NOTE;
        segments[1].p_vaddr = 1;
        segments[1].p_memsz = ~ElfW(Xword){0} - 0x1001;
        dl_phdr_info info{};
        info.dlpi_addr = 0x1000;
        info.dlpi_name = "/no/such/file";
        info.dlpi_phdr = segments;
        info.dlpi_phnum = 2;
        return visit(&info, sizeof info, data);
    };
    EXPECT_EQ(locate(), kNoSuchFile);
}

// The linker knows one module, with these segments from address 0.
void linkerKnows(const std::vector<ElfW(Phdr)>& segments, std::size_t count) {
    systemCalls().dl_iterate_phdr = [=](int (*visit)(dl_phdr_info*, std::size_t, void*),
                                        void* data) {
        dl_phdr_info module{};
        module.dlpi_name = "/no/such/file";
        module.dlpi_phdr = segments.data();
        module.dlpi_phnum = static_cast<ElfW(Half)>(count);
        return visit(&module, sizeof module, data);
    };
}

ElfW(Phdr) segment(ElfW(Addr) begin, ElfW(Addr) end) {
    ElfW(Phdr) header{};
    header.p_vaddr = begin;
    header.p_memsz = end - begin;
    return header;
}

constexpr ElfW(Addr) kLastAddress = ~ElfW(Addr){0};

TEST_F(ModuleLocatorTest, LooksAtTheFirstSegmentAndNotAfterTheLast) {
    MemoryMap::isMissing();
    linkerKnows({segment(0, kLastAddress)}, 1);
    EXPECT_EQ(locate(), kNoSuchFile);
    linkerKnows({segment(0, 0), segment(0, kLastAddress)}, 1);
    EXPECT_EQ(locate(),
              "failed: Attempt to locate the current module using dl_iterate_phdr() failed.");
}

// The code's address is where the shortest range that covers it from below ends and the shortest
// one from above begins. Fails unless ranges hold their first address and not the one after them.
template <typename IsCovered>
void expectExactRanges(const IsCovered& isCovered) {
    ElfW(Addr) highestBegin = 0;
    ElfW(Addr) lowestEnd = kLastAddress;
    for (ElfW(Addr) step = ElfW(Addr){1} << 63; step != 0; step >>= 1) {
        if (isCovered(highestBegin + step, kLastAddress)) {
            highestBegin += step;
        }
        if (lowestEnd > step && isCovered(0, lowestEnd - step)) {
            lowestEnd -= step;
        }
    }
    EXPECT_EQ(lowestEnd, highestBegin + 1);
}

TEST_F(ModuleLocatorTest, TakesSegmentsExactly) {
    MemoryMap::isMissing();
    expectExactRanges([](ElfW(Addr) begin, ElfW(Addr) end) {
        linkerKnows({segment(begin, end)}, 1);
        return locate() == kNoSuchFile;
    });
}

TEST_F(ModuleLocatorTest, TakesMappingsExactly) {
    expectExactRanges([this](ElfW(Addr) begin, ElfW(Addr) end) {
        std::ostringstream line;
        line << std::hex << begin << '-' << end << " r-xp 0 0:0 0 /no/such/file\n";
        map_.is(line.str());
        return locate() == kNoSuchFile;
    });
}

TEST_F(ModuleLocatorTest, LetsAMissingInstallationPassWithoutAskingTheLinker) {
    systemCalls().dl_iterate_phdr = [](auto, void*) {
        ADD_FAILURE() << "the linker is not asked";
        return 0;
    };
    systemCalls().getuid = [] { return uid_t{1}; };
    systemCalls().geteuid = [] { return uid_t{2}; };
    EXPECT_THROW(ModuleLocator(), NotInstalledException);
}

// The real thing: a shared module, loaded by the dynamic loader from a directory of its own.
class LoadedModule : public testing::Test {
  protected:
    LoadedModule() {
        fs::create_directories(base_ / "orvanta/client/ovwallet");
        fs::create_directories(privateDir_);
        fs::copy_file(SESSION_TEST_MODULE, module_);
        handle_ = real::dlopen(module_.c_str(), RTLD_NOW);
        if (handle_ == nullptr) {
            throw std::runtime_error(real::dlerror());
        }
    }
    ~LoadedModule() override { real::dlclose(handle_); }

    std::string locate(bool withMemoryMap) {
        using Function = void (*)(bool, char*, std::size_t);
        char text[8192];
        reinterpret_cast<Function>(real::dlsym(handle_, "locateModule"))(withMemoryMap, text,
                                                                         sizeof text);
        return text;
    }

    void linkWallet() {
        fs::create_symlink(base_ / "orvanta/client/ovwallet", privateDir_ + "/ovwalletdir");
    }

    const TemporaryDirectory base_;
    const TemporaryDirectory directory_;
    const std::string privateDir_ = directory_ / "private dir";
    const std::string module_ = privateDir_ + "/lib module.so";
    const std::string clientDir_ = base_ / "orvanta/client";

  private:
    void* handle_ = nullptr;
};

TEST_F(LoadedModule, IsFoundThroughTheMemoryMap) {
    linkWallet();
    EXPECT_EQ(locate(true), clientDir_);
}

TEST_F(LoadedModule, IsFoundThroughTheLinkerAlone) {
    linkWallet();
    EXPECT_EQ(locate(false), clientDir_);
}

TEST_F(LoadedModule, IsNotMistakenForTheProgram) {
    linkInstallation("/nowhere");
    EXPECT_EQ(locate(true), noLinkIn(privateDir_));
    EXPECT_EQ(locate(false), noLinkIn(privateDir_));
}

TEST_F(LoadedModule, IsFoundNoMoreAfterItsFileWasRemoved) {
    linkWallet();
    fs::remove(module_);
    EXPECT_EQ(locate(true), "failed: \"" + module_ + "\" does not name an existing file.")
        << "the linker's name follows the marked one of the map";
}

}  // namespace
}  // namespace Orvanta_OvWallet
