// A small tree of facts that is shown to people or to programs.
#pragma once

#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace tarn::host {

/// Nothing, a text, a number, a truth, a list, or a record of named facts in their order.
class Document {
public:
    using List = std::vector<Document>;
    using Record = std::vector<std::pair<std::string, Document>>;

    Document() = default;
    Document(const char* text) : value_(std::string(text)) {}
    Document(std::string text) : value_(std::move(text)) {}
    Document(bool truth) : value_(truth) {}
    Document(int number) : value_(static_cast<double>(number)) {}
    Document(double number) : value_(number) {}
    Document(List list) : value_(std::move(list)) {}
    Document(Record record) : value_(std::move(record)) {}

    /// One line a fact, what is inside another one indented.
    std::string toText() const;

    /// JSON as RFC 8259 has it; numbers that JSON lacks become null. Texts are UTF-8 before.
    std::string toJson() const;

private:
    bool isNested() const noexcept;
    void writeText(std::string& to, int depth) const;
    void writeJson(std::string& to, int depth) const;

    std::variant<std::monostate, std::string, bool, double, List, Record> value_;
};

}  // namespace tarn::host
