// A disk on which every pwrite, which no one but the tap uses, takes 60 ms.
#include <sys/syscall.h>
#include <unistd.h>

extern "C" ssize_t pwrite(int descriptor, void const* bytes, size_t size, off_t offset) {
  usleep(60'000);
  return syscall(SYS_pwrite64, descriptor, bytes, size, offset);
}
