#include <fmt/format.h>

#include <string>
#include <string_view>

#include "hosting/ElfImage.h"
#include "tools/shadingctl/doctor/ElfFile.h"

namespace shadingctl {
namespace {

// Relocation formats that a phone's linker writes and elf.h does not define.
constexpr std::uint32_t kAndroidRela = 0x60000002;
constexpr std::uint32_t kAndroidRelr = 0x6fffff00;

constexpr std::uint64_t kPointerBytes = 8;

class Reader {
 public:
  Reader(hosting::ElfImage const& image, std::uint64_t address, std::uint64_t bytes)
      : mImage(image), mAddress(address), mBytes(bytes) {
    bool const isArm = image.Header().e_machine == EM_AARCH64;
    mAbsolute = isArm ? R_AARCH64_ABS64 : R_X86_64_64;
    mRelative = isArm ? R_AARCH64_RELATIVE : R_X86_64_RELATIVE;
  }

  std::map<std::uint64_t, ElfPointer> Read() {
    for (Elf64_Shdr const& section : mImage.Sections()) {
      switch (section.sh_type) {
        case SHT_RELA:
          ReadRela(section);
          break;
        case kAndroidRela:
          ReadPacked(section);
          break;
        case SHT_RELR:
        case kAndroidRelr:
          ReadRelr(section);
          break;
        default:
          break;
      }
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

  hosting::ElfImage const& mImage;
  std::uint64_t mAddress;
  std::uint64_t mBytes;
  std::uint64_t mAbsolute;
  std::uint64_t mRelative;
  std::map<std::uint64_t, ElfPointer> mPointers;
};

}  // namespace

std::map<std::uint64_t, ElfPointer> ReadPointers(hosting::ElfImage const& image, std::uint64_t address,
                                                 std::uint64_t bytes) {
  return Reader(image, address, bytes).Read();
}

}  // namespace shadingctl
