#include "bench/Variants.h"

#include <algorithm>
#include <deque>
#include <iterator>
#include <map>

#include "model/ReferenceModel.h"

namespace bench {

namespace {

constexpr std::size_t kWindow = 100;
constexpr std::size_t kWindowBefore = 50;
constexpr std::int64_t kToleranceUs = 1500;
constexpr CustShadingType kType = kShadingPreview;

std::int64_t OffsetUs(std::uint64_t exposureNs) {
  auto const shorterUs = static_cast<float>(std::min<std::uint64_t>(exposureNs, kRollingShutterNs) / 1000);
  return static_cast<std::int64_t>(shorterUs * -0.5432F) - 166;
}

std::int64_t StartOfFrameUs(CalcOISValueInput const& input) {
  return static_cast<std::int64_t>(input.timestamp0 / 1000 - input.exposureTime0 / 1000);
}

class PlatformVariant : public Variant {
 public:
  explicit PlatformVariant(std::string const& name, std::size_t memories = 1) : mPull(name), mBatches(memories) {}
  void Calc(Frame const& /*frame*/, Answer& /*answer*/) override {}
  void Update(Frame const& frame) override { Take(frame); }

 protected:
  Samples& Take(Frame const& frame) {
    Samples& batch = mBatches[mNext];
    if (++mNext == mBatches.size()) mNext = 0;
    batch.clear();
    mPull.Deliver(frame.batch);
    mPull.Take(batch);
    return batch;
  }

 private:
  Pull mPull;
  std::vector<Samples> mBatches;
  std::size_t mNext = 0;
};

class LibraryVariant final : public Variant {
 public:
  LibraryVariant(Library& library, int camera)
      : mObject(library.Object()), mPull(ProviderName(camera)), mCamera(camera) {}

  void Update(Frame const& frame) override {
    mPull.Deliver(frame.batch);
    mObject.UpdateSensorData(mCamera, frame.number, frame.input.timestamp0);
  }

  void Calc(Frame const& frame, Answer& answer) override {
    mInput = frame.input;
    mObject.CalcOISValue(kType, mInput, &answer.x, &answer.y, frame.number, mCamera, answer.matched);
  }

 private:
  VeyraShadingUtil& mObject;
  Pull mPull;
  int mCamera;
  CalcOISValueInput mInput{};
};

class ReferenceModelVariant final : public Variant {
 public:
  ReferenceModelVariant() : mPull("reference model"), mModel(0, 3) { mModel.StoreRollingShutter(kRollingShutterNs, 0); }

  void Update(Frame const& frame) override {
    Samples batch;
    mPull.Deliver(frame.batch);
    mPull.Take(batch);
    mModel.UpdateSensorData(frame.number, frame.input.timestamp0, batch);
  }

  void Calc(Frame const& frame, Answer& answer) override {
    mModel.CalcOISValue(kType, frame.input, &answer.x, &answer.y, frame.number, answer.matched);
  }

