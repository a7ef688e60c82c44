// Parameters that are texts.
// Everything rests on one rule: a text isn't a number. Normalised and plain value are 0, and
// setting one does nothing.
#pragma once

#include "parameters/LockedText.h"
#include "parameters/Parameter.h"

namespace tarn {

/// What the two families of texts have in common. The audio thread may ask for the text's numbers
/// but neither reads nor sets the text. A message of theirs holds a copy of the text; its payload
/// points to the zero-terminated characters while it is delivered.
class TextParameter : public Parameter {
public:
    // Keep and fetch the text of a persistent parameter.
    void start() override;
    void stop() override;

    float getNormalised() const override { return 0.0f; }
    void setNormalised(float /*normalised*/, std::int32_t /*source*/) override {}
    float getFloat() const override { return 0.0f; }
    void setFloat(float /*value*/, std::int32_t /*source*/) override {}
    std::string getText() const override { return text_.get(); }
    bool setText(const std::string& text, std::int32_t source) override;
    std::int32_t getStepCount() const override { return 0; }
    std::int32_t getType() const override { return String; }

    /// A state without a text empties it.
    void read(const Dictionary& dictionary) override;

protected:
    TextParameter(Radio* parent, std::string id, std::string name, std::string text = {});
    TextParameter(const TextParameter& other);

    void fill(Announcement& announcement) const override;
    virtual void take(const std::string& text, std::int32_t source) = 0;

    LockedText text_;
};

/// A free text, such as the name of a connection.
class ParameterText : public TextParameter {
public:
    ParameterText(Radio* parent, std::string id, std::string name);
    ParameterText(const ParameterText& other) = default;

    virtual std::string getValue() const { return text_.get(); }

    /// Listeners are told in any case.
    virtual void setValue(const std::string& text, std::int32_t source);

    void write(Dictionary& dictionary) const override;

protected:
    void take(const std::string& text, std::int32_t source) override { setValue(text, source); }
};

/// A text of which the broadcast rule decides whether a new one is taken.
class ParameterCustom : public TextParameter {
public:
    ParameterCustom(Radio* parent, std::string id, std::string name, std::string text = {});
    ParameterCustom(const ParameterCustom& other) = default;

    void setValue(const std::string& text, std::int32_t source);

    void write(Dictionary& dictionary) const override;

protected:
    void take(const std::string& text, std::int32_t source) override { setValue(text, source); }
};

}  // namespace tarn
