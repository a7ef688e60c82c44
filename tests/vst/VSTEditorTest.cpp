#include "drawing/Pictures.h"
#include "editor/ControlText.h"
#include "editor/Editor.h"
#include "link/BrimtidePluginInfo.h"
#include "parameters/Parameter.h"
#include "platform/SystemWindow.h"
#include "plugin/Mission.h"
#include "support/HostedEffect.h"
#include "support/Product.h"
#include "support/ScratchFolder.h"
#include "vst/VSTPlugin.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace tarn {
namespace {

using Pointer = platform::PointerEvent;

std::vector<std::pair<VstInt32, VstInt32>> edits;  // opcodes of the host, with the parameter

VstIntPtr VSTCALLBACK host(AEffect*, VstInt32 opcode, VstInt32 index, VstIntPtr, void*, float) {
    if (opcode == audioMasterBeginEdit || opcode == audioMasterEndEdit)
        edits.emplace_back(opcode, index);
    return 0;
}

// A host with windows, in memory, and the instances that it has loaded.
class HostedEditor : public testing::Test {
protected:
    explicit HostedEditor(const std::string& folder = BUILT_PRODUCT)
        : product(test::Product::of<BrimtidePluginInfo>(folder)) {
        Mission::get().start();
        edits.clear();
    }

    static test::HostedEffect load() {
        const IOConfig stereo(IOPinConfig(2, 1), IOPinConfig(2, 1));
        return test::HostedEffect((new VSTPlugin(0, host, stereo))->getAeffect());
    }
    static Editor& editorOf(const test::HostedEffect& effect) {
        auto* const plugin =
            static_cast<VSTPlugin*>(static_cast<AudioEffect*>(effect.record->object));
        return dynamic_cast<Editor&>(*plugin->HostInterface::getEditor());
    }
    static Point sizeOf(const test::HostedEffect& effect) {
        ERect* rect = nullptr;
        EXPECT_EQ(effect.call(effEditGetRect, 0, 0, &rect), 1);
        EXPECT_EQ(rect->left, 0);
        EXPECT_EQ(rect->top, 0);
        return {rect->right, rect->bottom};
    }
    bool open(const test::HostedEffect& effect) {
        return effect.call(effEditOpen, 0, 0, &parent) != 0;
    }
    platform::OffscreenDesktop::Window& window() { return *desktop.windows().back(); }
    void click(Pointer down, Pointer up, std::int32_t x, std::int32_t y) {
        platform::OffscreenDesktop::Window& clicked = window();
        const auto keep = clicked.shared_from_this();
        desktop.point(clicked, down, {x, y});
        if (clicked.owner != nullptr)
            desktop.point(clicked, up, {x, y});
    }
    std::string statusLine(const test::HostedEffect& effect) {
        for (Control* const control : editorOf(effect).getControls())
            if (control->getControlId() == "special::textdisplay")
                return dynamic_cast<ControlText&>(*control).getText();
        return "none";
    }

    platform::OffscreenDesktop desktop;
    int parent = 0;  // whose address is the host's window
    std::unique_ptr<test::Product> product;
};

TEST_F(HostedEditor, LooksAsItShouldAtEverySize) {
    const test::HostedEffect effect = load();
    EXPECT_NE(effect.record->flags & effFlagsHasEditor, 0);
    for (const auto& [scale, size, picture] :
         {std::tuple(1.0f, Point{520, 200}, "brimtide-100"),
          std::tuple(1.5f, Point{780, 300}, "brimtide-150")}) {
        desktop.scale = scale;
        EXPECT_EQ(sizeOf(effect), size);
        ASSERT_TRUE(open(effect));
        const platform::Area area = window().area;
        EXPECT_EQ((Point{area.right - area.left, area.bottom - area.top}), size);
        window().owner->tick();
        desktop.scale = 3.0f;  // of the next window
        EXPECT_EQ(sizeOf(effect), size);
        test::expectPicture(*editorOf(effect).getCanvas()->getPixels(), picture);
        effect.call(effEditClose);
    }
    effect.call(effClose);
}

}  // namespace
}  // namespace tarn
