#include "audio/Effect.h"

#include "audio/IOPin.h"
#include "foundation/Message.h"

#include <algorithm>

namespace tarn {

void Effect::setFlag(std::uint32_t mask, bool on) {
    change(flags_, on ? flags_ | mask : flags_ & ~mask);
}

int Effect::processPinTo(const IOPin& in, IOPin& out) {
    int least = 0;
    const int channels = std::min(in.getChannelCount(), out.getChannelCount());
    for (int i = 0; i < channels; ++i)
        least = std::min(least, processChannelTo(*in.getChannel(i), *out.getChannel(i)));
    return least;
}

void Effect::notifyChanged() {
    PluginMessage message(this, PluginMessage::EffectChanged, 0);
    transmit(message);
}

}  // namespace tarn
