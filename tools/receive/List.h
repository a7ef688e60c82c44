// The command `list`: what connections there are, once or again and again.
#pragma once

namespace tarn::receive {

struct ListOptions {
    bool isJson = false;
    bool isWatched = false;  // until a request to stop
};

/// A `Failure` if standard output can't be written to.
void list(const ListOptions& options);

}  // namespace tarn::receive
