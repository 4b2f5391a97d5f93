// The parts of an ELF shared object that the checks need. None of its code is run.
#pragma once

#include <elf.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace shadingctl {

// A symbol that the file exports.
struct ElfExport {
  std::string name;  // mangled, without a version
  std::uint64_t address = 0;
  std::uint64_t bytes = 0;
  std::optional<std::uint32_t> firstInstruction;  // the first 4 bytes of a function
};

// What the loader writes into one pointer: the address of `symbol`, or, where that is empty, `address` in this file.
struct ElfPointer {
  std::string symbol;
  std::uint64_t address = 0;
};

// Larger than any table of operations; the size in a file may be arbitrary.
constexpr std::uint64_t kMaximumTableBytes = 4096;

struct ElfFile {
  unsigned int machine = EM_NONE;  // EM_X86_64 or EM_AARCH64
  std::string soname;              // empty: none
  std::vector<std::string> needed;
  std::vector<ElfExport> exports;
  std::vector<std::string> imports;
  std::vector<Elf64_Phdr> segments;           // one of type PT_LOAD at least
  bool bindsNow = false;                      // every symbol is bound at load
  bool relocatesCode = false;                 // the loader has to write into code
  std::string buildId;                        // hexadecimal; empty: none
  std::uint32_t branchFeatures = 0;           // GNU property of the processor: bits of kBranchFeatures
  std::map<std::uint64_t, ElfPointer> table;  // by address: the pointers in the object that ReadElf was asked for

  // The export with this mangled name; null where there is none.
  ElfExport const* Find(std::string const& name) const;
};

// Of ElfFile::branchFeatures, by processor: indirect-branch tracking and shadow stack, or BTI and PAC.
constexpr std::uint32_t kBranchFeatures = 3;

// Parses the content of a file; `tableName` is the mangled name of the object whose pointers are wanted. Throws
// UnusableInput, which names `path`, unless it is a complete 64-bit little-endian shared object for x86-64 or AArch64.
ElfFile ReadElf(std::string bytes, std::string const& path, std::string const& tableName);

}  // namespace shadingctl
