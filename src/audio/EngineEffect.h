// Base of the engines that process what comes in, rather than play notes.
#pragma once

#include "audio/Engine.h"

namespace tarn {

class EngineEffect : public Engine {
public:
    using Engine::Engine;
};

}  // namespace tarn
