// A text or paths that something drops: the samples that they name have frames from 0 on, and each
// path is told once, up to the first that isn't taken.
#include "Require.h"
#include "editor/DragDrop.h"

#include <fuzzer/FuzzedDataProvider.h>

using namespace tarn;
using fuzz::require;

namespace {

struct Hearer : DragDropTarget {
    Hearer() : DragDropTarget(nullptr) {}
    bool receive(Message& any) override {
        const auto& message = static_cast<const WindowMessage&>(any);
        require(message.position == place);
        if (message.code == WindowMessage::DropSample)
            require(message.regionStart >= 0 && message.regionEnd >= 0);
        if (message.code == WindowMessage::DropSample || message.code == WindowMessage::DropFile)
            ++told;
        return answer;
    }
    const Point place{3, 4};
    bool answer = true;
    std::size_t told = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider user(data, size);
    Hearer hearer;
    hearer.answer = user.ConsumeBool();
    const bool isText = user.ConsumeBool();
    platform::DroppedData dropped;
    if (!isText)
        while (user.remaining_bytes() > 0)
            dropped.files.push_back(user.ConsumeRandomLengthString());
    else
        dropped.text = user.ConsumeRemainingBytesAsString();
    const bool isWanted = hearer.dragEnter(dropped, hearer.place);
    require(isWanted == (hearer.answer && (isText || !dropped.files.empty())));
    require(hearer.getDragged() != nullptr && hearer.told == 0);
    const bool isUsed = hearer.drop(dropped, hearer.place);
    require(isUsed == (hearer.answer && hearer.told > 0));
    const std::size_t most = hearer.answer ? dropped.files.size() : 1;
    require(isText ? hearer.answer || hearer.told <= 1
                   : hearer.told == std::min(dropped.files.size(), most));
    require(hearer.getDragged() == nullptr);
    return 0;
}
