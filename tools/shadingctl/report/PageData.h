// A result as the report's page holds it: smaller than the result, and in numbers that a browser can compute with.
#pragma once

#include <nlohmann/json.hpp>

#include "tools/shadingctl/report/ResultDocument.h"

namespace shadingctl {

// Of a replay: rows become columns, and all times count from the whole us of the first frame's timestamp, so that
// ns and us are rounded alike; `origin_ns` gives it in digits, since a browser's numbers hold 53 bits. The batches of a
// camera become one list of samples in the order of delivery, each with its step from the time before. Calibration and
// fits are taken over as they are.
nlohmann::ordered_json PageDataOf(ResultDocument const& document);

}  // namespace shadingctl
