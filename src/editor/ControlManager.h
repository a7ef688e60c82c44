// Makes the control that an element of "Controls.xml" asks for.
#pragma once

#include <memory>
#include <string>

namespace tarn {

class Control;
class Dictionary;
class Editor;
class Parameter;

/// One an editor. A product derives its own to add classes, and asks this one for the others.
/// Interface thread.
class ControlManager {
public:
    /// The editor outlives it.
    explicit ControlManager(Editor& editor) : editor_(editor) {}
    ControlManager(const ControlManager&) = delete;
    ControlManager& operator=(const ControlManager&) = delete;
    virtual ~ControlManager() = default;

    /// What the element's "class" asks for, without its settings. Null for an element without a
    /// class, and for the class "None". Throws ErrorNoSuchControlType.
    std::unique_ptr<Control> createFromDictionary(const Dictionary& dictionary) const;

    /// Null if there is no such class for the parameter, which may be null.
    virtual std::unique_ptr<Control> createControl(const Dictionary& dictionary,
                                                   const std::string& className,
                                                   const Parameter* parameter,
                                                   Editor& editor) const;

private:
    Editor& editor_;
};

}  // namespace tarn
