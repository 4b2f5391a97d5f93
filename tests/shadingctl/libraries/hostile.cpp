// A library that does to its host what ACT in the environment says, while it is loaded; and without it, or after it has
// written something, hands out the object of the library REAL.
#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>

__attribute__((constructor)) static void Act() {
  char const* const variable = std::getenv("ACT");
  std::string const act = variable == nullptr ? "" : variable;
  if (act == "crash") std::abort();
  if (act == "exit") std::exit(0);
  if (act == "end") _exit(0);
  if (act == "write") {
    std::puts("\x1b[2J{");
    std::fflush(stdout);
    std::fputs("\xe2\x80\xae", stderr);
  }
  if (act != "hang") return;
  for (int signal = 1; signal < NSIG; ++signal) std::signal(signal, SIG_IGN);
  if (fork() == 0) open(std::getenv("PIPE"), O_RDONLY);  // a process more, which the test can see
  for (;;) pause();
}

extern "C" __attribute__((visibility("default"))) void* createInstance() {
  char const* const real = std::getenv("REAL");
  void* const library = real == nullptr ? nullptr : dlopen(real, RTLD_NOW | RTLD_LOCAL);
  void* const symbol = library == nullptr ? nullptr : dlsym(library, "createInstance");
  return symbol == nullptr ? nullptr : reinterpret_cast<void* (*)()>(symbol)();
}
