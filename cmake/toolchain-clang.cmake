# Clang on the build machine: its sanitizers come with the fuzzer's coverage.
set(CMAKE_C_COMPILER clang-14)
set(CMAKE_CXX_COMPILER clang++-14)
