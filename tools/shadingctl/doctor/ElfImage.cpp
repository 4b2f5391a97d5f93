#include "tools/shadingctl/doctor/ElfImage.h"

#include <fmt/format.h>

#include <cstring>
#include <utility>

#include "hosting/QuotedText.h"
#include "hosting/UnusableInput.h"

namespace shadingctl {

ElfImage::ElfImage(std::string bytes, std::string path)
    : mPath(std::move(path)), mBytes(std::make_unique<std::string>(std::move(bytes))), mElf(nullptr, elf_end) {
  if (elf_version(EV_CURRENT) == EV_NONE) Fail("libelf is too old");
  mElf.reset(elf_memory(mBytes->data(), mBytes->size()));
  if (!mElf || elf_kind(mElf.get()) != ELF_K_ELF) {
    Fail(fmt::format("expected an ELF file, found one that begins with {}",
                     hosting::Quoted(std::string_view(*mBytes).substr(0, SELFMAG))));
  }
  if (gelf_getclass(mElf.get()) != ELFCLASS64) Fail("expected a 64-bit ELF file, found a 32-bit one");
  if (gelf_getehdr(mElf.get(), &mHeader) == nullptr) Fail("expected an ELF header, found a truncated one");
  if (mHeader.e_ident[EI_DATA] != ELFDATA2LSB) Fail("expected a little-endian ELF file, found a big-endian one");
  ReadSegments();
  ReadSections();
}

void ElfImage::Fail(std::string const& problem) const {
  throw hosting::UnusableInput(fmt::format("{}: {}", mPath, problem));
}

void ElfImage::ExpectInside(std::uint64_t offset, std::uint64_t bytes, std::string const& what) const {
  if (offset <= Size() && Size() - offset >= bytes) return;
  Fail(fmt::format("truncated: {} takes {} bytes at {}, the file has {}", what, bytes, offset, Size()));
}

void ElfImage::ReadSegments() {
  ExpectInside(mHeader.e_phoff, std::uint64_t{mHeader.e_phnum} * mHeader.e_phentsize, "the table of segments");
  std::size_t count = 0;
  if (elf_getphdrnum(mElf.get(), &count) != 0) Fail("truncated: the program headers cannot be read");
  for (std::size_t i = 0; i < count; ++i) {
    GElf_Phdr segment;
    if (gelf_getphdr(mElf.get(), static_cast<int>(i), &segment) == nullptr) {
      Fail(fmt::format("truncated: program header {} of {} cannot be read", i, count));
    }
    ExpectInside(segment.p_offset, segment.p_filesz, fmt::format("segment {}", i));
    mSegments.push_back(segment);
  }
}

void ElfImage::ReadSections() {
  ExpectInside(mHeader.e_shoff, std::uint64_t{mHeader.e_shnum} * mHeader.e_shentsize, "the table of sections");
  std::size_t count = 0;
  if (elf_getshdrnum(mElf.get(), &count) != 0) Fail("truncated: the section headers cannot be read");
  if (count == 0) Fail("expected section headers, found none");
  for (std::size_t i = 0; i < count; ++i) {
    ElfSection section = {};
    section.handle = elf_getscn(mElf.get(), i);
    if (section.handle == nullptr || gelf_getshdr(section.handle, &section.header) == nullptr) {
      Fail(fmt::format("truncated: section header {} of {} cannot be read", i, count));
    }
    if (section.header.sh_type != SHT_NOBITS && section.header.sh_type != SHT_NULL) {
      ExpectInside(section.header.sh_offset, section.header.sh_size, fmt::format("section {}", i));
    }
    mSections.push_back(section);
  }
}

Elf_Data* ElfImage::Records(ElfSection const& section) const {
  Elf_Data* const data = elf_getdata(section.handle, nullptr);
  if (data == nullptr) Fail(fmt::format("section {} cannot be read: {}", elf_ndxscn(section.handle), elf_errmsg(-1)));
  return data;
}

std::string_view ElfImage::Bytes(ElfSection const& section) const {
  if (section.header.sh_type == SHT_NOBITS || section.header.sh_type == SHT_NULL) return {};
  return std::string_view(*mBytes).substr(section.header.sh_offset, section.header.sh_size);
}

std::string ElfImage::Text(ElfSection const& section, std::uint64_t offset) const {
  char const* const text = elf_strptr(mElf.get(), section.header.sh_link, offset);
  if (text == nullptr) {
    Fail(fmt::format("section {} names a text at {} that is not there", elf_ndxscn(section.handle), offset));
  }
  return text;
}

char const* ElfImage::Find(std::uint64_t address, std::uint64_t bytes) const {
  for (GElf_Phdr const& segment : mSegments) {
    if (segment.p_type != PT_LOAD || address < segment.p_vaddr) continue;
    std::uint64_t const offset = address - segment.p_vaddr;
    if (offset <= segment.p_filesz && segment.p_filesz - offset >= bytes) {
      return mBytes->data() + segment.p_offset + offset;
    }
  }
  return nullptr;
}

template <typename Value>
std::optional<Value> ElfImage::At(std::uint64_t address) const {
  char const* const place = Find(address, sizeof(Value));
  if (place == nullptr) return std::nullopt;
  Value value;
  std::memcpy(&value, place, sizeof value);
  return value;
}

template std::optional<std::uint32_t> ElfImage::At(std::uint64_t address) const;
template std::optional<std::uint64_t> ElfImage::At(std::uint64_t address) const;

}  // namespace shadingctl
