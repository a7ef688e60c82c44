#include "parameters/ParameterText.h"

#include "foundation/Dictionary.h"
#include "foundation/NumberText.h"
#include "foundation/Preferences.h"

#include <utility>

namespace tarn {

TextParameter::TextParameter(Radio* parent, std::string id, std::string name, std::string text)
    : Parameter(parent, std::move(id), std::move(name)), text_(std::move(text)) {}

TextParameter::TextParameter(const TextParameter& other)
    : Allocator(), Parameter(other), text_(other.text_.get()) {}

void TextParameter::start() {
    const auto preferences = openPreferences(Preferences::Read);
    std::string text;
    if (preferences && preferences->getString(getId(), text))
        take(text, FromInternal);
}

void TextParameter::stop() {
    if (const auto preferences = openPreferences(Preferences::Write))
        preferences->setString(getId(), text_.get());
}

bool TextParameter::setText(const std::string& text, std::int32_t source) {
    take(text, source);
    return true;
}

void TextParameter::read(const Dictionary& dictionary) {
    Parameter::read(dictionary);
    std::string text;
    dictionary.getString("value", text);
    take(text, FromLoad);
}

void TextParameter::fill(Announcement& announcement) const {
    // Those that listeners were shown before stay, since they may still look at them.
    const std::string& text = announcement.texts.emplace_front(text_.get());
    announcement.message.text = text;
    announcement.message.hasText = true;
    announcement.message.payload = toPayload(text.c_str());
}

ParameterText::ParameterText(Radio* parent, std::string id, std::string name)
    : TextParameter(parent, std::move(id), std::move(name)) {}

void ParameterText::setValue(const std::string& text, std::int32_t source) {
    text_.set(text);
    announce(source);
}

void ParameterText::write(Dictionary& dictionary) const {
    const auto element = dictionary.addDict(stateKey(getId()));
    if (!element)
        return;
    element->setString("value", getValue());
    if (const std::int32_t clone = getClone(); clone != 0)
        element->setAttribute({}, "clone", toText(clone));
}

ParameterCustom::ParameterCustom(Radio* parent, std::string id, std::string name, std::string text)
    : TextParameter(parent, std::move(id), std::move(name), std::move(text)) {}

void ParameterCustom::setValue(const std::string& text, std::int32_t source) {
    if (getBroadcast() == NeverBroadcast)
        return;
    if (takes(text_.set(text)))
        announce(source);
}

void ParameterCustom::write(Dictionary& dictionary) const {
    dictionary.setString(stateKey(getId()), text_.get(), getClone());
}

}  // namespace tarn
