#include "tools/shadingctl/result/ResultWriter.h"

#include <string>

#include "tools/shadingctl/result/RowCsv.h"
#include "tools/shadingctl/result/TableWriter.h"

namespace shadingctl {
namespace {

class CsvWriter : public ResultWriter {
 public:
  explicit CsvWriter(OutputFile& output) : mOutput(output) {}

  void Begin(ReplaySettings const& settings) override {
    if (!settings.rows.none) mOutput.Write(CsvHeader());
  }

  void Add(FrameResult const& row) override { mOutput.Write(CsvRow(row)); }

  void End(ResultEnd const& /*end*/) override {}

 private:
  OutputFile& mOutput;
};

}  // namespace

std::unique_ptr<ResultWriter> MakeResultWriter(Format format, OutputFile& output, TableStyle const& style) {
  switch (format) {
    case Format::kTable:
      return MakeTableWriter(output, style);
    case Format::kCsv:
      return std::make_unique<CsvWriter>(output);
    case Format::kJson:
      return MakeJsonWriter([&output](std::string_view text) { output.Write(text); });
  }
  return nullptr;
}

}  // namespace shadingctl
