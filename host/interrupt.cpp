#include "interrupt.h"

#include "platform/system.h"

#include <csignal>

namespace sarvane::study {
namespace {

volatile std::sig_atomic_t interrupted = 0;

}  // namespace

InterruptWatch::InterruptWatch() {
    interrupted = 0;
    OnInterrupt([](int signal) {
        if (interrupted) {
            OnInterrupt(nullptr);
            std::raise(signal);
        }
        interrupted = 1;
    });
}

InterruptWatch::~InterruptWatch() { OnInterrupt(nullptr); }

bool Interrupted() { return interrupted != 0; }

}  // namespace sarvane::study
