#include "tools/shadingctl/report/PageData.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <utility>

#include "tools/shadingctl/report/WrappingTime.h"

namespace shadingctl {
namespace {

using Json = nlohmann::ordered_json;

std::int64_t Since(Json const& time, std::int64_t origin) {
  return WrappingDifference(time.get<std::int64_t>(), origin);
}

// Frames of a result may differ in their keys.
Json ColumnsOf(Json const& frames, std::int64_t originNs) {
  static std::set<std::string> const timesUs = {"start_of_frame_us", "window_us", "span_us"};
  std::int64_t const originUs = originNs / 1000;
  Json columns = Json::object();
  for (std::size_t i = 0; i < frames.size(); ++i) {
    for (auto const& [key, value] : frames[i].items()) {
      Json& column = columns[key == "timestamp_ns" ? "time_ns" : key];
      if (column.is_null()) column = Json::array();
      while (column.size() < i) column.push_back(nullptr);
      if (key == "timestamp_ns") {
        column.push_back(Since(value, originNs));
      } else if (timesUs.count(key) == 0 || value.is_null()) {
        column.push_back(value);
      } else if (value.is_array()) {
        column.push_back({Since(value[0], originUs), Since(value[1], originUs)});
      } else {
        column.push_back(Since(value, originUs));
      }
    }
  }
  for (Json& column : columns) {
    while (column.size() < frames.size()) column.push_back(nullptr);
  }
  return columns;
}

Json SamplesOf(Json const& batches, std::int64_t originNs) {
  struct Camera {
    Json packed;
    std::int64_t latestNs = 0;
  };
  std::map<std::int64_t, Camera> cameras;
  for (Json const& batch : batches) {
    auto const camera = batch["camera"].get<std::int64_t>();
    auto const [place, isNew] = cameras.try_emplace(camera);
    Json& packed = place->second.packed;
    if (isNew) {
      packed = {{"camera", camera}};
      for (char const* const key : {"time_steps_ns", "hall_x", "hall_y"}) packed[key] = Json::array();
    }
    for (Json const& sample : batch["samples"]) {
      std::int64_t const timeNs = Since(sample[0], originNs);
      packed["time_steps_ns"].push_back(WrappingDifference(timeNs, std::exchange(place->second.latestNs, timeNs)));
      packed["hall_x"].push_back(sample[1]);
      packed["hall_y"].push_back(sample[2]);
    }
  }
  Json list = Json::array();
  for (auto& [number, camera] : cameras) list.push_back(std::move(camera.packed));
  return list;
}

}  // namespace

Json PageDataOf(ResultDocument const& document) {
  Json const& result = document.json;
  if (document.kind != ResultDocument::Kind::kReplay) {
    Json data = {{"kind", Name(document.kind)}, {"name", document.name}};
    data.update(result);
    return data;
  }
  Json const& frames = result["frames"];
  std::int64_t const firstNs = frames.empty() ? 0 : frames[0]["timestamp_ns"].get<std::int64_t>();
  std::int64_t const originNs = firstNs / 1000 * 1000;
  Json data = {{"kind", "replay"}, {"name", document.name}, {"origin_ns", std::to_string(originNs)}};
  for (char const* const key : {"settings", "complete", "error", "findings", "summary"}) {
    data[key] = result.contains(key) ? result[key] : Json();
  }
  data["frames"] = ColumnsOf(frames, originNs);
  if (result.contains("batches")) data["samples"] = SamplesOf(result["batches"], originNs);
  return data;
}

}  // namespace shadingctl
