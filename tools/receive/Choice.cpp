#include "Choice.h"

#include "ExitStatus.h"
#include "Listing.h"
#include "common/Text.h"

#include <algorithm>
#include <iterator>

namespace tarn::receive {

namespace {

bool isNumber(const std::string& text) {
    return text.find_first_not_of("0123456789") == std::string::npos;
}

std::uint32_t slotOf(const std::string& number) {
    const std::size_t digits = std::min(number.find_first_not_of('0'), number.size());
    const bool isShort = number.size() - digits <= 2;
    const unsigned long value = isShort && digits < number.size() ? std::stoul(number) : 0;
    if (value < 1 || value > ConnectionSlots)
        throw Failure(ExitBadUse, "there is no connection " + number +
                                      "; they are numbered from 1 to " +
                                      std::to_string(ConnectionSlots));
    return static_cast<std::uint32_t>(value - 1);
}

bool isLeftBehind(SenderState state) {
    return state == SenderState::Gone || state == SenderState::Lost || state == SenderState::Ended;
}

}  // namespace

Target chooseTarget(const std::string& wanted, const std::vector<ConnectionInfo>& present) {
    if (!wanted.empty() && isNumber(wanted))
        return {slotOf(wanted), {}};
    std::vector<ConnectionInfo> candidates;
    std::copy_if(present.begin(), present.end(), std::back_inserter(candidates),
                 [&](const ConnectionInfo& info) {
                     return wanted.empty() ? info.state == SenderState::Sending
                                           : info.name == wanted && !isLeftBehind(info.state);
                 });
    if (candidates.size() > 1)
        throw Failure(ExitBadUse, (wanted.empty() ? "several connections send"
                                                  : "several connections have the name \"" +
                                                        tools::printable(wanted) + '"') +
                                      "; give the number of one:\n" + listingText(candidates));
    return wanted.empty() ? Target{} : Target{{}, wanted};
}

}  // namespace tarn::receive
