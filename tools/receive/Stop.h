// How a user ends what goes on until it is ended: Ctrl-C, and the system's own requests.
#pragma once

namespace tarn::receive {

/// From now on a request to end is only noted; a second one ends the process at once. A reader of
/// our output that goes away is noticed at the next write, and ends nothing by itself.
void noteStopRequests();

/// Whether there was a request. Any thread.
bool isStopRequested() noexcept;

}  // namespace tarn::receive
