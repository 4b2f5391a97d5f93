// What all writers of JSON have in common.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

namespace shadingctl {

using Json = nlohmann::ordered_json;

template <class Value>
Json OrNull(std::optional<Value> const& value) {
  return value ? Json(*value) : Json(nullptr);
}

// An empty text stands for none.
inline Json OrNull(std::string const& text) { return text.empty() ? Json(nullptr) : Json(text); }

// On one line, or indented. Names of files need not be UTF-8: other bytes are replaced.
inline std::string Dump(Json const& json, int indent = -1) {
  return json.dump(indent, ' ', false, Json::error_handler_t::replace);
}

// A whole document, indented.
inline std::string JsonText(Json const& document) { return Dump(document, 2) + "\n"; }

}  // namespace shadingctl
