// What is dragged over an interface and dropped on it, from the desktop or another program.
#pragma once

#include "foundation/File.h"
#include "foundation/Point.h"
#include "foundation/Radio.h"
#include "foundation/SharedObject.h"
#include "platform/SystemWindow.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace tarn {

/// The things of one drag; each is handed out once. Interface thread, as everything here.
class DragDropContainer : public SharedObject {
public:
    enum Kind : std::int32_t { None = -1, Files = 0, Text = 1 };

    /// The text if there is one, or else the files.
    explicit DragDropContainer(const platform::DroppedData& data);

    std::int32_t getItemCount() const { return itemCount_; }
    Kind getKind() const { return kind_; }
    const std::vector<File>& getFiles() const { return files_; }
    const std::string& getText() const { return text_; }

    /// The next file's path, or the text; false if there is nothing left.
    bool next(std::string& item);

private:
    Kind kind_ = None;
    std::int32_t itemCount_ = 0;
    std::int32_t taken_ = 0;
    std::vector<File> files_;
    std::string text_;
};

/// Turns what was dropped into messages to itself, in the skin's pixels. Whoever hears one may end
/// the handler; the rest of what was dropped is told nobody then.
class DragDropHandler : public Radio {
public:
    using Radio::Radio;

    /// Sends `DropFile` with the path: whether it was used.
    virtual bool handleFileDrop(const std::string& path, Point point);

    /// Sends `DropSample` with the path and the first and last frame of each sample that the text
    /// names, up to the first that isn't used: whether one was used. A text is an XML tree of one
    /// of two forms, and anything else is refused:
    ///     <samples><sample file="a.wav"><zone start="5" end="9"/></sample></samples>
    ///     <vst-xml><region><segment filename="a.wav" start="5" length="4"/></region></vst-xml>
    /// Without a zone the frames are 0 to 10,000; a segment may tell its "end" instead.
    virtual bool handleTextDrop(const std::string& text, Point point);

    /// Expires with the handler: whoever calls out looks at it afterwards.
    std::weak_ptr<const int> life() const { return life_; }

protected:
    std::shared_ptr<const int> life_ = std::make_shared<const int>(0);

private:
    bool sendSample(const std::string& path, std::int64_t start, std::int64_t end, Point point);
};

/// Hears of a drag, and holds its things until it ends.
class DragDropTarget : public DragDropHandler {
public:
    using DragDropHandler::DragDropHandler;

    /// Whether something could be dropped at the point.
    bool dragEnter(const platform::DroppedData& data, Point point);
    bool dragOver(Point point);
    void dragLeave();

    /// Hands over the things, up to the first that nobody uses: whether one was used.
    bool drop(const platform::DroppedData& data, Point point);

    /// What is being dragged; null at other times.
    const DragDropContainer* getDragged() const { return dragged_.get(); }

private:
    bool send(std::int32_t code, Point point);

    SharedObjectPtr<DragDropContainer> dragged_;
    Point lastPoint_;
};

}  // namespace tarn