 private:
  Pull mPull;
  model::ReferenceModel mModel;
};

// Answers from a window in place. The streams have no two samples in one microsecond, so entry and sample are one.
template <typename Iterator, typename At>
void AnswerFrom(Iterator const first, At at, CalcOISValueInput const& input, Answer& answer) {
  std::int64_t const offsetUs = OffsetUs(input.exposureTime0);
  std::int64_t const startUs = StartOfFrameUs(input) + offsetUs;  // on the samples' clock
  auto const distanceUs = [&](Iterator entry, std::int64_t targetUs) {
    return std::abs(at(entry).timestamp / 1000 - targetUs);
  };
  // Advances to the first entry near the target, or to the last but one.
  auto const search = [&](Iterator& entry, std::size_t& index, std::int64_t targetUs) {
    std::int64_t const fromNs = (targetUs - kToleranceUs + 1) * 1000;
    for (; index < kWindow - 1 && at(entry).timestamp < fromNs; ++index) ++entry;
    if (index == kWindow - 1 || distanceUs(entry, targetUs) >= kToleranceUs) return false;
    Iterator const next = std::next(entry);
    if (distanceUs(entry, targetUs) > distanceUs(next, targetUs)) {
      entry = next;
      ++index;
    }
    return true;
  };
  Iterator begin = first;
  std::size_t beginIndex = 0;
  if (search(begin, beginIndex, startUs)) {
    answer.matched = 1;
  } else if (answer.matched != 0) {
    begin = first;
    beginIndex = 0;
  } else {
    return;
  }
  Iterator end = begin;
  std::size_t endIndex = beginIndex;
  if (!search(end, endIndex, at(begin).timestamp / 1000 + kRollingShutterNs / 1000)) endIndex = kWindow - 1;
  if (endIndex == beginIndex) return;
  float x = 0.0F;
  float y = 0.0F;
  for (std::size_t i = beginIndex; i <= endIndex; ++i, ++begin) {
    x += at(begin).oisHallX;
    y += at(begin).oisHallY;
  }
  auto const count = static_cast<float>(endIndex - beginIndex + 1);
  answer.x.assign({static_cast<double>(x / count), 0.0});
  answer.y.assign({static_cast<double>(y / count), 0.0});
}

// Steps from the match to the first sample of its window.
template <typename Iterator>
Iterator WindowBegin(Iterator const begin, Iterator const end, Iterator const match) {
  std::size_t after = 0;
  for (Iterator i = match; i != end && after < kWindow - kWindowBefore; ++i) ++after;
  Iterator first = match;
  for (std::size_t i = 0; first != begin && i < kWindow - after; ++i) --first;
  return first;
}

bool IsEarlier(Sample const& left, Sample const& right) { return left.timestamp < right.timestamp; }

class RingVariant final : public PlatformVariant {
 public:
  RingVariant() : PlatformVariant("ring"), mRing(kCapacity) {}

  void Update(Frame const& frame) override {
    Samples& batch = Take(frame);
    if (!std::is_sorted(batch.begin(), batch.end(), IsEarlier)) std::sort(batch.begin(), batch.end(), IsEarlier);
    std::uint64_t frameBegin = mEnd;
    if (!mFrameBegins.empty() && At(mEnd - 1).timestamp > batch.front().timestamp) {
      std::int64_t const splitNs = (At(mEnd - 1).timestamp + batch.front().timestamp) / 2;
      std::uint64_t to = mEnd + batch.size();
      std::uint64_t from = mEnd;
      for (auto sample = batch.rbegin(); sample != batch.rend(); ++sample) {
        while (from > mFrameBegins.back() && At(from - 1).timestamp > sample->timestamp) At(--to) = At(--from);
        At(--to) = *sample;
      }
      mEnd += batch.size();
      for (frameBegin = mEnd; At(frameBegin - 1).timestamp >= splitNs;) --frameBegin;
    } else {
      for (Sample const& sample : batch) At(mEnd++) = sample;
    }
    mFrameBegins.push_back(frameBegin);
    if (mFrameBegins.size() > kHistoryFrames) mFrameBegins.pop_front();
  }

  void Calc(Frame const& frame, Answer& answer) override {
    auto const timeNs = static_cast<std::int64_t>(frame.input.timestamp0);
    std::uint64_t const begin = mFrameBegins.front();
    std::uint64_t match = mEnd;
    while (match > begin && At(match - 1).timestamp >= timeNs) --match;
    if (match == mEnd || mEnd - begin < kWindow) return;
    std::uint64_t const first = std::min(match < begin + kWindowBefore ? begin : match - kWindowBefore, mEnd - kWindow);
    AnswerFrom(
        Index{first}, [this](Index i) -> Sample const& { return At(i.value); }, frame.input, answer);
  }

 private:
  struct Index {
    using iterator_category = std::bidirectional_iterator_tag;
    using difference_type = std::ptrdiff_t;
    using value_type = Sample;
    using pointer = Sample const*;
    using reference = Sample const&;
    std::uint64_t value;
    Index& operator++() {
      ++value;
      return *this;
    }
    Index& operator--() {
      --value;
      return *this;
    }
  };
  static constexpr std::size_t kCapacity = 8192;  // a power of two, above 30 frames at 8 kHz

  Sample& At(std::uint64_t index) { return mRing[index & (kCapacity - 1)]; }

  Samples mRing;
  std::uint64_t mEnd = 0;  // of all samples ever
  std::deque<std::uint64_t> mFrameBegins;
};

class MapVariant final : public PlatformVariant {
 public:
  MapVariant() : PlatformVariant("map") {}

