#include "tools/shadingctl/doctor/ElfFile.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cstring>
#include <string_view>
#include <utility>

#include "hosting/ElfImage.h"

namespace shadingctl {
namespace {

using hosting::ElfImage;

void ReadDynamic(ElfImage const& image, Elf64_Shdr const& section, ElfFile& file) {
  for (auto const& entry : image.Records<Elf64_Dyn>(section)) {
    if (entry.d_tag == DT_NULL) return;
    std::uint64_t const value = entry.d_un.d_val;
    if (entry.d_tag == DT_SONAME) file.soname = image.Text(section, value);
    if (entry.d_tag == DT_NEEDED) file.needed.push_back(image.Text(section, value));
    if (entry.d_tag == DT_TEXTREL || (entry.d_tag == DT_FLAGS && (value & DF_TEXTREL) != 0)) file.relocatesCode = true;
    if (entry.d_tag == DT_BIND_NOW || (entry.d_tag == DT_FLAGS && (value & DF_BIND_NOW) != 0) ||
        (entry.d_tag == DT_FLAGS_1 && (value & DF_1_NOW) != 0)) {
      file.bindsNow = true;
    }
  }
}

void ReadSymbols(ElfImage const& image, Elf64_Shdr const& section, ElfFile& file) {
  for (auto const& symbol : image.Records<Elf64_Sym>(section)) {
    if (ELF64_ST_BIND(symbol.st_info) == STB_LOCAL) continue;  // the first one is too
    std::string name = image.Text(section, symbol.st_name);
    if (symbol.st_shndx == SHN_UNDEF) {
      file.imports.push_back(std::move(name));
      continue;
    }
    if (symbol.st_shndx == SHN_ABS) continue;  // names a version or a place, not code or data
    ElfExport offered = {std::move(name), symbol.st_value, symbol.st_size, std::nullopt};
    if (ELF64_ST_TYPE(symbol.st_info) == STT_FUNC) offered.firstInstruction = image.At<std::uint32_t>(symbol.st_value);
    file.exports.push_back(std::move(offered));
  }
}

// A property is its type and size, 4 bytes each, and its value, padded to 8 bytes.
void ReadProperties(std::string_view properties, ElfFile& file) {
  std::uint32_t const wanted =
      file.machine == EM_AARCH64 ? GNU_PROPERTY_AARCH64_FEATURE_1_AND : GNU_PROPERTY_X86_FEATURE_1_AND;
  while (properties.size() >= 8) {
    std::uint32_t head[2];
    std::memcpy(head, properties.data(), sizeof head);
    properties.remove_prefix(sizeof head);
    if (head[0] == wanted && head[1] == 4 && properties.size() >= 4) {
      std::memcpy(&file.branchFeatures, properties.data(), 4);
    }
    properties.remove_prefix(std::min<std::size_t>(properties.size(), (std::size_t{head[1]} + 7) / 8 * 8));
  }
}

// A note is the sizes of its name and content and its type, 4 bytes each, then both, each padded.
void ReadNotes(ElfImage const& image, Elf64_Shdr const& section, ElfFile& file) {
  std::string_view notes = image.Bytes(section);
  std::size_t const unit = section.sh_addralign == 8 ? 8 : 4;
  auto const take = [&](std::size_t size) {
    std::string_view const taken = notes.substr(0, size);
    notes.remove_prefix(std::min(notes.size(), (size + unit - 1) / unit * unit));
    return taken;
  };
  while (notes.size() >= sizeof(Elf64_Nhdr)) {
    Elf64_Nhdr note;
    std::memcpy(&note, notes.data(), sizeof note);
    // The padding is of the place after the name, not of the name.
    std::string_view const name = take(sizeof note + note.n_namesz).substr(sizeof note);
    std::string_view const content = take(note.n_descsz);
    if (name != std::string_view("GNU", 4)) continue;
    if (note.n_type == NT_GNU_BUILD_ID) {
      std::vector<unsigned char> const bytes(content.begin(), content.end());
      file.buildId = fmt::format("{:02x}", fmt::join(bytes, ""));
    }
    if (note.n_type == NT_GNU_PROPERTY_TYPE_0) ReadProperties(content, file);
  }
}

// Relocation formats that a phone's linker writes and elf.h does not define.
constexpr std::uint32_t kAndroidRela = 0x60000002;
constexpr std::uint32_t kAndroidRelr = 0x6fffff00;

constexpr std::uint64_t kPointerBytes = 8;

// The pointers in one object, from relocations in each form in which a linker stores them.
class PointerReader {
 public:
  PointerReader(ElfImage const& image, std::uint64_t address, std::uint64_t bytes)
      : mImage(image), mAddress(address), mBytes(bytes) {
    bool const isArm = image.Header().e_machine == EM_AARCH64;
    mAbsolute = isArm ? R_AARCH64_ABS64 : R_X86_64_64;
    mRelative = isArm ? R_AARCH64_RELATIVE : R_X86_64_RELATIVE;
  }

