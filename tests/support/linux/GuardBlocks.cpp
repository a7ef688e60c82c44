#include "support/Connections.h"

#include <sanitizer/asan_interface.h>
#include <sys/mman.h>

#include <cinttypes>
#include <cstdio>
#include <fstream>
#include <string>

namespace tarn::test {

// The page on either side, where nothing lies yet; and what the block leaves over of its last page.
void guardBlocks() {
    constexpr std::uintptr_t Page = 4096;
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        std::uintptr_t from = 0, to = 0;
        if (line.find("-Connection ") == std::string::npos ||
            std::sscanf(line.c_str(), "%" SCNxPTR "-%" SCNxPTR, &from, &to) != 2)
            continue;
        for (const std::uintptr_t page : {from - Page, to})
            ::mmap(reinterpret_cast<void*>(page), Page, PROT_NONE,
                   MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED_NOREPLACE, -1, 0);
        if (to - from > ConnectionBlockSize)
            ASAN_POISON_MEMORY_REGION(reinterpret_cast<char*>(from) + ConnectionBlockSize,
                                      to - from - ConnectionBlockSize);
    }
}

}  // namespace tarn::test
