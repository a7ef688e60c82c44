// The bus, the queue and the log, each beside what it can't do without.
#include "Ratios.h"
#include "foundation/Logger.h"
#include "foundation/MessageQueue.h"
#include "foundation/Mutex.h"
#include "foundation/ProductIdentity.h"
#include "foundation/Radio.h"
#include "platform/Folders.h"

#include <cstdio>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace tarn {
namespace {

constexpr int Listeners = 16;

class Hearer : public Radio {
public:
    Hearer() : Radio(nullptr) {}
    bool receive(Message& message) override {
        heard_ += message.payload;
        return true;
    }

private:
    std::uint64_t heard_ = 0;
};

std::vector<std::unique_ptr<Radio>> hearers() {
    std::vector<std::unique_ptr<Radio>> all(Listeners);
    for (auto& hearer : all)
        hearer = std::make_unique<Hearer>();
    return all;
}

void transmitTo16Listeners(benchmark::State& state) {
    Hearer station;
    const auto listeners = hearers();
    for (const auto& listener : listeners)
        listener->tuneIn(&station);
    ParameterMessage message(&station, ParameterMessage::ValueChanged, "OutputLevel", 0, 1, 0.5F,
                             3);
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(station.transmit(message));
    for (const auto& listener : listeners)
        listener->disconnect();
}

// The calls themselves under one recursive lock.
void sixteenVirtualCallsUnderALock(benchmark::State& state) {
    const auto listeners = hearers();
    std::vector<Radio*> pointers(Listeners);
    for (int i = 0; i < Listeners; ++i)
        pointers[i] = listeners[i].get();
    ParameterMessage message(nullptr, ParameterMessage::ValueChanged, "OutputLevel", 0, 1, 0.5F, 3);
    std::recursive_mutex lock;
    for ([[maybe_unused]] auto _ : state) {
        const std::lock_guard hold(lock);
        for (Radio* radio : pointers)
            benchmark::DoNotOptimize(radio->receive(message));
    }
}

constexpr int Queued = 1024;

ParameterMessage changeOf(Radio* station) {
    return {station, ParameterMessage::ValueChanged, "OutputLevel", 0, 1, 0.5F, 3};
}

// A burst of so many messages, then the deliveries: of one message, and of a full queue.
template <int Burst>
void pushAndDeliver(benchmark::State& state) {
    Hearer hearer;
    MessageQueue queue(Queued);
    const ParameterMessage message = changeOf(&hearer);
    for ([[maybe_unused]] auto _ : state) {
        for (int i = 0; i < Burst; ++i)
            benchmark::DoNotOptimize(queue.push(message, &hearer));
        queue.deliver(nullptr);
    }
}

// A ring of the same slots, behind a plain mutex that is held for each copy, but not during
// `receive`. It can't purge, nor wait for a delivery.
class GuardedRing {
public:
    void push(const Message& message, Radio* target) {
        const std::lock_guard hold(lock_);
        Cell& cell = cells_[pushed_ % Queued];
        if (pushed_++ - taken_ == Queued)
            ++taken_;
        cell.slot.store(message);
        cell.target = target;
    }

    void deliver(Radio* sender) {
        MessageSlot slot;
        while (Radio* target = take(slot)) {
            slot.message()->sender = sender;
            target->receive(*slot.message());
        }
    }

private:
    struct Cell {
        MessageSlot slot;
        Radio* target = nullptr;
    };

    Radio* take(MessageSlot& slot) {
        const std::lock_guard hold(lock_);
        if (taken_ == pushed_)
            return nullptr;
        Cell& cell = cells_[taken_++ % Queued];
        slot.store(*cell.slot.message());
        return cell.target;
    }

    std::mutex lock_;
    std::vector<Cell> cells_{Queued};
    std::uint32_t pushed_ = 0;
    std::uint32_t taken_ = 0;
};

template <int Burst>
void pushAndDeliverUnderALock(benchmark::State& state) {
    Hearer hearer;
    GuardedRing ring;
    const ParameterMessage message = changeOf(&hearer);
    for ([[maybe_unused]] auto _ : state) {
        for (int i = 0; i < Burst; ++i)
            ring.push(message, &hearer);
        ring.deliver(nullptr);
    }
}

void logALine(benchmark::State& state) {
    Logger logger(LogProgress);
    int frames = 0;
    for ([[maybe_unused]] auto _ : state)
        logger.log(LogProgress, "host sent %d frames for processing, bumping blocksize to %d",
                   frames++, 512);
}

// The same line, formatted and flushed.
void printAndFlushALine(benchmark::State& state) {
    const std::string path =
        platform::knownFolderPath(platform::KnownFolder::LocalApplicationData, true) +
        "/tarn-bench";
    std::FILE* file = std::fopen(path.c_str(), "w");
    int frames = 0;
    for ([[maybe_unused]] auto _ : state) {
        std::fprintf(file,
                     "%02ld:%02ld:%02ld:%03ld |host sent %d frames for processing, bumping "
                     "blocksize to %d\n",
                     0L, 1L, 2L, 3L, frames++, 512);
        std::fflush(file);
    }
    std::fclose(file);
    std::filesystem::remove(path);
}

const bool registered = [] {
    bench::compare("transmit to 16 listeners", 2.0, transmitTo16Listeners,
                   sixteenVirtualCallsUnderALock);
    bench::compare("push and deliver 1", 1.5, pushAndDeliver<1>, pushAndDeliverUnderALock<1>);
    bench::compare("push and deliver 1,024", 1.5, pushAndDeliver<Queued>,
                   pushAndDeliverUnderALock<Queued>);
    bench::compare("log a line", 1.5, logALine, printAndFlushALine);
    return true;
}();

}  // namespace
}  // namespace tarn
