#include "tools/shadingctl/result/BatchSpool.h"

#include <fmt/format.h>

#include <array>
#include <cerrno>
#include <cmath>
#include <iterator>
#include <string>
#include <system_error>

#include "hosting/UnusableInput.h"
#include "tools/shadingctl/frame/FrameResult.h"

namespace shadingctl {
namespace {

// JSON has no infinity.
std::string NumberText(float position) {
  return std::isfinite(position) ? PositionText(static_cast<double>(position)) : std::string("null");
}

}  // namespace

BatchSpool::BatchSpool() : mFile(std::tmpfile(), &std::fclose) {
  if (mFile == nullptr) Fail();
}

void BatchSpool::Fail() {
  throw hosting::UnusableInput(
      fmt::format("temporary file for samples: cannot be written: {}", std::generic_category().message(errno)));
}

void BatchSpool::Add(DeliveredBatch const& batch) {
  std::string text =
      fmt::format("{}{{\"camera\":{},\"frame\":{},\"samples\":[", mFirst ? "\n" : ",\n", batch.camera, batch.frame);
  char const* separator = "";
  for (auto const& sample : batch.samples) {
    fmt::format_to(std::back_inserter(text), "{}[{},{},{}]", separator, sample.timestamp, NumberText(sample.oisHallX),
                   NumberText(sample.oisHallY));
    separator = ",";
  }
  text += "]}";
  if (std::fwrite(text.data(), 1, text.size(), mFile.get()) != text.size()) Fail();
  mFirst = false;
}

void BatchSpool::Read(std::function<void(std::string_view)> const& take) {
  if (std::fflush(mFile.get()) != 0) Fail();
  std::rewind(mFile.get());
  std::array<char, 65536> buffer{};
  while (std::size_t const size = std::fread(buffer.data(), 1, buffer.size(), mFile.get())) {
    take({buffer.data(), size});
  }
  if (std::ferror(mFile.get()) != 0) Fail();
}

}  // namespace shadingctl
