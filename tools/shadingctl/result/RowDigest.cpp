#include "tools/shadingctl/result/RowDigest.h"

#define XXH_INLINE_ALL  // the header alone, so that no library for the phone's processor is needed
#include <fmt/format.h>
#include <xxhash.h>

#include "tools/shadingctl/result/ResultColumns.h"

namespace shadingctl {

struct RowDigest::State {
  XXH3_state_t hash;
};

RowDigest::RowDigest() : mState(std::make_unique<State>()) {
  XXH3_128bits_reset(&mState->hash);
  AddText(CsvHeader());
}

RowDigest::~RowDigest() = default;

void RowDigest::Add(FrameResult const& row) { AddText(CsvRow(row)); }

void RowDigest::AddText(std::string_view text) { XXH3_128bits_update(&mState->hash, text.data(), text.size()); }

std::string RowDigest::Text() const {
  XXH128_hash_t const hash = XXH3_128bits_digest(&mState->hash);
  return fmt::format("{:016x}{:016x}", hash.high64, hash.low64);
}

}  // namespace shadingctl
