#include "hosting/LibraryFile.h"

#include <elf.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <link.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <system_error>
#include <vector>

#include "hosting/FileDescriptor.h"
#include "hosting/QuotedText.h"
#include "hosting/UnusableInput.h"

namespace hosting {
namespace {

// The formats of this process.
#if defined(__x86_64__)
constexpr unsigned int kMachine = EM_X86_64;
#elif defined(__aarch64__)
constexpr unsigned int kMachine = EM_AARCH64;
#else
#error "name this processor's machine number in an ELF header"
#endif
constexpr unsigned char kClass = sizeof(void*) == 8 ? ELFCLASS64 : ELFCLASS32;
constexpr unsigned char kByteOrder = ELFDATA2LSB;

std::string ProcessorName(unsigned int machine, unsigned char bits, unsigned char byteOrder) {
  std::string const name = machine == EM_X86_64    ? "x86-64"
                           : machine == EM_AARCH64 ? "AArch64"
                                                   : fmt::format("machine {}", machine);
  return fmt::format("{} ({}-bit, {})", name, bits == ELFCLASS64 ? 64 : 32,
                     byteOrder == ELFDATA2LSB ? "little-endian" : "big-endian");
}

class LibraryFile {
 public:
  explicit LibraryFile(std::string const& path)
      : mPath(path), mFile(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {
    struct stat status = {};
    if (!mFile || fstat(mFile.Number(), &status) != 0) {
      Refuse(fmt::format("cannot be read: {}", std::generic_category().message(errno)));
    }
    if (!S_ISREG(status.st_mode)) Refuse("is no library: expected a regular file");
    mSize = static_cast<std::uint64_t>(status.st_size);
  }

  void Check() const {
    ElfW(Ehdr) head = {};
    auto const headSize = static_cast<std::size_t>(Read(&head, sizeof head, 0));
    std::string_view const beginning(reinterpret_cast<char const*>(&head), std::min<std::size_t>(headSize, SELFMAG));
    if (beginning != std::string_view(ELFMAG, SELFMAG)) {
      Refuse(fmt::format("is no library: expected an ELF file, found one that begins with {}", Quoted(beginning)));
    }
    if (headSize < sizeof head) RefuseCut(sizeof head);
    if (head.e_ident[EI_CLASS] != kClass || head.e_ident[EI_DATA] != kByteOrder || head.e_machine != kMachine) {
      Refuse(fmt::format("is a library for another processor: expected {}, found {}",
                         ProcessorName(kMachine, kClass, kByteOrder),
                         ProcessorName(head.e_machine, head.e_ident[EI_CLASS], head.e_ident[EI_DATA])));
    }
    if (head.e_type != ET_DYN) {
      Refuse(fmt::format("is no shared object: expected an ELF file of type {}, found one of type {}", ET_DYN,
                         static_cast<unsigned int>(head.e_type)));
    }
    if (head.e_phentsize != sizeof(ElfW(Phdr))) {
      Refuse(fmt::format("is no shared object: expected program headers of {} bytes, found {}", sizeof(ElfW(Phdr)),
                         static_cast<unsigned int>(head.e_phentsize)));
    }
    CheckSegments(head);
  }

 private:
  void CheckSegments(ElfW(Ehdr) const& head) const {
    std::vector<ElfW(Phdr)> segments(head.e_phnum);
    std::size_t const size = segments.size() * sizeof(ElfW(Phdr));
    if (Read(segments.data(), size, head.e_phoff) != static_cast<ssize_t>(size)) RefuseCut(head.e_phoff + size);
    bool isLoaded = false;
    for (ElfW(Phdr) const& segment : segments) {
      isLoaded = isLoaded || segment.p_type == PT_LOAD;
      bool const isInside = segment.p_offset <= mSize && mSize - segment.p_offset >= segment.p_filesz;
      bool const isRead = segment.p_type == PT_LOAD || segment.p_type == PT_DYNAMIC;
      if (isRead && !isInside) RefuseCut(segment.p_offset + segment.p_filesz);
    }
    if (!isLoaded) Refuse("is no shared object: it has nothing to load");
  }

  ssize_t Read(void* bytes, std::size_t size, std::uint64_t offset) const {
    return offset > INT64_MAX ? -1 : pread(mFile.Number(), bytes, size, static_cast<off_t>(offset));
  }

  [[noreturn]] void RefuseCut(std::uint64_t expected) const {
    Refuse(fmt::format("is cut: expected at least {} bytes, found {}", expected, mSize));
  }

  [[noreturn]] void Refuse(std::string const& reason) const {
    throw UnusableInput(fmt::format("{}: {}", mPath, reason));
  }

  std::string const mPath;
  FileDescriptor mFile;
  std::uint64_t mSize = 0;
};

}  // namespace

void CheckLibraryFile(std::string const& path) { LibraryFile(path).Check(); }

}  // namespace hosting
