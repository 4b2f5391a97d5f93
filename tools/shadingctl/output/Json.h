// What all writers of JSON, and of CSV that is made from it, have in common.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

namespace shadingctl {

using Json = nlohmann::ordered_json;

template <class Value>
Json OrNull(std::optional<Value> const& value) {
  return value ? Json(*value) : Json(nullptr);
}

// An empty text stands for none.
inline Json OrNull(std::string const& text) { return text.empty() ? Json(nullptr) : Json(text); }

// On one line. Names of files need not be UTF-8: other bytes are replaced.
inline std::string Dump(Json const& json) { return json.dump(-1, ' ', false, Json::error_handler_t::replace); }

// A whole document, indented; an element of a list stands on one line unless it holds lists of lists.
std::string JsonText(Json const& document);

// Rows as CSV with a header, at least one: every value that is in no list. A column is named after the place of its
// value, so that {"hall0": {"x": 1}} fills hall0_x. Requires: all rows have the members of the first one.
std::string CsvText(Json const& rows);

// A header of columns for the values at these places (JSON pointers), without a line feed.
std::string CsvNames(std::vector<std::string> places);

}  // namespace shadingctl
