#include "lsc/sensor/SampleOrder.h"

#include <algorithm>

namespace lsc {

void SortByTime(Samples& samples) { std::sort(samples.begin(), samples.end(), IsEarlier); }

}  // namespace lsc
