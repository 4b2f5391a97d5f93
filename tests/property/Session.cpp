#include "tests/property/Session.h"

#include <algorithm>
#include <limits>
#include <ostream>
#include <random>

namespace property {

namespace {

constexpr std::int64_t kEarliestNs = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kLatestNs = std::numeric_limits<std::int64_t>::max();

std::int64_t Clamp(__int128 timeNs) {
  return static_cast<std::int64_t>(std::clamp<__int128>(timeNs, kEarliestNs, kLatestNs));
}

rc::Gen<std::int64_t> Spacing() {
  return rc::gen::element<std::int64_t>(0, 1, 10, 333, 999, 1000, 1001, 125'000, 250'000, 1'000'000, 1'000'000,
                                        4'980'000, 5'000'000, 1'000'000'000'000, 400'000'000'000'000'000);
}

// 200 Hz to 8 kHz mostly; one session keeps to one spacing, so that its history is of one piece.
rc::Gen<BatchPlan> AnyBatch(std::int64_t usualSpacingNs) {
  auto const spacing = rc::gen::weightedOneOf<std::int64_t>({{7, rc::gen::just(usualSpacingNs)}, {1, Spacing()}});
  auto const jitter =
      rc::gen::weightedElement<std::int64_t>({{4, 0}, {2, usualSpacingNs / 3}, {1, usualSpacingNs * 2}, {1, 1500}});
  auto const place = rc::gen::weightedElement<Place>({{24, Place::kNext},
                                                      {4, Place::kTouching},
                                                      {16, Place::kOverlapping},
                                                      {4, Place::kSplitAtFirst},
                                                      {3, Place::kEqualFirst},
                                                      {3, Place::kBefore},
                                                      {1, Place::kAnywhere}});
  auto const count = rc::gen::weightedOneOf<std::uint32_t>(
      {{6, rc::gen::inRange<std::uint32_t>(1, 12)}, {3, rc::gen::inRange<std::uint32_t>(0, 61)}});
  return rc::gen::build<BatchPlan>(rc::gen::set(&BatchPlan::place, place), rc::gen::set(&BatchPlan::count, count),
                                   rc::gen::set(&BatchPlan::spacingNs, spacing),
                                   rc::gen::set(&BatchPlan::jitterNs, jitter),
                                   rc::gen::set(&BatchPlan::shuffled, rc::gen::arbitrary<bool>()),
                                   rc::gen::set(&BatchPlan::seed, rc::gen::arbitrary<std::uint32_t>()));
}

rc::Gen<TimePlan> AnyTime() {
  auto const aim =
      rc::gen::weightedElement<Aim>({{3, Aim::kSample}, {12, Aim::kReadout}, {1, Aim::kZero}, {1, Aim::kAnything}});
  // The tolerance of 1500 us to either side, the microseconds beside it, and what lies between.
  auto const offset = rc::gen::weightedOneOf<std::int64_t>(
      {{2, rc::gen::just<std::int64_t>(0)},
       {2, rc::gen::element<std::int64_t>(-1'500'000, -1'499'000, 1'499'000, 1'499'999, 1'500'000, 1'500'001)},
       {2, rc::gen::inRange<std::int64_t>(-1000, 1000)},
       {6, rc::gen::inRange<std::int64_t>(-2'500'000, 2'500'000)}});
  return rc::gen::build<TimePlan>(rc::gen::set(&TimePlan::aim, aim),
                                  rc::gen::set(&TimePlan::sample, rc::gen::arbitrary<std::uint32_t>()),
                                  rc::gen::set(&TimePlan::offsetNs, offset),
                                  rc::gen::set(&TimePlan::anythingNs, rc::gen::arbitrary<std::uint64_t>()));
}

rc::Gen<Step> AnyStep(std::int64_t usualSpacingNs) {
  auto const act = rc::gen::weightedElement<Act>({{12, Act::kUpdate},
                                                  {8, Act::kCalc},
                                                  {2, Act::kLookUpByTime},
                                                  {1, Act::kLookUpByFrame},
                                                  {1, Act::kStoreRollingShutter}});
  auto const frame = rc::gen::weightedOneOf<std::uint32_t>(
      {{6, rc::gen::inRange<std::uint32_t>(0, 12)}, {1, rc::gen::arbitrary<std::uint32_t>()}});
  auto const shutter = rc::gen::element<std::uint32_t>(0, 1, 999, 1'499'999, 1'500'000, 8'000'000, 15'980'096,
                                                       33'000'000, std::numeric_limits<std::uint32_t>::max());
  auto const exposure = rc::gen::weightedOneOf<std::uint64_t>(
      {{8, rc::gen::element<std::uint64_t>(0, 999, 200'000, 1'000'000, 1'200'345, 10'000'000, 20'081'000)},
       {1, rc::gen::element<std::uint64_t>(1ULL << 32U, 1ULL << 63U, std::numeric_limits<std::uint64_t>::max())},
       {1, rc::gen::arbitrary<std::uint64_t>()}});
  auto const type = rc::gen::weightedOneOf<std::int32_t>(
      {{8, rc::gen::element<std::int32_t>(0, 1, 4, 5, 6)}, {1, rc::gen::element<std::int32_t>(2, 3, 7, -1)}});
  auto const before = rc::gen::container<std::vector<double>>(
      rc::gen::element(0.0, -0.0, 1.5, -512.25, 1e300, std::numeric_limits<double>::infinity()));
  return rc::gen::build<Step>(
      rc::gen::set(&Step::act, act),
      rc::gen::set(&Step::logLevel, rc::gen::weightedElement<int>({{6, 0}, {3, 1}, {1, 3}, {3, 4}, {1, -1}})),
      rc::gen::set(&Step::frameNumber, frame), rc::gen::set(&Step::batch, AnyBatch(usualSpacingNs)),
      rc::gen::set(&Step::time, AnyTime()), rc::gen::set(&Step::rollingShutterNs, shutter),
      rc::gen::set(&Step::type, type), rc::gen::set(&Step::exposureNs, exposure),
      rc::gen::set(&Step::mode,
                   rc::gen::weightedElement<int>({{4, 1}, {3, 2}, {2, 3}, {2, 4}, {1, 0}, {1, 5}, {1, -1}})),
      rc::gen::set(&Step::oisMatched, rc::gen::weightedElement<int>({{3, 0}, {2, 1}, {1, -7}})),
      rc::gen::set(&Step::before, rc::gen::resize(4, before)));
}

}  // namespace

rc::Gen<Session> AnySession() {
  auto const usualSpacing = rc::gen::element<std::int64_t>(125'000, 250'000, 1'000'000, 1'000'000, 4'980'000, 300, 1);
  return rc::gen::mapcat(usualSpacing, [](std::int64_t spacingNs) {
    auto const origin = rc::gen::weightedElement<std::int64_t>({{8, 1'000'000'000'000},
                                                                {2, 0},
                                                                {2, -166'500},
                                                                {1, 500},
                                                                {2, -50 * spacingNs},
                                                                {2, -1'000'000'000'000},
                                                                {1, kEarliestNs},
                                                                {1, kLatestNs - 100 * spacingNs},
                                                                {1, kLatestNs - 20}});
    return rc::gen::build<Session>(
        rc::gen::set(&Session::originNs, origin),
        rc::gen::set(&Session::lensRests, rc::gen::weightedElement<bool>({{7, false}, {1, true}})),
        rc::gen::set(&Session::systemLog, rc::gen::arbitrary<bool>()),
        rc::gen::set(&Session::file, rc::gen::weightedElement<bool>({{5, true}, {1, false}})),
        rc::gen::set(&Session::maximumLevel, rc::gen::weightedElement<int>({{6, 5}, {1, 2}, {1, 0}})),
        rc::gen::set(&Session::steps, rc::gen::container<std::vector<Step>>(AnyStep(spacingNs))));
  });
}

std::vector<std::int64_t> BatchTimesNs(BatchPlan const& plan, Frames const& frames, std::int64_t originNs) {
  std::mt19937 chance(plan.seed);
  std::int64_t firstNs = originNs;
  if (!frames.empty()) {
    model::Samples const& newest = frames.back().second;
    std::int64_t const lastNs = newest.back().timestamp;
    auto const& inside = newest[chance() % newest.size()];
    switch (plan.place) {
      case Place::kNext:
        firstNs = Clamp(static_cast<__int128>(lastNs) + plan.spacingNs);
        break;
      case Place::kTouching:
        firstNs = lastNs;
        break;
      case Place::kOverlapping:
        firstNs = Clamp(static_cast<__int128>(inside.timestamp) + chance() % 3);
        break;
      case Place::kSplitAtFirst:
        firstNs = Clamp(static_cast<__int128>(lastNs) - 1);
        break;
      case Place::kEqualFirst:
        firstNs = newest.front().timestamp;
        break;
      case Place::kBefore:
        firstNs = Clamp(static_cast<__int128>(newest.front().timestamp) - 1 - chance() % 1000);
        break;
      case Place::kAnywhere:
        break;
    }
  }
  std::vector<std::int64_t> timesNs;
  for (std::uint32_t i = 0; i < plan.count; ++i) {
    __int128 timeNs = static_cast<__int128>(firstNs) + static_cast<__int128>(plan.spacingNs) * i;
    if (i > 0 && plan.jitterNs > 0) {
      timeNs += static_cast<std::int64_t>(chance()) % (2 * plan.jitterNs + 1) - plan.jitterNs;
      timeNs = std::max<__int128>(timeNs, firstNs);  // the place is that of the earliest sample
    }
    if (plan.place == Place::kAnywhere) timeNs = static_cast<std::int64_t>(chance() * (1ULL << 32U) + chance());
    timesNs.push_back(Clamp(timeNs));
  }
  if (plan.shuffled) std::shuffle(timesNs.begin(), timesNs.end(), chance);
  return timesNs;
}

std::uint64_t CallTimeNs(TimePlan const& plan, Frames const& frames, std::uint64_t exposureNs,
                         std::uint32_t rollingShutterNs) {
  if (plan.aim == Aim::kZero) return 0;
  std::size_t total = 0;
  for (auto const& [number, samples] : frames) total += samples.size();
  if (plan.aim == Aim::kAnything || total == 0) return plan.anythingNs;
  std::size_t index = plan.sample % total;
  auto frame = frames.begin();
  for (; index >= frame->second.size(); ++frame) index -= frame->second.size();
  std::uint64_t timeNs =
      static_cast<std::uint64_t>(frame->second[index].timestamp) + static_cast<std::uint64_t>(plan.offsetNs);
  // A readout starts a little more than an exposure and half a readout before the frame's time.
  if (plan.aim == Aim::kReadout) {
    std::uint64_t const shorterUs = std::min<std::uint64_t>(exposureNs, rollingShutterNs) / 1000;
    timeNs += exposureNs + shorterUs * 543 + 166'000;
  }
  return timeNs;
}

std::ostream& operator<<(std::ostream& out, Step const& step) {
  out << "\n  level " << step.logLevel << ' ';
  BatchPlan const& batch = step.batch;
  TimePlan const& time = step.time;
  switch (step.act) {
    case Act::kUpdate:
      return out << "update frame " << step.frameNumber << ": place " << static_cast<int>(batch.place) << ", "
                 << batch.count << " samples every " << batch.spacingNs << " ns, jitter " << batch.jitterNs
                 << (batch.shuffled ? ", shuffled" : "") << ", seed " << batch.seed;
    case Act::kStoreRollingShutter:
      return out << "store rolling shutter " << step.rollingShutterNs << " ns";
    case Act::kLookUpByFrame:
      return out << "look up frame " << step.frameNumber;
    case Act::kLookUpByTime:
      out << "look up";
      break;
    case Act::kCalc:
      out << "calc type " << step.type << ", exposure " << step.exposureNs << " ns, mode " << step.mode << ", flag "
          << step.oisMatched << ", " << step.before.size() << " values before,";
      break;
  }
  return out << " time: aim " << static_cast<int>(time.aim) << ", sample " << time.sample << ", offset "
             << time.offsetNs << " ns, or " << time.anythingNs << " ns";
}

std::ostream& operator<<(std::ostream& out, Session const& session) {
  out << "origin " << session.originNs << " ns, " << (session.lensRests ? "lens at rest, " : "") << "system log "
      << session.systemLog << ", file " << session.file << ", maximum level " << session.maximumLevel;
  for (Step const& step : session.steps) out << step;
  return out;
}

}  // namespace property
