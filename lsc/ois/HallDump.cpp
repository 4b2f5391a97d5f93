#include "lsc/ois/HallDump.h"

#include <charconv>
#include <cstdio>
#include <memory>

namespace lsc {
namespace {

constexpr std::size_t kNameSize = 128;  // the longest name has 101 characters

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

bool IsPreview(CustShadingType type) { return type == kShadingPreview || type == kShadingPreviewPair2; }

bool IsCapture(CustShadingType type) {
  return type == kShadingCapture || type == kShadingCapturePair1 || type == kShadingCapturePair2;
}

double ElementOrZero(std::vector<double> const& values, std::size_t index) {
  return index < values.size() ? values[index] : 0.0;
}

// One line `<tab>"key": value` with six decimals. std::to_chars: independent of the locale.
void WriteValue(std::FILE* file, char const* key, double value) {
  char text[352];  // a double has at most 309 digits before the point
  auto const end = std::to_chars(text, text + sizeof text, value, std::chars_format::fixed, 6).ptr;
  std::fprintf(file, "\t\"%s\": %.*s\n", key, static_cast<int>(end - text), text);
}

void WriteContent(std::FILE* file, unsigned int frameId, FrameTimes const& times, HallRun span,
                  std::vector<double> const& outOisX, std::vector<double> const& outOisY) {
  std::fprintf(file, "frame: %d\n", static_cast<int>(frameId));
  ForEachEntry(span, [file](HallSample const& entry) {
    WriteValue(file, "OIS hall X", static_cast<double>(entry.x));
    WriteValue(file, "OIS hall Y", static_cast<double>(entry.y));
  });
  WriteValue(file, "match ois hall0 X", ElementOrZero(outOisX, 0));
  WriteValue(file, "match ois hall0 y", ElementOrZero(outOisY, 0));
  WriteValue(file, "match ois hall1 X", ElementOrZero(outOisX, 1));
  WriteValue(file, "match ois hall1 y", ElementOrZero(outOisY, 1));
  std::fprintf(file, "\t\"exposure_time\": %lld\n", static_cast<long long>(times.exposureUs));
  std::fprintf(file, "\t\"shutter_time\": %d\n", static_cast<int>(times.readoutUs));
}

}  // namespace

void WriteHallDump(CustShadingType type, unsigned int frameId, int sensorId, FrameTimes const& times, HallRun span,
                   std::vector<double> const& outOisX, std::vector<double> const& outOisY) noexcept {
  char name[kNameSize] = {};
  if (g_preOisDump != 0 && IsPreview(type)) {
    std::snprintf(name, sizeof name, "data/vendor/camera_dump/preview_camera_%d_frame_%d_oishall.txt", sensorId,
                  static_cast<int>(frameId));
  } else if (g_capOisDump != 0 && IsCapture(type)) {
    std::snprintf(name, sizeof name, "data/vendor/camera_dump/capture_camera_%d_frame_%d_%lld_oishall.txt", sensorId,
                  static_cast<int>(frameId), static_cast<long long>(times.startOfFrameUs));
  } else {
    return;
  }
  if (File const file{std::fopen(name, "w+")}) {
    WriteContent(file.get(), frameId, times, span, outOisX, outOisY);
  }
}

}  // namespace lsc
