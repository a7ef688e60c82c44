#include "List.h"

#include "Listing.h"
#include "Stop.h"
#include "common/Arguments.h"
#include "platform/Screen.h"

#include <algorithm>
#include <chrono>
#include <thread>

namespace tarn::receive {

namespace {

using namespace std::chrono_literals;

constexpr auto RedrawInterval = 100ms;
constexpr auto ReprintInterval = 1000ms;  // where nothing can be redrawn

constexpr const char* HideCursorAndCutLines = "\x1b[?25l\x1b[?7l";
constexpr const char* ShowCursorAndWrapLines = "\x1b[?7h\x1b[?25h";
constexpr const char* ClearToLineEnd = "\x1b[K\n";
constexpr const char* ClearBelow = "\x1b[J";

// In steps, so that a request to stop is soon heard.
void waitFor(std::chrono::milliseconds time) {
    for (; time > 0ms && !isStopRequested(); time -= RedrawInterval)
        std::this_thread::sleep_for(RedrawInterval);
}

// Line over line, in one write and without clearing before: so nothing flickers.
std::string drawnOver(const std::string& text, std::ptrdiff_t formerLines) {
    std::string drawn = formerLines > 0 ? "\x1b[" + std::to_string(formerLines) + "A\r" : "\r";
    for (const char letter : text)
        if (letter == '\n')
            drawn += ClearToLineEnd;
        else
            drawn += letter;
    return drawn + ClearBelow;
}

void redrawUntilStopped() {
    tools::print(HideCursorAndCutLines);
    std::ptrdiff_t lines = 0;
    while (!isStopRequested()) {
        const std::string text = listingText(presentConnections(), LevelColumn::Shown);
        tools::print(drawnOver(text, lines));
        lines = std::count(text.begin(), text.end(), '\n');
        waitFor(RedrawInterval);
    }
    tools::print(ShowCursorAndWrapLines);
}

void reprintUntilStopped() {
    while (!isStopRequested()) {
        tools::print(listingText(presentConnections(), LevelColumn::Shown) + "\n");
        waitFor(ReprintInterval);
    }
}

}  // namespace

void list(const ListOptions& options) {
    const platform::Screen screen;
    if (options.isWatched) {
        noteStopRequests();
        screen.canRedraw() ? redrawUntilStopped() : reprintUntilStopped();
        return;
    }
    const auto connections = presentConnections();
    tools::print(options.isJson ? listingJson(connections) : listingText(connections));
}

}  // namespace tarn::receive
