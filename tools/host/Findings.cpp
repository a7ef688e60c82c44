#include "host/Findings.h"

#include <iostream>

namespace tarn::host {

void Findings::add(const std::string& rule, const std::string& where) {
    const std::lock_guard lock(mutex_);
    if (counts_[rule]++ == 0)
        std::cerr << "broken rule: the plug-in " << rule << (where.empty() ? "" : ", ") << where
                  << '\n';
}

bool Findings::empty() const {
    const std::lock_guard lock(mutex_);
    return counts_.empty();
}

std::string Findings::repetitions() const {
    const std::lock_guard lock(mutex_);
    std::string text;
    for (const auto& [rule, count] : counts_)
        if (count > 1)
            text += std::to_string(count) + " times: the plug-in " + rule + '\n';
    return text;
}

}  // namespace tarn::host
