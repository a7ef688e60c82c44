#include "audio/SampleRegion.h"

#include "foundation/Dictionary.h"

namespace tarn {

void SampleRegion::read(const Dictionary& dictionary) {
    dictionary.getInteger("start", start);
    dictionary.getInteger("end", end);
}

void SampleRegion::write(Dictionary& dictionary) const {
    dictionary.setInteger("start", start);
    dictionary.setInteger("end", end);
}

}  // namespace tarn
