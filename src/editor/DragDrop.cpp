#include "editor/DragDrop.h"

#include "foundation/Dictionary.h"
#include "foundation/Logger.h"
#include "foundation/Message.h"

#include <algorithm>
#include <limits>

namespace tarn {

namespace {

constexpr std::int32_t WholeSample = 10'000;  // frames of a dropped sample that tells no zone

std::int32_t frameOf(std::int64_t frame) {
    return static_cast<std::int32_t>(
        std::clamp<std::int64_t>(frame, 0, std::numeric_limits<std::int32_t>::max()));
}

}  // namespace

DragDropContainer::DragDropContainer(const platform::DroppedData& data) {
    if (data.text) {
        kind_ = Text;
        text_ = *data.text;
        itemCount_ = 1;
    } else if (!data.files.empty()) {
        kind_ = Files;
        for (const std::string& path : data.files)
            files_.emplace_back(path);
        itemCount_ = static_cast<std::int32_t>(files_.size());
    }
}

bool DragDropContainer::next(std::string& item) {
    if (taken_ >= itemCount_)
        return false;
    item = kind_ == Text ? text_ : files_[static_cast<std::size_t>(taken_)].getPath();
    ++taken_;
    return true;
}

bool DragDropHandler::handleFileDrop(const std::string& path, Point point) {
    WindowMessage message(this, WindowMessage::DropFile, point, DroppedText{path});
    return receive(message);
}

bool DragDropHandler::sendSample(const std::string& path, std::int64_t start, std::int64_t end,
                                 Point point) {
    WindowMessage message(this, WindowMessage::DropSample, point,
                          DroppedText{path, frameOf(start), frameOf(end)});
    return receive(message);
}

bool DragDropHandler::handleTextDrop(const std::string& text, Point point) {
    Dictionary tree;
    if (!tree.parseWhole(text))
        return false;
    logLine(LogDetail, "dropped dictionary " + text.substr(0, 200));
    const auto alive = life();
    bool isUsed = false;
    std::string path;
    if (const auto samples = tree.find("samples"))
        for (std::int32_t i = 0; i < samples->count("sample") && !alive.expired(); ++i) {
            const auto sample = samples->getEntry(i, "sample");
            if (!sample || !sample->getString("file", path))
                continue;
            logLine(LogDetail, "dropped sample " + path);
            std::int32_t start = 0, end = WholeSample;
            if (const auto zone = sample->getChild("zone")) {
                zone->getInteger("start", start);
                zone->getInteger("end", end);
            }
            if (!sendSample(path, start, end, point))
                return isUsed;
            isUsed = true;
        }
    if (const auto segment = tree.find("vst-xml/region/segment");
        segment && !alive.expired() && segment->getString("filename", path)) {
        std::int32_t start = 0, end = 0, length = 0;
        segment->getInteger("start", start);
        const bool hasEnd = segment->getInteger("end", end);
        if (hasEnd || segment->getInteger("length", length))
            isUsed = sendSample(path, start, hasEnd ? end : std::int64_t{start} + length, point) ||
                     isUsed;
    }
    return isUsed;
}

bool DragDropTarget::send(std::int32_t code, Point point) {
    WindowMessage message(this, code, nullptr, point, 0);
    return receive(message);
}

bool DragDropTarget::dragEnter(const platform::DroppedData& data, Point point) {
    dragged_ = makeShared<DragDropContainer>(data);
    return dragOver(point);
}

bool DragDropTarget::dragOver(Point point) {
    lastPoint_ = point;
    if (!dragged_ || dragged_->getItemCount() == 0 || !send(WindowMessage::DropQuery, point))
        return false;
    send(WindowMessage::DropOver, point);
    return true;
}

void DragDropTarget::dragLeave() {
    send(WindowMessage::DropEnd, lastPoint_);
    dragged_.reset();
}

bool DragDropTarget::drop(const platform::DroppedData& data, Point point) {
    const auto dropped = makeShared<DragDropContainer>(data);
    dragged_ = dropped;
    lastPoint_ = point;
    const auto alive = life();
    bool isUsed = false;
    std::string item;
    bool isGood = true;  // what can't be taken is told once, not for each of a thousand files
    while (isGood && !alive.expired() && dropped->next(item)) {
        isGood = dropped->getKind() == DragDropContainer::Text ? handleTextDrop(item, point)
                                                               : handleFileDrop(item, point);
        isUsed = isUsed || isGood;
    }
    if (!alive.expired())
        dragLeave();
    return isUsed;
}

}  // namespace tarn
