// A button that switches its parameter between two values.
// Everything rests on one rule: only where the button is let go over itself does a click count,
// unless it is a button that acts while it is held, or at the press.
#pragma once

#include "editor/ControlValue.h"
#include "foundation/Timer.h"

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>

namespace tarn {

/// The values are those of keys "on" and "off", or else the ends of the parameter's range. Key
/// "handle" is a strip: of one frame off, of two off and on, of more also what fades in under the
/// pointer. Keys "up", "off", "on", "down", "downon" (pressed while on), "over" and "blink" are
/// images of their own; "text" and "texton" stand over the image, the latter in "textcoloron", and
/// the former in both states where it stands alone. Without a size, the control takes the images'.
/// docs/skins.md has the other keys. Interface thread.
class ControlValueButton : public ControlValue {
public:
    explicit ControlValueButton(Editor& editor) : ControlValue(editor) {}

    void importDictionary(const Dictionary& dictionary) override;
    bool handle(Message& message) override;
    void refresh() override;
    void suspend() override;
    void drawForeground(Canvas& canvas, const Rect& rect) override;
    bool takesKeyboard() const override { return testFlags(Editable); }
    bool isButton() const override { return true; }

    /// Whether the parameter has the value of "on".
    virtual bool isOn() const { return isAt(true); }

    void pressAndRelease() override;

    /// Flips a second of a button that blinks.
    float getBlinkFrequency() const { return blinkFrequency_; }

    /// Whether the button shows the other one of the two images between which it blinks.
    bool isBlinkPhase() const { return blinkPhase_; }

    /// By how many hundredths, 95 to 105, the next button that is made blinks faster or slower than
    /// the skin says, so that they drift apart; null for the usual one, which is random.
    using BlinkSpread = std::int32_t (*)();
    static void setBlinkSpread(BlinkSpread spread);

protected:
    bool press(const WindowMessage& message) override;
    bool letGo(const WindowMessage& message) override;

    /// What a click that counts does.
    virtual void click();

    // Whether it is pressed, and, from `stopHolding`, whether the pointer is still on it.
    void hold();
    bool stopHolding();

    /// Starts or stops the blinking that the skin asks for.
    void followBlinking(bool isBlinking);

    /// Sets the value of "on" or "off". The control may be gone afterwards.
    void setOn(bool isOn, std::int32_t source);

    std::int32_t getOnInteger() const;

private:
    enum Picture { Off, On, Up, Down, DownOn, Over, Blink, PictureCount };
    struct Image {
        std::shared_ptr<Bitmap> bitmap;
        std::int32_t frame = 0;
    };

    void readImages(const Dictionary& dictionary);
    void readValues(const Dictionary& dictionary);
    void readBlinking(const Dictionary& dictionary);
    bool isAt(bool isOn) const;
    void putBack();
    const Image* firstOf(std::initializer_list<Picture> pictures) const;
    const Image* getImage() const;
    float getGlow() const;
    void drawPlain(Canvas& canvas) const;

    Image images_[PictureCount];
    std::optional<float> onValue_, offValue_;  // none: the ends of the range
    std::string text_, textOn_;
    std::optional<Color> textColorOn_;
    float previousValue_ = 0.0f;  // before the press: plain, or without a parameter the position
    bool glowsWhenOff_ = false;
    bool glowsWhenOn_ = false;
    bool isPush_ = false;   // on while it is held
    bool isLatch_ = false;  // switches at the press
    bool blinks_ = false;
    bool isPressed_ = false;
    bool isInside_ = false;  // while it is pressed
    bool blinkPhase_ = false;
    float blinkFrequency_ = 2.0f;
    std::unique_ptr<Timer> blinkTimer_;
};

}  // namespace tarn