  void Update(Frame const& frame) override {
    Samples& batch = Take(frame);
    std::int64_t firstNs = batch.front().timestamp;
    for (Sample const& sample : batch) firstNs = std::min(firstNs, sample.timestamp);
    std::int64_t beginNs = firstNs;
    if (!mSamples.empty()) {
      std::int64_t const lastNs = std::prev(mSamples.end())->first;
      if (lastNs > firstNs) beginNs = (lastNs + firstNs) / 2;
    }
    for (Sample const& sample : batch) mSamples.emplace_hint(mSamples.end(), sample.timestamp, sample);
    mFrameBeginsNs.push_back(beginNs);
    if (mFrameBeginsNs.size() <= kHistoryFrames) return;
    mFrameBeginsNs.pop_front();
    mSamples.erase(mSamples.begin(), mSamples.lower_bound(mFrameBeginsNs.front()));
  }

  void Calc(Frame const& frame, Answer& answer) override {
    auto const match = mSamples.lower_bound(static_cast<std::int64_t>(frame.input.timestamp0));
    if (match == mSamples.end() || mSamples.size() < kWindow) return;
    auto const first = WindowBegin(mSamples.begin(), mSamples.end(), match);
    AnswerFrom(
        first, [](auto const& node) -> Sample const& { return node->second; }, frame.input, answer);
  }

 private:
  std::multimap<std::int64_t, Sample> mSamples;
  std::deque<std::int64_t> mFrameBeginsNs;
};

}  // namespace

std::unique_ptr<Variant> PlatformOnly(std::size_t memories) {
  return std::make_unique<PlatformVariant>("platform", memories);
}
std::unique_ptr<Variant> ShippedLibrary(Library& library, int camera) {
  return std::make_unique<LibraryVariant>(library, camera);
}
std::unique_ptr<Variant> Reference() { return std::make_unique<ReferenceModelVariant>(); }
std::unique_ptr<Variant> Ring() { return std::make_unique<RingVariant>(); }
std::unique_ptr<Variant> TimeOrderedMap() { return std::make_unique<MapVariant>(); }

Floor::Floor(Stream const& stream) {
  for (Frame const& frame : stream.Frames()) mSamples.insert(mSamples.end(), frame.batch.begin(), frame.batch.end());
  std::sort(mSamples.begin(), mSamples.end(), IsEarlier);
  for (Frame const& frame : stream.Frames()) {
    Sample wanted;
    wanted.timestamp = static_cast<std::int64_t>(frame.input.timestamp0);
    auto const match = std::lower_bound(mSamples.begin(), mSamples.end(), wanted, IsEarlier);
    auto const index = static_cast<std::size_t>(match - mSamples.begin());
    std::size_t const first = std::min(std::max(index, kWindowBefore) - kWindowBefore, mSamples.size() - kWindow);
    std::int64_t const startNs = (StartOfFrameUs(frame.input) + OffsetUs(frame.input.exposureTime0)) * 1000;
    mWindows.push_back({first, startNs, startNs + kRollingShutterNs});
  }
}

void Floor::Pass(Sample const* window, std::size_t frame, Answer& answer) const {
  float x = 0.0F;
  float y = 0.0F;
  int count = 0;
  for (Sample const* sample = window; sample != window + kWindow; ++sample) {
    if (sample->timestamp < mWindows[frame].startNs || sample->timestamp > mWindows[frame].endNs) continue;
    x += sample->oisHallX;
    y += sample->oisHallY;
    ++count;
  }
  answer.matched = count;
  answer.x[0] = static_cast<double>(x);
  answer.y[0] = static_cast<double>(y);
}

void Floor::InPlace(std::size_t frame, Answer& answer) const {
  Pass(mSamples.data() + mWindows[frame].first, frame, answer);
}

void Floor::Copy(std::size_t frame, Answer& answer) const {
  Sample const* const first = mSamples.data() + mWindows[frame].first;
  Samples const copy(first, first + kWindow);
  Pass(copy.data(), frame, answer);
}

void Floor::CopyIntoKeptMemory(std::size_t frame, Answer& answer) {
  Sample const* const first = mSamples.data() + mWindows[frame].first;
  mKept.assign(first, first + kWindow);
  Pass(mKept.data(), frame, answer);
}

}  // namespace bench
