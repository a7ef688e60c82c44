#include "platform/Dialogs.h"

#include <atomic>
#include <utility>

namespace tarn::platform {

namespace {

std::atomic<DialogOwner> dialogOwner{nullptr};

DialogAnswers& answersOfTest() {
    static DialogAnswers answers;
    return answers;
}

void* ownerWindow() {
    const DialogOwner owner = dialogOwner;
    return owner != nullptr ? owner() : nullptr;
}

}  // namespace

MessageAnswer showMessage(const MessageRequest& request) {
    if (answersOfTest().message)
        return answersOfTest().message(request);
    return detail::showSystemMessage(request, request.parented ? ownerWindow() : nullptr);
}

FileAnswer chooseFile(const FileRequest& request) {
    if (answersOfTest().file)
        return answersOfTest().file(request);
    return detail::chooseSystemFile(request, ownerWindow());
}

void setDialogOwner(DialogOwner owner) noexcept {
    dialogOwner = owner;
}

void setDialogAnswers(DialogAnswers answers) {
    answersOfTest() = std::move(answers);
}

}  // namespace tarn::platform
