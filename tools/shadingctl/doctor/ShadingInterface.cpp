#include "tools/shadingctl/doctor/ShadingInterface.h"

#include <cxxabi.h>

#include <cstdlib>
#include <memory>
#include <regex>

namespace shadingctl {

std::string ReadableName(std::string const& mangled) {
  constexpr std::size_t kLongest = 256;  // beyond any name of the interface
  if (mangled.size() > kLongest) return mangled;
  int status = 0;
  std::unique_ptr<char, void (*)(void*)> const demangled(
      abi::__cxa_demangle(mangled.c_str(), nullptr, nullptr, &status), std::free);
  if (status != 0) return mangled;
  static std::regex const kInlineNamespace("std::__[A-Za-z0-9_]+::");
  static std::regex const kAllocator(", std::allocator<[A-Za-z0-9_:]+ ?> ?>");
  std::string const name = std::regex_replace(std::string(demangled.get()), kInlineNamespace, "std::");
  return std::regex_replace(name, kAllocator, ">");
}

}  // namespace shadingctl
