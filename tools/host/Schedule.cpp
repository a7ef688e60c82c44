#include "host/Schedule.h"

#include "host/Failure.h"
#include "host/Signal.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <string_view>

namespace tarn::host {

namespace {

constexpr int kMostFrames = 1 << 22;

// The whole text as a number, without regard to the system's language.
template <typename Number>
std::optional<Number> numberOf(std::string_view text) {
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return number;
}

}  // namespace

BlockSizes parseBlockSizes(const std::string& text) {
    const std::string_view view = text;
    const std::size_t colon = view.find(':');
    const auto least = numberOf<int>(view.substr(0, colon));
    const auto most =
        colon == std::string_view::npos ? least : numberOf<int>(view.substr(colon + 1));
    if (!least || !most || *least < 1 || *most < *least || *most > kMostFrames)
        throw Failure(ExitBadUse, "'" + text + "' is no block size: give N or MIN:MAX, 1 to " +
                                      std::to_string(kMostFrames));
    return {*least, *most};
}

Setting parseSetting(const std::string& text) {
    const std::string_view view = text;
    const std::size_t equals = view.rfind('=');
    const std::size_t at = equals == std::string_view::npos ? equals : view.find('@', equals);
    Setting setting;
    if (equals != std::string_view::npos && equals > 0) {
        const bool isTimed = at != std::string_view::npos;
        const auto value = numberOf<float>(
            view.substr(equals + 1, isTimed ? at - equals - 1 : std::string_view::npos));
        const auto seconds = isTimed ? numberOf<double>(view.substr(at + 1)) : -1.0;
        if (value && *value >= 0.0f && *value <= 1.0f && seconds &&
            (!isTimed || (*seconds >= 0.0 && *seconds <= 1e9)))
            return {text.substr(0, equals), *value, *seconds};
    }
    throw Failure(ExitBadUse, "'" + text +
                                  "' sets no parameter: give INDEX=VALUE or NAME=VALUE with a "
                                  "value from 0 to 1, and @SECONDS to set it in mid-run");
}

TextSetting parseTextSetting(const std::string& text) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos || equals == 0)
        throw Failure(ExitBadUse, "'" + text + "' sets no parameter: give INDEX=TEXT or NAME=TEXT");
    return {text.substr(0, equals), text.substr(equals + 1)};
}

Schedule::Schedule(std::int64_t frames, BlockSizes sizes, std::uint64_t seed,
                   std::vector<ParameterChange> changes)
    : frames_(frames), sizes_(sizes), seed_(seed), changes_(std::move(changes)) {
    std::stable_sort(changes_.begin(), changes_.end(),
                     [](const auto& a, const auto& b) { return a.frame < b.frame; });
}

Schedule::Block Schedule::next() {
    const auto choice = static_cast<std::uint64_t>(sizes_.most - sizes_.least) + 1;
    std::int64_t end =
        position_ + sizes_.least + static_cast<std::int64_t>(mixedBits(seed_, ++blocks_) % choice);
    end = std::min(end, frames_);

    Block block{position_, 0, {}};
    while (nextChange_ < changes_.size() && changes_[nextChange_].frame <= position_)
        block.changes.push_back(changes_[nextChange_++]);
    if (nextChange_ < changes_.size())
        end = std::min(end, changes_[nextChange_].frame);
    block.frames = static_cast<int>(end - position_);
    position_ = end;
    return block;
}

}  // namespace tarn::host
