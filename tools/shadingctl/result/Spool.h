// Batches that wait in a temporary file until the rows before them in a JSON result are written.
#pragma once

#include <cstdio>
#include <functional>
#include <memory>
#include <string_view>

#include "tools/shadingctl/result/ResultWriter.h"

namespace shadingctl {

// The file has no name and goes away with the object. Everything that fails throws UnusableInput.
class BatchSpool {
 public:
  BatchSpool();

  void Add(DeliveredBatch const& batch);

  // The batches in their order, as the members of a JSON list, piece by piece.
  void Read(std::function<void(std::string_view)> const& take);

 private:
  [[noreturn]] static void Fail();

  std::unique_ptr<std::FILE, int (*)(std::FILE*)> mFile;
  bool mFirst = true;
};

}  // namespace shadingctl
