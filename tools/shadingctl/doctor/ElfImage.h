// The sections and segments of an ELF file in memory, with every place checked before it is read.
#pragma once

#include <gelf.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace shadingctl {

struct ElfSection {
  GElf_Shdr header;
  Elf_Scn* handle;
};

// Every failure throws UnusableInput with the path, what was expected and what was found.
class ElfImage {
 public:
  ElfImage(std::string bytes, std::string path);

  GElf_Ehdr const& Header() const { return mHeader; }
  std::vector<GElf_Phdr> const& Segments() const { return mSegments; }
  std::vector<ElfSection> const& Sections() const { return mSections; }
  std::uint64_t Size() const { return mBytes->size(); }

  // The records of a section as the host reads them; never null.
  Elf_Data* Records(ElfSection const& section) const;

  // The bytes of a section as they stand in the file; empty for one that takes no room there.
  std::string_view Bytes(ElfSection const& section) const;

  // A text of the string table that a section of symbols or dynamic entries links to.
  std::string Text(ElfSection const& section, std::uint64_t offset) const;

  // Reads a Value at an address of the loaded file; nullopt where the file supplies none.
  template <typename Value>
  std::optional<Value> At(std::uint64_t address) const;

  [[noreturn]] void Fail(std::string const& problem) const;

 private:
  void ReadSegments();
  void ReadSections();
  void ExpectInside(std::uint64_t offset, std::uint64_t bytes, std::string const& what) const;
  char const* Find(std::uint64_t address, std::uint64_t bytes) const;

  std::string mPath;
  std::unique_ptr<std::string> mBytes;  // its address is the handle's
  std::unique_ptr<Elf, int (*)(Elf*)> mElf;
  GElf_Ehdr mHeader = {};
  std::vector<GElf_Phdr> mSegments;
  std::vector<ElfSection> mSections;
};

}  // namespace shadingctl
