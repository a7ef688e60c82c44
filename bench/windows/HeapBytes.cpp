#include "HeapBytes.h"

#include <malloc.h>

namespace tarn::bench {

std::size_t heapBytes() {
    std::size_t bytes = 0;
    _HEAPINFO entry{};
    while (_heapwalk(&entry) == _HEAPOK)
        if (entry._useflag == _USEDENTRY)
            bytes += entry._size;
    return bytes;
}

}  // namespace tarn::bench
