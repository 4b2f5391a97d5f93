#include "tests/import/VideoBytes.h"

namespace shadingctl {
namespace {

void AddSample(videoimu::VideoFrameMetaData& frame, std::int64_t timeNs, float x, float y) {
  auto* const sample = frame.add_ois_samples();
  sample->set_time_ns(timeNs);
  sample->set_x_shift(x);
  sample->set_y_shift(y);
}

videoimu::VideoFrameMetaData Frame(std::int64_t number, std::int64_t timeNs) {
  videoimu::VideoFrameMetaData frame;
  frame.set_time_ns(timeNs);
  frame.set_frame_number(number);
  frame.set_exposure_time_ns(500);
  frame.set_frame_duration_ns(1000);
  frame.set_frame_readout_ns(300);
  return frame;
}

}  // namespace

std::string Piece(videoimu::VideoFrameMetaData const& frame) {
  videoimu::VideoCaptureData piece;
  *piece.add_video_meta() = frame;
  return piece.SerializeAsString();
}

videoimu::VideoFrameMetaData FirstFrame() {
  videoimu::VideoFrameMetaData frame = Frame(41, 1000);
  AddSample(frame, 900, 1.5F, -0.25F);
  AddSample(frame, 1400, 2.5F, 0);
  return frame;
}

videoimu::VideoFrameMetaData SecondFrame() {
  videoimu::VideoFrameMetaData frame = Frame(43, 2000);
  AddSample(frame, 1900, -3, 8);
  return frame;
}

std::vector<std::string> OtherFields() {
  using namespace std::string_literals;
  return {"\x08\x96\x01"s, "\x11\x01\x02\x03\x04\x05\x06\x07\x08"s, "\x1A\x05imu_0"s, "\x8D\x08\x01\x02\x03\x04"s};
}

}  // namespace shadingctl
