// Values of JSON documents, and how they stand in JSON, CSV and text.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

namespace shadingctl {

template <class Value>
nlohmann::ordered_json OrNull(std::optional<Value> const& value) {
  return value ? nlohmann::ordered_json(*value) : nlohmann::ordered_json(nullptr);
}

// The document, with a line for each value. What is no UTF-8 is replaced.
inline std::string JsonText(nlohmann::ordered_json const& document) {
  return document.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

}  // namespace shadingctl
