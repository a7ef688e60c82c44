// The system's own dialogs: message boxes, and the choice of a file or folder.
// Everything rests on one rule: a call waits for the user, so it belongs on a thread that may wait;
// a test answers in the user's place.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace tarn::platform {

enum class MessageKind {
    Alert,    // a fault; OK
    Inform,   // news; OK
    Confirm,  // OK, Cancel
    Ask,      // Yes, No, Cancel
};

enum class MessageAnswer { Ok, Yes, No, Cancel };

struct MessageRequest {
    MessageKind kind = MessageKind::Alert;
    std::string title;
    std::string text;
    bool parented = false;  // stands over the editor's window, if there is one
};

/// Linux shows no box: the text goes to standard error, and the answer is the one of the box's
/// first button.
MessageAnswer showMessage(const MessageRequest& request);

enum class FilePurpose { Open, Save, Folder };

struct FileRequest {
    FilePurpose purpose = FilePurpose::Open;
    std::string title;
    std::string prompt;     // shown where the system's dialog has a place for it
    std::string folder;     // where the dialog begins; empty leaves it to the system
    std::string name;       // what it proposes
    std::string kind;       // of the files, for people: "Brimtide Banks"
    std::string wildcards;  // each ended by a semicolon: "*.wav;"
};

struct FileAnswer {
    std::string path;         // empty: cancelled, or failed
    std::uint32_t error = 0;  // the dialog's own code when it failed
};

/// Always over the editor's window, if there is one. Linux has no dialog yet: always cancelled.
FileAnswer chooseFile(const FileRequest& request);

/// How to find the editor's window, as the system knows it; null where there is none. Before
/// threads are started; null takes it away.
using DialogOwner = void* (*)() noexcept;
void setDialogOwner(DialogOwner owner) noexcept;

/// For tests: answers instead of the user; what is empty goes to the system.
struct DialogAnswers {
    std::function<MessageAnswer(const MessageRequest&)> message;
    std::function<FileAnswer(const FileRequest&)> file;
};
void setDialogAnswers(DialogAnswers answers);

namespace detail {

// Of each system; `owner` is the editor's window, or null.
MessageAnswer showSystemMessage(const MessageRequest& request, void* owner);
FileAnswer chooseSystemFile(const FileRequest& request, void* owner);

}  // namespace detail

}  // namespace tarn::platform
