#include "support/Connections.h"

namespace tarn::test {

// Views begin at every 64 kB, so that pages that fault lie behind each of them anyway.
void guardBlocks() {}

}  // namespace tarn::test
