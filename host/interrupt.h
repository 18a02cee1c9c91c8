#pragma once

namespace sarvane::study {

// While one lives, the first interrupt or termination signal is only noted, so that what has begun can be finished. A
// second one ends the program at once.
class InterruptWatch {
public:
    InterruptWatch();
    ~InterruptWatch();
    InterruptWatch(const InterruptWatch&) = delete;
    InterruptWatch& operator=(const InterruptWatch&) = delete;
};

// Whether a signal was noted since the latest watch began.
bool Interrupted();

}  // namespace sarvane::study
