#include "link/ConnectionInfo.h"

#include "platform/Clock.h"

#include <algorithm>
#include <cmath>

namespace tarn {

namespace {

constexpr std::uint32_t LevelSamples = 4800;  // a tenth of a second at 48 kHz

SenderState stateOf(const ConnectionListener& listener, const std::optional<SenderFacts>& sender) {
    using platform::ProcessLife;
    if (!listener.hasMaster())
        return SenderState::Ended;
    const ProcessLife life = sender ? listener.lifeOfSender() : ProcessLife::Unknown;
    if (life == ProcessLife::Gone)
        return SenderState::Gone;
    if (sender && sender->isEnded)
        return SenderState::Ended;
    if (listener.isWrittenWithin(ConnectionLiveSeconds))
        return SenderState::Sending;
    if (listener.lastWriteTime() == 0)
        return SenderState::Waiting;
    return life == ProcessLife::Running || listener.isWrittenWithin(ConnectionFreshSeconds)
               ? SenderState::Paused
               : SenderState::Lost;
}

float levelOf(ConnectionListener& listener) {
    float peak = 0.0f;
    std::vector<float> samples;
    for (const float sample :
         listener.copy(listener.writeIndex() - LevelSamples, LevelSamples, samples))
        peak = std::max(peak, std::abs(sample));  // passes over NaN
    return peak;
}

}  // namespace

ConnectionInfo infoOf(ConnectionListener& listener, std::uint32_t slot) {
    std::optional<SenderFacts> sender = listener.sender();
    ConnectionInfo info{
        slot, stateOf(listener, sender), listener.name(), {}, {}, listener.hasSlave(),
        0.0f, std::move(sender)};
    if (const std::int64_t stamp = listener.lastWriteTime(); stamp != 0) {
        info.age = secondsBefore(platform::calendarSeconds(), stamp);
        info.latency = listener.inputLatency();
    }
    if (info.state == SenderState::Sending)
        info.level = levelOf(listener);
    return info;
}

std::optional<ConnectionInfo> inspectConnection(std::uint32_t slot) {
    ConnectionListener listener(slot);
    if (!listener.hasBlock())
        return std::nullopt;
    return infoOf(listener, slot);
}

std::vector<ConnectionInfo> presentConnections() {
    std::vector<ConnectionInfo> all;
    for (std::uint32_t slot = 0; slot < ConnectionSlots; ++slot)
        if (std::optional<ConnectionInfo> info = inspectConnection(slot))
            all.push_back(*std::move(info));
    return all;
}

std::optional<std::uint32_t> findConnection(std::string_view name) {
    std::optional<std::uint32_t> found;
    for (std::uint32_t slot = 0; slot < ConnectionSlots; ++slot) {
        const ConnectionListener listener(slot);
        if (!listener.hasBlock() || !listener.hasMaster() || listener.name() != name)
            continue;
        if (listener.isWrittenWithin(ConnectionFreshSeconds))
            return slot;
        if (!found)
            found = slot;
    }
    return found;
}

}  // namespace tarn