  std::map<std::uint64_t, ElfPointer> Read() {
    for (Elf64_Shdr const& section : mImage.Sections()) {
      if (section.sh_type == SHT_RELA) ReadRela(section);
      if (section.sh_type == kAndroidRela) ReadPacked(section);
      if (section.sh_type == SHT_RELR || section.sh_type == kAndroidRelr) ReadRelr(section);
    }
    return mPointers;
  }

 private:
  bool IsWanted(std::uint64_t offset) const { return offset >= mAddress && offset - mAddress < mBytes; }

  void Add(Elf64_Shdr const& section, std::uint64_t offset, std::uint64_t info, std::uint64_t addend) {
    if (!IsWanted(offset)) return;
    std::uint64_t const type = ELF64_R_TYPE(info);
    if (type == mRelative) mPointers[offset] = {"", addend};
    if (type == mAbsolute) mPointers[offset] = {SymbolName(section, ELF64_R_SYM(info)), addend};
  }

  std::string SymbolName(Elf64_Shdr const& section, std::uint64_t index) const {
    auto const& sections = mImage.Sections();
    auto const symbol =
        section.sh_link < sections.size() ? mImage.RecordAt<Elf64_Sym>(sections[section.sh_link], index) : std::nullopt;
    if (!symbol) mImage.Fail(fmt::format("expected symbol {} for a relocation, found none", index));
    return mImage.Text(sections[section.sh_link], symbol->st_name);
  }

  void ReadRela(Elf64_Shdr const& section) {
    for (auto const& relocation : mImage.Records<Elf64_Rela>(section)) {
      Add(section, relocation.r_offset, relocation.r_info, static_cast<std::uint64_t>(relocation.r_addend));
    }
  }

  // A word that is even is the address of a pointer; an odd one has a bit for each of the 63 pointers after the last.
  void ReadRelr(Elf64_Shdr const& section) {
    std::uint64_t next = 0;
    for (std::uint64_t const word : mImage.Records<std::uint64_t>(section)) {
      if ((word & 1U) == 0) {
        AddRelative(word);
        next = word + kPointerBytes;
        continue;
      }
      for (std::uint64_t bit = 1; bit < 64; ++bit) {
        if ((word >> bit & 1U) != 0) AddRelative(next + (bit - 1) * kPointerBytes);
      }
      next += 63 * kPointerBytes;
    }
  }

  // The pointer holds its own addend.
  void AddRelative(std::uint64_t offset) {
    if (!IsWanted(offset)) return;
    if (auto const addend = mImage.At<std::uint64_t>(offset)) mPointers[offset] = {"", *addend};
  }

