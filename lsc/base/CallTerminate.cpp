// Where a noexcept function that clang compiled ends the process. Clang's own copies of this function have no unwind
// table (up to version 15 at least), so a stack dump would end here instead of naming the operation and its caller.

#if defined(__clang__)

#include <exception>

extern "C" void* __cxa_begin_catch(void* exception) noexcept;

extern "C" [[noreturn]] __attribute__((visibility("hidden"), noinline)) void __clang_call_terminate(void* exception) {
  __cxa_begin_catch(exception);
  std::terminate();
}

#endif
