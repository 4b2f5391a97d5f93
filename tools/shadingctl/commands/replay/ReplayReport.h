// The page that `shadingctl replay --report` writes: that of its JSON result with all frames and samples.
#pragma once

#include <memory>
#include <string>

#include "tools/shadingctl/output/OutputFile.h"
#include "tools/shadingctl/result/ResultWriter.h"

namespace shadingctl {

// Holds the whole result until the end.
class ReplayReport {
 public:
  // Throws UnusableInput where `path` cannot be written.
  explicit ReplayReport(std::string const& path);

  void Begin(ReplaySettings settings);
  void Add(FrameResult const& row) { mWriter->Add(row); }
  void AddBatch(DeliveredBatch const& batch) { mWriter->AddBatch(batch); }
  // The page is written; file() is not finished.
  void End(ResultEnd const& end);

  OutputFile& File() { return mFile; }

 private:
  OutputFile mFile;
  std::string mResult;
  std::string mName;
  std::unique_ptr<ResultWriter> mWriter;
};

}  // namespace shadingctl
