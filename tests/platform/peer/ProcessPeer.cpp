// The other process of the tests of processes.
//
//   process-peer name         prints its name
//   process-peer life NAME    exits with what it knows about that process: 0 running, 1 gone,
//                             2 unknown
#include "platform/Process.h"

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <string>

using namespace tarn::platform;

int main(int argc, char** argv) {
    const std::string task = argc > 1 ? argv[1] : "";
    if (task == "life" && argc > 2)
        return static_cast<int>(lifeOf(std::strtoull(argv[2], nullptr, 10), processSpace()));
    std::printf("%" PRIu64 "\n", currentProcess());
    return task == "name" ? 0 : 3;
}
