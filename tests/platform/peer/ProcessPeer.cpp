// The other process of the tests of processes.
//
//   process-peer NAME   prints its own name and exits with what it knows about that process: 0
//                       running, 1 gone, 2 unknown
#include "platform/Process.h"

#include <cinttypes>
#include <cstdio>
#include <cstdlib>

using namespace tarn::platform;

int main(int, char** argv) {
    std::printf("%" PRIu64 "\n", currentProcess());
    return static_cast<int>(lifeOf(std::strtoull(argv[1], nullptr, 10), processSpace()));
}
