#include "platform/Dialogs.h"

#include <cstdio>

namespace tarn::platform::detail {

MessageAnswer showSystemMessage(const MessageRequest& request, void* /*owner*/) {
    std::fprintf(stderr, "%s: %s\n", request.title.c_str(), request.text.c_str());
    return request.kind == MessageKind::Ask ? MessageAnswer::Yes : MessageAnswer::Ok;
}

FileAnswer chooseSystemFile(const FileRequest& /*request*/, void* /*owner*/) {
    return {};
}

}  // namespace tarn::platform::detail
