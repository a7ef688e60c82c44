#include "link/ReaderMark.h"

#include "link/SharedWord.h"
#include "platform/Process.h"

namespace tarn {

ReaderMark::ReaderMark(std::uint32_t slot)
    : mapping_(slot < ConnectionSlots
                   ? platform::SharedMemory::open(connectionMappingName(slot), ConnectionBlockSize)
                   : platform::SharedMemory()),
      block_(static_cast<ConnectionBlock*>(mapping_.data())) {
    renew();
}

ReaderMark::~ReaderMark() {
    if (record_ == nullptr || !stands())
        return;
    storeShared(record_->slaveInUse, std::uint8_t{0});
    storeShared(record_->readPosition, 0u);
}

void ReaderMark::renew() {
    if (block_ == nullptr)
        return;
    record_ = nullptr;
    id_ = static_cast<std::uint32_t>(platform::uniqueNumber()) | 1u;
    for (std::uint32_t i = ConnectionSlots - 1; i > 0 && record_ == nullptr; --i)
        if (exchangeShared(block_->readers[i].readPosition, 0u, id_))
            record_ = &block_->readers[i];
    if (record_ != nullptr)
        storeShared(record_->slaveInUse, std::uint8_t{1});
}

bool ReaderMark::stands() const noexcept {
    return record_ == nullptr || loadShared(record_->readPosition) == id_;
}

}  // namespace tarn
