#include "progress.h"

#include "console.h"
#include "platform/system.h"

#include <algorithm>
#include <cstdio>
#include <fmt/format.h>

namespace sarvane::study {

Progress::Progress(std::string_view what, double whole)
    : label(Shown(what)), total(whole), terminal(CanRedrawErrors()),
      nextDrawing(std::chrono::steady_clock::now() + std::chrono::seconds(1)) {}

Progress::~Progress() { Hide(); }

void Progress::Hide() {
    if (shown) fmt::print(stderr, "\r\x1b[K");
    shown = false;
}

void Progress::Look(double done) {
    constexpr int Width = 40;
    const auto now = std::chrono::steady_clock::now();
    if (!terminal || total <= 0.0 || now < nextDrawing) return;
    nextDrawing = now + std::chrono::milliseconds(100);
    shown = true;
    const double share = std::clamp(done / total, 0.0, 1.0);
    const int filled = static_cast<int>(share * Width);
    fmt::print(stderr, "\r{} [{:#<{}}{:<{}}] {:3.0f} %", label, "", filled, "", Width - filled, share * 100.0);
    std::fflush(stderr);
}

}  // namespace sarvane::study
