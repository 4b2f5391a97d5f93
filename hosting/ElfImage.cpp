#include "hosting/ElfImage.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <utility>

#include "hosting/QuotedText.h"
#include "hosting/UnusableInput.h"

namespace hosting {
namespace {

#if defined(__x86_64__)
constexpr unsigned int kThisMachine = EM_X86_64;
#elif defined(__aarch64__)
constexpr unsigned int kThisMachine = EM_AARCH64;
#else
#error "name this processor's machine number in an ELF header"
#endif

std::string ReadRegularFile(std::string const& path) {
  auto const refuse = [&](std::string const& reason) { throw UnusableInput(fmt::format("{}: {}", path, reason)); };
  std::error_code failure;
  bool const isRegular = std::filesystem::is_regular_file(path, failure);
  if (!failure && !isRegular) refuse("is no library: expected a regular file");
  std::ifstream file(path, std::ios::binary);
  auto const size = std::filesystem::file_size(path, failure);
  if (!file || failure) refuse(fmt::format("cannot be read: {}", std::generic_category().message(errno)));
  if (size > kLargestLibraryBytes)
    refuse(fmt::format("expected at most {} bytes, found {}", kLargestLibraryBytes, size));
  std::string bytes(size, '\0');
  file.read(bytes.data(), static_cast<std::streamsize>(size));
  if (file.bad()) refuse(fmt::format("cannot be read: {}", std::generic_category().message(errno)));
  bytes.resize(static_cast<std::size_t>(file.gcount()));
  return bytes;
}

}  // namespace

std::string ProcessorName(unsigned int machine) {
  if (machine == EM_X86_64) return "x86-64";
  if (machine == EM_AARCH64) return "AArch64";
  return fmt::format("ELF machine {}", machine);
}

ElfImage::ElfImage(std::string bytes, std::string path) : mPath(std::move(path)), mBytes(std::move(bytes)) {
  std::string_view const beginning = std::string_view(mBytes).substr(0, SELFMAG);
  if (beginning != std::string_view(ELFMAG, SELFMAG)) {
    Fail(fmt::format("is no library: expected an ELF file, found one that begins with {}", Quoted(beginning)));
  }
  ExpectInside(0, sizeof mHeader, "the header");
  mHeader = Copy<Elf64_Ehdr>(0, 1).front();
  if (mHeader.e_ident[EI_CLASS] != ELFCLASS64 || mHeader.e_ident[EI_DATA] != ELFDATA2LSB) {
    Fail(fmt::format("is a library for another processor: expected 64 bits, little-endian, found {} bits, {}-endian",
                     mHeader.e_ident[EI_CLASS] == ELFCLASS64 ? 64 : 32,
                     mHeader.e_ident[EI_DATA] == ELFDATA2LSB ? "little" : "big"));
  }
  if (mHeader.e_type != ET_DYN) {
    Fail(fmt::format("is no shared object: expected an ELF file of type {}, found one of type {}", ET_DYN,
                     mHeader.e_type));
  }
  if (mHeader.e_phentsize != sizeof(Elf64_Phdr)) {
    Fail(fmt::format("is no shared object: expected program headers of {} bytes, found {}", sizeof(Elf64_Phdr),
                     mHeader.e_phentsize));
  }
  ExpectInside(mHeader.e_phoff, mHeader.e_phnum * sizeof(Elf64_Phdr), "the table of segments");
  mSegments = Copy<Elf64_Phdr>(mHeader.e_phoff, mHeader.e_phnum);
  bool isLoaded = false;
  for (Elf64_Phdr const& segment : mSegments) {
    isLoaded = isLoaded || segment.p_type == PT_LOAD;
    if (segment.p_type != PT_NULL) ExpectInside(segment.p_offset, segment.p_filesz, "a segment");
  }
  if (!isLoaded) Fail("is no shared object: it has nothing to load");
}

void ElfImage::ExpectLoadable(std::string const& path) {
  ElfImage const image(ReadRegularFile(path), path);
  if (image.mHeader.e_machine == kThisMachine) return;
  image.Fail(fmt::format("is a library for another processor: expected {}, found {}", ProcessorName(kThisMachine),
                         ProcessorName(image.mHeader.e_machine)));
}

void ElfImage::ReadSections() {
  if (mHeader.e_shnum == 0 || mHeader.e_shentsize != sizeof(Elf64_Shdr)) {
    Fail(fmt::format("expected section headers of {} bytes, found {} of {}", sizeof(Elf64_Shdr), mHeader.e_shnum,
                     mHeader.e_shentsize));
  }
  ExpectInside(mHeader.e_shoff, mHeader.e_shnum * sizeof(Elf64_Shdr), "the table of sections");
  mSections = Copy<Elf64_Shdr>(mHeader.e_shoff, mHeader.e_shnum);
  std::uint64_t all = 0;
  for (Elf64_Shdr const& section : mSections) {
    if (section.sh_type == SHT_NOBITS || section.sh_type == SHT_NULL) continue;
    ExpectInside(section.sh_offset, section.sh_size, "a section");
    all += section.sh_size;
    if (all > Size()) Fail("expected sections that do not overlap, found more of them than the file holds");
  }
}

void ElfImage::Fail(std::string const& problem) const { throw UnusableInput(fmt::format("{}: {}", mPath, problem)); }

void ElfImage::ExpectInside(std::uint64_t offset, std::uint64_t bytes, std::string const& what) const {
  if (offset <= Size() && Size() - offset >= bytes) return;
  Fail(fmt::format("is cut: expected at least {} bytes at {} for {}, found {} in all", bytes, offset, what, Size()));
}

std::string_view ElfImage::Bytes(Elf64_Shdr const& section) const {
  if (section.sh_type == SHT_NOBITS || section.sh_type == SHT_NULL) return {};
  return std::string_view(mBytes).substr(section.sh_offset, section.sh_size);
}

std::string ElfImage::Text(Elf64_Shdr const& section, std::uint64_t offset) const {
  std::string_view const table =
      section.sh_link < mSections.size() ? Bytes(mSections[section.sh_link]) : std::string_view();
  std::size_t const end = offset < table.size() ? table.find('\0', offset) : std::string_view::npos;
  if (end == std::string_view::npos) Fail(fmt::format("expected a text at {} of a table of texts, found none", offset));
  return std::string(table.substr(offset, std::min(end - offset, kLongestName)));
}

std::optional<std::uint64_t> ElfImage::OffsetOf(std::uint64_t address, std::uint64_t bytes) const {
  for (Elf64_Phdr const& segment : mSegments) {
    if (segment.p_type != PT_LOAD || address < segment.p_vaddr) continue;
    std::uint64_t const offset = address - segment.p_vaddr;
    if (offset <= segment.p_filesz && segment.p_filesz - offset >= bytes) return segment.p_offset + offset;
  }
  return std::nullopt;
}

}  // namespace hosting
