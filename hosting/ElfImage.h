// An ELF shared object in memory, with every place checked before it is read. None of its code is run.
#pragma once

#include <elf.h>

#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace hosting {

constexpr std::size_t kLargestLibraryBytes = std::size_t{256} << 20U;  // one with its debug information takes some MiB

// Every failure throws UnusableInput with the path, what was expected and what was found.
class ElfImage {
 public:
  // Throws unless the bytes are a 64-bit little-endian shared object that is as long as its segments say.
  ElfImage(std::string bytes, std::string path);

  // Throws unless this process can load the file: a regular one, whole, and for this processor. Its sections are not
  // read. The loader would be killed by a signal at the first missing page.
  static void ExpectLoadable(std::string const& path);

  // Loaders ignore sections: they can be read after this call, which throws where they are missing or cut.
  void ReadSections();

  Elf64_Ehdr const& Header() const { return mHeader; }
  std::vector<Elf64_Phdr> const& Segments() const { return mSegments; }
  std::vector<Elf64_Shdr> const& Sections() const { return mSections; }
  std::uint64_t Size() const { return mBytes.size(); }

  // The bytes of a section as they stand in the file; empty for one that takes no room there.
  std::string_view Bytes(Elf64_Shdr const& section) const;

  // The whole records of a section.
  template <class Record>
  std::vector<Record> Records(Elf64_Shdr const& section) const {
    return Copy<Record>(section.sh_offset, Bytes(section).size() / sizeof(Record));
  }

  template <class Record>
  std::optional<Record> RecordAt(Elf64_Shdr const& section, std::uint64_t index) const {
    if (index >= Bytes(section).size() / sizeof(Record)) return std::nullopt;
    return Copy<Record>(section.sh_offset + index * sizeof(Record), 1).front();
  }

  // A text of the string table that a section of symbols or dynamic entries links to, cut after kLongestName.
  std::string Text(Elf64_Shdr const& section, std::uint64_t offset) const;

  // Reads a Value at an address of the loaded file; nullopt where the file supplies none.
  template <class Value>
  std::optional<Value> At(std::uint64_t address) const {
    auto const offset = OffsetOf(address, sizeof(Value));
    if (!offset) return std::nullopt;
    return Copy<Value>(*offset, 1).front();
  }

  [[noreturn]] void Fail(std::string const& problem) const;

 private:
  static constexpr std::size_t kLongestName = 1024;  // several times that of any name of the interface

  void ExpectInside(std::uint64_t offset, std::uint64_t bytes, std::string const& what) const;
  std::optional<std::uint64_t> OffsetOf(std::uint64_t address, std::uint64_t bytes) const;

  // Requires: the records lie inside.
  template <class Record>
  std::vector<Record> Copy(std::uint64_t offset, std::size_t count) const {
    std::vector<Record> records(count);
    if (count > 0) std::memcpy(records.data(), mBytes.data() + offset, count * sizeof(Record));
    return records;
  }

  std::string mPath;
  std::string mBytes;
  Elf64_Ehdr mHeader = {};
  std::vector<Elf64_Phdr> mSegments;
  std::vector<Elf64_Shdr> mSections;
};

// "x86-64", "AArch64", "ELF machine 243"
std::string ProcessorName(unsigned int machine);

}  // namespace hosting
