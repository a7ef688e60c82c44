#include "host/Document.h"

#include <charconv>
#include <cmath>

namespace tarn::host {

namespace {

// The shortest text that gives the number back.
std::string numberText(double number) {
    char text[32];
    return {text, std::to_chars(text, text + sizeof text, number).ptr};
}

std::string newLine(int depth) {
    return "\n" + std::string(static_cast<std::size_t>(depth) * 2, ' ');
}

std::string quoted(const std::string& text) {
    static constexpr char digits[] = "0123456789abcdef";
    std::string result = "\"";
    for (const char letter : text) {
        const auto code = static_cast<unsigned char>(letter);
        if (letter == '"' || letter == '\\')
            result += {'\\', letter};
        else if (code < 0x20)
            result += std::string("\\u00") + digits[code >> 4] + digits[code & 15];
        else
            result += letter;
    }
    return result + '"';
}

}  // namespace

std::string Document::toText() const {
    std::string text;
    writeText(text, 0);
    return text.substr(text.starts_with('\n') ? 1 : 0) + '\n';
}

std::string Document::toJson() const {
    std::string text;
    writeJson(text, 0);
    return text + '\n';
}

bool Document::isNested() const noexcept {
    const auto* list = std::get_if<List>(&value_);
    return std::holds_alternative<Record>(value_) || (list != nullptr && !list->empty());
}

void Document::writeText(std::string& to, int depth) const {
    const auto writeFact = [&](const std::string& name, const Document& fact) {
        to += newLine(depth) + name + (fact.isNested() ? ":" : ": ");
        fact.writeText(to, depth + 1);
    };
    if (const auto* text = std::get_if<std::string>(&value_)) {
        to += *text;
    } else if (const auto* truth = std::get_if<bool>(&value_)) {
        to += *truth ? "yes" : "no";
    } else if (const auto* number = std::get_if<double>(&value_)) {
        to += numberText(*number);
    } else if (const auto* list = std::get_if<List>(&value_)) {
        for (std::size_t i = 0; i < list->size(); ++i)
            writeFact(std::to_string(i), (*list)[i]);
        if (list->empty())
            to += "none";
    } else if (const auto* record = std::get_if<Record>(&value_)) {
        for (const auto& [name, fact] : *record)
            writeFact(name, fact);
    } else {
        to += "none";
    }
}

void Document::writeJson(std::string& to, int depth) const {
    if (const auto* text = std::get_if<std::string>(&value_)) {
        to += quoted(*text);
    } else if (const auto* truth = std::get_if<bool>(&value_)) {
        to += *truth ? "true" : "false";
    } else if (const auto* number = std::get_if<double>(&value_)) {
        to += std::isfinite(*number) ? numberText(*number) : "null";
    } else if (const auto* list = std::get_if<List>(&value_)) {
        to += '[';
        for (const Document& fact : *list) {
            to += (&fact == list->data() ? "" : ",") + newLine(depth + 1);
            fact.writeJson(to, depth + 1);
        }
        to += list->empty() ? "]" : newLine(depth) + ']';
    } else if (const auto* record = std::get_if<Record>(&value_)) {
        to += '{';
        for (const auto& entry : *record) {
            to += (&entry == record->data() ? "" : ",") + newLine(depth + 1);
            to += quoted(entry.first) + ": ";
            entry.second.writeJson(to, depth + 1);
        }
        to += record->empty() ? "}" : newLine(depth) + '}';
    } else {
        to += "null";
    }
}

}  // namespace tarn::host
