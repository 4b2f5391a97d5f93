// Runs a settled session at log level 0, or only loads the library, under an instruction counter that counts inside
// UpdateOnce, CalcOnce and StartOnce (bench/check-costs).
#include <cstdio>
#include <cstdlib>
#include <string>

#include "bench/Library.h"
#include "hosting/HostLibrary.h"
#include "hosting/UnusableInput.h"

namespace {

VeyraShadingUtil* object = nullptr;
std::vector<double> x;
std::vector<double> y;
int matched = 0;

}  // namespace

// C linkage: the instruction counter finds the functions by these names.
extern "C" {
__attribute__((noinline, used)) void UpdateOnce(bench::Frame const* frame) {
  object->UpdateSensorData(0, frame->number, frame->input.timestamp0);
  asm volatile("");
}
__attribute__((noinline, used)) void CalcOnce(bench::Frame* frame) {
  object->CalcOISValue(kShadingPreview, frame->input, &x, &y, frame->number, 0, matched);
  asm volatile("");
}
__attribute__((noinline, used)) void StartOnce(std::string const* path) {
  object = &bench::LoadUnchecked(*path);
  asm volatile("");
}
}

int main(int argc, char** argv) {
  bool const onlyStarts = argc == 2 && std::string(argv[1]) == "start";
  if (argc != 4 && !onlyStarts) {
    std::fprintf(stderr, "usage: frame_instructions SAMPLES_PER_64_FRAMES inorder|overlapping BLOCKS | start\n");
    return 2;
  }
  try {
    std::string const path = hosting::DefaultLibraryPath();
    if (onlyStarts) {
      StartOnce(&path);
      return 0;
    }
    bench::Library library(path);
    object = &library.Object();
    library.Start(0);
    bench::Stream stream(argv[2], static_cast<std::uint32_t>(std::strtoul(argv[1], nullptr, 10)),
                         std::string(argv[2]) == "overlapping");
    bench::Pull pull(bench::ProviderName(0));
    unsigned long const blocks = std::strtoul(argv[3], nullptr, 10);
    for (unsigned long block = 0; block < blocks; ++block) {
      stream.Advance();
      for (bench::Frame frame : stream.Frames()) {
        pull.Deliver(frame.batch);
        UpdateOnce(&frame);
        CalcOnce(&frame);
      }
    }
    std::printf("%lu frames, last position %g %g\n", blocks * stream.Frames().size(), x.at(0), y.at(0));
  } catch (hosting::UnusableInput const& unusable) {
    std::fprintf(stderr, "%s\n", unusable.what());
    return 3;
  }
  return 0;
}
