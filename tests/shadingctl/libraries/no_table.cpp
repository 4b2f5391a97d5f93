// A library whose object has no table of operations, or one with nothing in it.
#include <cstdlib>

static void* emptyTable[13] = {};
static void* withoutTable[1] = {nullptr};
static void* withEmptyTable[1] = {static_cast<void*>(emptyTable)};
static void* withForeignTable[1] = {reinterpret_cast<void*>(8)};

extern "C" __attribute__((visibility("default"))) void* createInstance() {
  char const* const kind = std::getenv("KIND_OF_TABLE");
  if (kind == nullptr) return nullptr;
  return *kind == '0' ? withoutTable : *kind == '1' ? withEmptyTable : withForeignTable;
}
