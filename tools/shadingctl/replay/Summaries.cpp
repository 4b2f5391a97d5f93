#include "tools/shadingctl/replay/Summaries.h"

#include <fmt/format.h>

namespace shadingctl {

void Summaries::Close(hosting::Oddities const& oddities, std::int64_t replayNs) {
  if (mByCamera.empty()) Of(0);
  for (auto& [sensorId, summary] : mByCamera) {
    bool const isLast = sensorId == mByCamera.rbegin()->first;
    summary.Close(isLast ? oddities : hosting::Oddities{}, replayNs);
  }
}

std::uint64_t Summaries::differentAnswers() const {
  std::uint64_t count = 0;
  for (auto const& entry : mByCamera) count += entry.second.differentAnswers();
  return count;
}

std::string Summaries::Text() const {
  if (mByCamera.size() == 1) return mByCamera.begin()->second.Text();
  std::string text;
  for (auto const& [sensorId, summary] : mByCamera) {
    text += fmt::format("{}Camera     {}\n{}", text.empty() ? "" : "\n", sensorId, summary.Text());
  }
  return text;
}

nlohmann::ordered_json Summaries::Json() const {
  if (mByCamera.size() == 1) return mByCamera.begin()->second.Json();
  nlohmann::ordered_json cameras = nlohmann::ordered_json::array();
  for (auto const& [sensorId, summary] : mByCamera) {
    nlohmann::ordered_json camera = summary.Json();
    camera["camera"] = sensorId;
    cameras.push_back(std::move(camera));
  }
  return {{"cameras", std::move(cameras)}};
}

}  // namespace shadingctl
