#include "HeapBytes.h"

#include <malloc.h>

namespace tarn::bench {

std::size_t heapBytes() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;  // the small ones, and those with pages of their own
}

}  // namespace tarn::bench
