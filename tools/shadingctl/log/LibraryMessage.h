// The grammar of the library's messages about frames. No other place of the tool knows their texts.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <variant>

namespace shadingctl {

// Members stand in the order in which they are printed. Frame numbers are 32 bits without a sign wherever they come
// from; most messages print them with one.

struct UnrelatedMessage {};  // of an operation that does not take part in a frame, or no message of the library at all
struct DamagedMessage {};    // of an operation that does, but not in any of its texts: cut, or of another library

// UpdateSensorData: one batch.
struct BatchSplit {  // cut at the middle of its overlap with the batch before
  std::int32_t frame = 0;
  std::uint64_t samplesBefore = 0;
  std::uint64_t samples = 0;
  std::uint64_t splitTimeNs = 0;
};
struct BatchStored {  // printed also where the batch was discarded
  std::uint32_t frame = 0;
  std::uint64_t timestampNs = 0;  // of the frame
  std::uint64_t samples = 0;
  std::uint64_t frames = 0;   // in the history
  std::uint64_t firstNs = 0;  // of the samples, printed without their sign
  std::uint64_t lastNs = 0;
};
struct NoBatch {
  std::int32_t sensorType = 0;
};

// StoreRollingShutter
struct ReadoutStored {
  std::uint32_t readoutNs = 0;
  std::uint32_t sensorMode = 0;
};

// CalcOISValue: the query for samples.
struct CameraEnabled {
  std::int32_t camera = 0;
};
struct CameraNotRegistered {
  std::int32_t camera = 0;
};
struct ReadoutQueried {
  std::uint32_t readoutNs = 0;
};
struct HistorySize {
  std::uint64_t samples = 0;
};
struct NothingMatched {};
struct SampleMatched {  // the first sample at or after the frame's timestamp
  std::int64_t index = 0;
  std::uint64_t timeNs = 0;
};
struct ZeroTime {};
struct QueryAnswered {
  std::uint32_t frame = 0;  // 0: asked for by time
  std::uint64_t timestampNs = 0;
  std::uint64_t samples = 0;
};
struct QueryFinished {
  std::uint64_t samples = 0;
};
struct QueryRefused {  // the monitor went between two steps of the call
  std::int32_t camera = 0;
};

// CalcOISValue: the match. Times and distances in us.
struct UnknownType {
  std::int32_t type = 0;
};
struct FrameTimesTold {
  std::int32_t camera = 0;
  std::int32_t type = 0;
  std::uint32_t samples = 0;
  std::uint64_t startOfFrameUs = 0;
  std::uint64_t exposureUs = 0;
  std::uint32_t readoutUs = 0;
  std::int64_t offsetUs = 0;
};
struct SourceSample {
  std::int32_t index = 0;
  std::int64_t timeUs = 0;
  float hallX = 0;
  float hallY = 0;
};
struct TableSize {
  std::int32_t entries = 0;
};
struct StartCandidate {
  std::int32_t index = 0;
  std::int64_t distanceUs = 0;
};
struct StartFound {
  std::int64_t distanceUs = 0;
  std::int32_t index = 0;
  std::int64_t nextDistanceUs = 0;
  std::int32_t nextIndex = 0;
};
struct EndCandidate {
  std::int32_t index = 0;
  std::int64_t distanceUs = 0;
};
struct SpanFound {
  std::int32_t first = 0;
  std::int32_t last = 0;
};
struct SpanFailed {
  std::int32_t type = 0;
  std::int32_t frame = 0;
  std::int64_t startOfFrameUs = 0;
  std::int32_t camera = 0;
  std::int32_t sizeX = 0;
  std::int32_t sizeY = 0;
};
struct SpanEntry {
  std::int64_t startOfFrameUs = 0;
  std::int32_t entries = 0;
  float hallX = 0;
  float hallY = 0;
  std::int64_t alignedUs = 0;
};
struct PositionTold {  // the first and the last element of the caller's vectors
  std::int32_t camera = 0;
  std::int32_t frame = 0;
  std::int32_t mode = 0;
  std::uint64_t sizeX = 0;
  std::uint64_t sizeY = 0;
  double hall0X = 0;
  double hall0Y = 0;
  double hall1X = 0;
  double hall1Y = 0;
};
struct NoPositionTold {  // a mode that computes none, and empty vectors
  std::int32_t camera = 0;
  std::int32_t frame = 0;
  std::int32_t mode = 0;
  std::uint64_t sizeX = 0;
  std::uint64_t sizeY = 0;
};

using LibraryMessage = std::variant<UnrelatedMessage, DamagedMessage, BatchSplit, BatchStored, NoBatch, ReadoutStored,
                                    CameraEnabled, CameraNotRegistered, ReadoutQueried, HistorySize, NothingMatched,
                                    SampleMatched, ZeroTime, QueryAnswered, QueryFinished, QueryRefused, UnknownType,
                                    FrameTimesTold, SourceSample, TableSize, StartCandidate, StartFound, EndCandidate,
                                    SpanFound, SpanFailed, SpanEntry, PositionTold, NoPositionTold>;

// Reads one message as either sink receives it; the system log's warnings end in their place in the source, which may
// be cut. A number that is cut at the very end of a message cannot be told from a shorter one, except in its decimals.
LibraryMessage ParseMessage(std::string_view message);

}  // namespace shadingctl
