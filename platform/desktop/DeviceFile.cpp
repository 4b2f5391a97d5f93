#include "platform/desktop/DeviceFile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <limits>
#include <memory>
#include <nlohmann/json.hpp>
#include <set>
#include <system_error>
#include <utility>
#include <vector>

namespace desktop {

namespace {

using nlohmann::json;
using Place = json::json_pointer;

[[noreturn]] void Refuse(std::string const& file, Place const& place, std::string const& expected,
                         std::string const& found) {
  std::string const text = place.empty() ? "/" : place.to_string();
  throw UnusableFile(file + ": " + text + ": expected " + expected + ", found " + found);
}

std::string Shown(json const& value) {
  constexpr std::size_t kEnough = 60;
  std::string const text = value.dump(-1, ' ', true, json::error_handler_t::replace);
  return text.size() > kEnough ? text.substr(0, kEnough) + "..." : text;
}

// A JSON value with its path in the file, for error messages.
class Node {
 public:
  Node(std::string const& file, Place place, json const& value)
      : mFile(file), mPlace(std::move(place)), mValue(value) {}

  [[noreturn]] void Refuse(std::string const& expected) const { Refuse(expected, Shown(mValue)); }
  [[noreturn]] void Refuse(std::string const& expected, std::string const& found) const {
    desktop::Refuse(mFile, mPlace, expected, found);
  }

  bool IsList() const { return mValue.is_array(); }

  template <typename Use>
  void EachMember(Use use) const {
    if (!mValue.is_object()) Refuse("an object");
    for (auto const& [key, value] : mValue.items()) use(key, Node(mFile, mPlace / key, value));
  }

  template <typename Use>
  void EachElement(Use use) const {
    if (!IsList()) Refuse("a list");
    for (std::size_t i = 0; i < mValue.size(); ++i) use(Node(mFile, mPlace / i, mValue[i]));
  }

  // The members of an object all of whose keys are known.
  struct Field {
    char const* key;
    bool required;
    std::function<void(Node const&)> read;
  };
  void ReadFields(std::vector<Field> const& fields) const {
    EachMember([&](std::string const& key, Node const& member) {
      auto const field = std::find_if(fields.begin(), fields.end(), [&](Field const& one) { return one.key == key; });
      if (field == fields.end()) member.Refuse("one of " + KeysOf(fields), Shown(key));
      field->read(member);
    });
    for (Field const& field : fields) {
      if (field.required && !mValue.contains(field.key)) Refuse("the key " + std::string(field.key));
    }
  }

  // `alternative` is appended to the message where another form is accepted as well.
  template <typename Integer>
  Integer ToInteger(Integer minimum = std::numeric_limits<Integer>::min(),
                    Integer maximum = std::numeric_limits<Integer>::max(), char const* alternative = "") const {
    static_assert(sizeof(Integer) < sizeof(std::int64_t), "compared as 64 bits");
    constexpr std::uint64_t kLargestSigned = std::numeric_limits<std::int64_t>::max();
    bool const fits = !mValue.is_number_unsigned() || mValue.get<std::uint64_t>() <= kLargestSigned;
    if (mValue.is_number_integer() && fits) {
      auto const value = mValue.get<std::int64_t>();
      if (value >= minimum && value <= maximum) return static_cast<Integer>(value);
    }
    Refuse("an integer from " + std::to_string(minimum) + " to " + std::to_string(maximum) + alternative);
  }

  bool ToBool() const {
    if (!mValue.is_boolean()) Refuse("true or false");
    return mValue.get<bool>();
  }

 private:
  static std::string KeysOf(std::vector<Field> const& fields) {
    std::string keys;
    for (Field const& field : fields) keys += (keys.empty() ? "" : ", ") + std::string(field.key);
    return keys;
  }

  std::string const& mFile;
  Place mPlace;
  json const& mValue;
};

std::string ReadWhole(std::string const& file) {
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> const stream(std::fopen(file.c_str(), "rb"), &std::fclose);
  std::string text;
  if (stream != nullptr) {
    std::array<char, 4096> piece;
    while (std::size_t const size = std::fread(piece.data(), 1, piece.size(), stream.get())) {
      text.append(piece.data(), size);
    }
  }
  if (stream == nullptr || std::ferror(stream.get()) != 0) {
    throw UnusableFile(file + ": cannot be read: " + std::generic_category().message(errno));
  }
  return text;
}

// Reports duplicate keys, of which the parser would silently keep the last.
class KeyWatch {
 public:
  explicit KeyWatch(std::string const& file) : mFile(file) {}

  bool operator()(int /*depth*/, json::parse_event_t event, json const& value) {
    using Event = json::parse_event_t;
    if (event == Event::key) {
      Level& object = mLevels.back();
      object.key = value.get<std::string>();
      if (!object.keys.insert(object.key).second) Refuse(mFile, Here(), "this key only once", "it again");
    } else if (event == Event::object_start || event == Event::array_start) {
      mLevels.push_back({event == Event::array_start, 0, {}, {}});
    } else {
      if (event != Event::value) mLevels.pop_back();
      if (!mLevels.empty()) ++mLevels.back().index;
    }
    return true;
  }