  // "APS2", then signed LEB128 numbers: how many relocations, the first offset, then groups. A group states its size,
  // its flags and what all of its members share.
  void ReadPacked(Elf64_Shdr const& section) {
    constexpr std::uint64_t kSharesInfo = 1, kSharesDelta = 2, kSharesAddend = 4, kHasAddend = 8;
    std::string_view bytes = mImage.Bytes(section);
    if (bytes.substr(0, 4) != "APS2") mImage.Fail("expected packed relocations to begin with APS2");
    bytes.remove_prefix(4);
    std::uint64_t left = TakeNumber(bytes);
    std::uint64_t offset = TakeNumber(bytes);
    std::uint64_t addend = 0;
    if (left > mImage.Size()) mImage.Fail(fmt::format("{} packed relocations cannot fit into the file", left));
    while (left > 0) {
      std::uint64_t const members = TakeNumber(bytes);
      std::uint64_t const flags = TakeNumber(bytes);
      if (members == 0 || members > left) mImage.Fail("expected a group of packed relocations, found a broken one");
      bool const ownAddends = (flags & (kHasAddend | kSharesAddend)) == kHasAddend;
      std::uint64_t const sharedDelta = (flags & kSharesDelta) != 0 ? TakeNumber(bytes) : 0;
      std::uint64_t const sharedInfo = (flags & kSharesInfo) != 0 ? TakeNumber(bytes) : 0;
      if ((flags & kHasAddend) == 0) addend = 0;
      if ((flags & kHasAddend) != 0 && !ownAddends) addend += TakeNumber(bytes);
      for (std::uint64_t i = 0; i < members; ++i) {
        offset += (flags & kSharesDelta) != 0 ? sharedDelta : TakeNumber(bytes);
        std::uint64_t const info = (flags & kSharesInfo) != 0 ? sharedInfo : TakeNumber(bytes);
        if (ownAddends) addend += TakeNumber(bytes);
        Add(section, offset, info, addend);
      }
      left -= members;
    }
  }

  // A signed LEB128 number; sums of them wrap as the loader's do.
  std::uint64_t TakeNumber(std::string_view& bytes) const {
    std::uint64_t value = 0;
    for (unsigned int shift = 0; shift < 64; shift += 7) {
      if (bytes.empty()) mImage.Fail("is cut: packed relocations end inside a number");
      auto const byte = static_cast<unsigned char>(bytes.front());
      bytes.remove_prefix(1);
      value |= static_cast<std::uint64_t>(byte & 0x7FU) << shift;
      if ((byte & 0x80U) == 0) {
        bool const isNegative = (byte & 0x40U) != 0 && shift + 7 < 64;
        return isNegative ? value | ~std::uint64_t{0} << (shift + 7) : value;
      }
    }
    mImage.Fail("packed relocations hold a number beyond 64 bits");
  }

  ElfImage const& mImage;
  std::uint64_t mAddress;
  std::uint64_t mBytes;
  std::uint64_t mAbsolute;
  std::uint64_t mRelative;
  std::map<std::uint64_t, ElfPointer> mPointers;
};

}  // namespace

ElfExport const* ElfFile::Find(std::string const& name) const {
  auto const found =
      std::find_if(exports.begin(), exports.end(), [&](auto const& offered) { return offered.name == name; });
  return found == exports.end() ? nullptr : &*found;
}

ElfFile ReadElf(std::string bytes, std::string const& path, std::string const& tableName) {
  ElfImage image(std::move(bytes), path);
  image.ReadSections();
  ElfFile file;
  file.machine = image.Header().e_machine;
  if (file.machine != EM_X86_64 && file.machine != EM_AARCH64) {
    image.Fail(fmt::format("expected code for x86-64 or AArch64, found {}", hosting::ProcessorName(file.machine)));
  }
  file.segments = image.Segments();
  for (Elf64_Shdr const& section : image.Sections()) {
    if (section.sh_type == SHT_DYNAMIC) ReadDynamic(image, section, file);
    if (section.sh_type == SHT_DYNSYM) ReadSymbols(image, section, file);
    if (section.sh_type == SHT_NOTE) ReadNotes(image, section, file);
  }
  if (ElfExport const* const table = file.Find(tableName)) {
    file.table = PointerReader(image, table->address, std::min(table->bytes, kMaximumTableBytes)).Read();
  }
  return file;
}

}  // namespace shadingctl
