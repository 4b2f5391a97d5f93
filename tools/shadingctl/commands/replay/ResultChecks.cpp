#include "tools/shadingctl/commands/replay/ResultChecks.h"

#define XXH_INLINE_ALL  // the header alone, so that no library for the phone's processor is needed
#include <fmt/format.h>
#include <xxhash.h>

#include "hosting/UnusableInput.h"

namespace shadingctl {
namespace {

constexpr DiffOptions kCheckOptions = {0, 5};

}  // namespace

struct ResultChecks::Digester {
  Digester() {
    XXH3_128bits_reset(&state);
    Add(CsvHeader());
  }

  void Add(std::string const& text) { XXH3_128bits_update(&state, text.data(), text.size()); }

  std::string Text() const {
    XXH128_hash_t const hash = XXH3_128bits_digest(&state);
    return fmt::format("xxh128:{:016x}{:016x}", hash.high64, hash.low64);
  }

  XXH3_state_t state;
};

ResultChecks::ResultChecks(CheckArguments const& arguments) : mGates(arguments.gates) {
  if (!arguments.golden.empty()) {
    mGolden.emplace(arguments.golden, kCheckOptions);
    ResultHead const& head = mGolden->HeadOfA();
    // A column that is left out would not be checked.
    if (!head.firstLeftOut.empty()) throw hosting::UnusableInput(LeftOutText(head));
  }
  if (arguments.digest) mDigester = std::make_unique<Digester>();
}

ResultChecks::~ResultChecks() = default;

void ResultChecks::Add(FrameResult const& row) {
  if (mGolden) mGolden->Add(RowOf(row));
  if (mDigester) mDigester->Add(CsvRow(row));
}

void ResultChecks::Finish(Summaries const& summaries, bool isComplete) {
  if (mDigester) mDigest = mDigester->Text();
  if (!isComplete) return;
  if (mGolden) mComplaints = ComplaintsOf(mGolden->Finish());
  for (std::string& reason : FailedGates(mGates, summaries)) mComplaints.push_back(std::move(reason));
}

}  // namespace shadingctl