  Place Here() const {
    Place place;
    for (Level const& level : mLevels) place = level.isList ? place / level.index : place / level.key;
    return place;
  }

 private:
  struct Level {
    bool isList;
    std::size_t index;
    std::string key;
    std::set<std::string> keys;
  };

  std::string const& mFile;
  std::vector<Level> mLevels;
};

json Parse(std::string const& file, std::string const& text) {
  KeyWatch watch(file);
  try {
    return json::parse(text, std::ref(watch));
  } catch (json::out_of_range const&) {
    Refuse(file, watch.Here(), "a number that a double holds", "a larger one");
  } catch (json::parse_error const& error) {
    // error.byte counts from 1 and is the last character that was read.
    std::string const before = text.substr(0, error.byte == 0 ? 0 : error.byte - 1);
    auto const line = 1 + std::count(before.begin(), before.end(), '\n');
    auto const column = before.size() - (before.rfind('\n') + 1) + 1;  // npos + 1 is 0
    throw UnusableFile(file + ":" + std::to_string(line) + ": expected JSON, found it broken at column " +
                       std::to_string(column));
  }
}

std::uint32_t ToSensorMode(std::string const& key, Node const& member) {
  std::uint32_t mode = 0;
  auto const [end, error] = std::from_chars(key.data(), key.data() + key.size(), mode);
  bool const whole = error == std::errc() && end == key.data() + key.size();
  // Canonical decimals only: "1" and "01" would be the same mode twice.
  if (!whole || std::to_string(mode) != key) member.Refuse("a sensor mode from 0 to 4294967295 as the key", Shown(key));
  return mode;
}

std::vector<std::int32_t> ReadValues(Node const& node) {
  if (!node.IsList()) return {node.ToInteger<std::int32_t>(INT32_MIN, INT32_MAX, " or a list of them")};
  std::vector<std::int32_t> values;
  node.EachElement([&](Node const& element) { values.push_back(element.ToInteger<std::int32_t>()); });
  return values;
}

ImageSensor ReadSensor(Node const& node, std::vector<ImageSensor> const& others) {
  ImageSensor sensor;
  auto const readSensorId = [&](Node const& member) {
    sensor.sensorId = member.ToInteger<std::int32_t>();
    for (ImageSensor const& other : others) {
      if (other.sensorId == sensor.sensorId) member.Refuse("a sensorId that no other sensor has");
    }
  };
  auto const readRollingShutter = [&](Node const& member) {
    member.EachMember([&](std::string const& key, Node const& timeNs) {
      sensor.rollingShutterNs[ToSensorMode(key, timeNs)] = timeNs.ToInteger<std::uint32_t>();
    });
  };
  node.ReadFields({
      {"sensorId", true, readSensorId},
      {"sensorIndex", true, [&](Node const& member) { sensor.sensorIndex = member.ToInteger<std::int32_t>(); }},
      {"device", true, [&](Node const& member) { sensor.device = member.ToInteger<std::uint32_t>(); }},
      {"rollingShutterNs", false, readRollingShutter},
      {"calibrationRowOrder", false,
       [&](Node const& member) { sensor.calibrationRowOrder = member.ToInteger<std::int32_t>(); }},
  });
  return sensor;
}

}  // namespace

DeviceSettings LoadDevice(std::string const& directory) {
  std::string const file = (std::filesystem::path(directory) / "device.json").string();
  json const document = Parse(file, ReadWhole(file));
  DeviceSettings device;
  auto const readProperty = [&](std::string const& key, Node const& value) {
    device.properties[key] = value.ToInteger<std::int32_t>();
  };
  auto const readFeature = [&](std::string const& feature, Node const& keys) {
    auto& stored = device.configuration[feature];
    keys.EachMember([&](std::string const& key, Node const& values) { stored[key] = ReadValues(values); });
  };
  auto const readSensor = [&](Node const& node) { device.sensors.push_back(ReadSensor(node, device.sensors)); };
  std::vector<Node::Field> const logFields = {
      {"systemLog", false, [&](Node const& member) { device.log.systemLog = member.ToBool(); }},
      {"file", false, [&](Node const& member) { device.log.file = member.ToBool(); }},
      {"maximumLevel", false, [&](Node const& member) { device.log.maximumLevel = member.ToInteger(0, 5); }},
  };
  Node(file, Place(), document)
      .ReadFields({
          {"properties", false, [&](Node const& node) { node.EachMember(readProperty); }},
          {"configuration", false, [&](Node const& node) { node.EachMember(readFeature); }},
          {"sensors", false, [&](Node const& node) { node.EachElement(readSensor); }},
          {"log", false, [&](Node const& node) { node.ReadFields(logFields); }},
      });
  return device;
}

}  // namespace desktop
