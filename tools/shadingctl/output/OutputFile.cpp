#include "tools/shadingctl/output/OutputFile.h"

#include <fmt/format.h>

#include <cerrno>
#include <system_error>

#include "hosting/UnusableInput.h"

namespace shadingctl {

OutputFile::OutputFile() : mName("standard output"), mFile(stdout, [](std::FILE*) { return 0; }) {}

OutputFile::OutputFile(std::string const& path) : mName(path), mFile(std::fopen(path.c_str(), "wb"), &std::fclose) {
  if (mFile == nullptr) Fail(errno);
}

void OutputFile::Write(std::string_view text) {
  if (std::fwrite(text.data(), 1, text.size(), mFile.get()) != text.size()) Fail(errno);
}

void OutputFile::WriteQuietly(std::string_view text) noexcept {
  if (std::fwrite(text.data(), 1, text.size(), mFile.get()) != text.size() && mKeptError == 0) mKeptError = errno;
}

void OutputFile::Finish() {
  if (mKeptError != 0) Fail(mKeptError);
  if (std::fflush(mFile.get()) != 0) Fail(errno);
}

void OutputFile::Fail(int error) const {
  throw hosting::UnusableInput(fmt::format("{}: cannot be written: {}", mName, std::generic_category().message(error)));
}

}  // namespace shadingctl
