# The phone's processor, compiler and standard library: clang and libc++. Debian's libc++ for arm64 cannot be installed
# beside the one for this machine, so tools/setup-aarch64.sh unpacks it.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER clang-14)
set(CMAKE_CXX_COMPILER clang++-14)
set(CMAKE_C_COMPILER_TARGET aarch64-linux-gnu)
set(CMAKE_CXX_COMPILER_TARGET aarch64-linux-gnu)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
set(libcxx ${CMAKE_CURRENT_LIST_DIR}/../build/aarch64-libcxx-root/usr/lib)
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-fuse-ld=lld -L${libcxx}/llvm-14/lib -Wl,-rpath-link,${libcxx}/aarch64-linux-gnu")
set(CMAKE_EXE_LINKER_FLAGS_INIT ${CMAKE_SHARED_LINKER_FLAGS_INIT})
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/emulate-aarch64)
