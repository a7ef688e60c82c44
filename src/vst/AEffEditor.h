// The editor's part of the class layer over the VST 2.4 record.
#pragma once

#include "vst/VstInterface.h"

namespace tarn {

class AudioEffect;

/// One effect's editor, as the host drives it, on its interface thread. The effect owns none.
class AEffEditor {
public:
    /// The effect must outlive the editor.
    explicit AEffEditor(AudioEffect* owner = nullptr) : effect(owner) {}
    AEffEditor(const AEffEditor&) = delete;
    AEffEditor& operator=(const AEffEditor&) = delete;
    virtual ~AEffEditor() = default;

    AudioEffect* getEffect() const noexcept { return effect; }

    /// The window's size in pixels, in a record of the editor's that stays; false without one.
    virtual bool getRect(ERect** /*rect*/) { return false; }

    /// In a window of the host's.
    virtual bool open(void* window) {
        systemWindow = window;
        return false;
    }
    virtual void close() { systemWindow = nullptr; }
    virtual bool isOpen() const { return systemWindow != nullptr; }
    virtual void idle() {}

    // Whether the key, or the turn of the wheel, was used.
    virtual bool onKeyDown(const VstKeyCode& /*key*/) { return false; }
    virtual bool onKeyUp(const VstKeyCode& /*key*/) { return false; }
    virtual bool onWheel(float /*distance*/) { return false; }

    /// 0 circular, 1 circular from where it is taken hold of, 2 linear; false if it stays as it is.
    virtual bool setKnobMode(VstInt32 /*mode*/) { return false; }

protected:
    AudioEffect* effect;
    void* systemWindow = nullptr;
};

}  // namespace tarn
