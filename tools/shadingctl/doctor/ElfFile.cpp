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

void ReadSegments(ElfImage const& image, ElfFile& file) {
  for (Elf64_Phdr const& segment : image.Segments()) {
    if (segment.p_type == PT_LOAD) file.loads.push_back(segment);
    if (segment.p_type == PT_GNU_STACK) file.stack = segment;
    if (segment.p_type == PT_GNU_RELRO) file.readOnlyLater = segment;
  }
}

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
      file.buildId =
          fmt::format("{:02x}", fmt::join(reinterpret_cast<unsigned char const*>(content.data()),
                                          reinterpret_cast<unsigned char const*>(content.data()) + content.size(), ""));
    }
    if (note.n_type == NT_GNU_PROPERTY_TYPE_0) ReadProperties(content, file);
  }
}

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
  ReadSegments(image, file);
  for (Elf64_Shdr const& section : image.Sections()) {
    if (section.sh_type == SHT_DYNAMIC) ReadDynamic(image, section, file);
    if (section.sh_type == SHT_DYNSYM) ReadSymbols(image, section, file);
    if (section.sh_type == SHT_NOTE) ReadNotes(image, section, file);
  }
  if (ElfExport const* const table = file.Find(tableName)) {
    file.table = ReadPointers(image, table->address, std::min(table->bytes, kMaximumTableBytes));
  }
  return file;
}

}  // namespace shadingctl
