// The one failure of the framework: returned by value from loaders, thrown where a failure can't be
// returned. Success is a `NoError`, whose code is "EAOK".
#pragma once

#include <exception>
#include <string>
#include <string_view>

namespace tarn {

/// Copied and returned as a plain `Error`, whatever its class was: the code tells the classes
/// apart.
class Error : public std::exception {
public:
    /// `where` is where it happened, usually the function's signature; `text` is for the user.
    Error(std::string_view where, std::string_view text);

    /// The text; never null.
    const char* what() const noexcept override { return text_.c_str(); }

    bool isOk() const noexcept { return code == "EAOK"; }

    std::string context;
    std::string code;  // short; empty where a class has none of its own

protected:
    Error() : code("EAOK") {}  // in place, because every transmission makes one
    Error(std::string_view where, std::string_view text, std::string_view shortCode);

private:
    std::string text_;
};

/// Success. Allocates nothing, as no text in it is longer than a few letters; any thread.
class NoError : public Error {};

class GeneralError : public Error {
public:
    GeneralError(std::string_view where, std::string_view text);
};

class ErrorImportFailed : public Error {
public:
    static constexpr const char* Code = "EIFL";

    /// A file, by its path.
    ErrorImportFailed(std::string_view where, std::string_view path);

    /// A sample in a stream, which has no path.
    explicit ErrorImportFailed(std::string_view where);
};

class ErrorNoSuchControlType : public Error {
public:
    ErrorNoSuchControlType(std::string_view where, std::string_view className,
                           std::string_view parameterName);
};

class ErrorNoSuchParameterType : public Error {
public:
    ErrorNoSuchParameterType(std::string_view where, std::string_view className,
                             std::string_view typeName);
};

class ErrorPrefsKeyNotFound : public Error {
public:
    ErrorPrefsKeyNotFound(std::string_view where, std::string_view key);
};

class ErrorPrefsKeyNotSaved : public Error {
public:
    ErrorPrefsKeyNotSaved(std::string_view where, std::string_view key);
};

/// A failure of the framework itself; it has no code.
class ErrorInternal : public Error {
public:
    using Error::Error;
};

namespace Exception {

/// The stored audio of a sample can't be unpacked. No `Error`, and without a text of its own.
class SampleDataCorrupt : public std::exception {};

}  // namespace Exception

}  // namespace tarn
