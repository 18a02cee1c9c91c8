#include "alerts.h"

#include "console.h"
#include "failure.h"
#include "platform/system.h"

#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstring>
#include <nlohmann/json.hpp>
#include <thread>

namespace sarvane::study {
namespace {

constexpr std::size_t MostRunning = 64;

// The results of a bar: numbers, null for gaps and what is not finite.
std::string ValuesText(const Live& live, std::size_t bar) {
    nlohmann::ordered_json values;
    for (const Result& result : live.Results()) {
        const double value = live.Value(result, bar);
        const bool isNumber = !IsUndefined(value) && std::isfinite(value);
        values[result.title] = isNumber ? nlohmann::ordered_json(value) : nlohmann::ordered_json();
    }
    return values.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

}  // namespace

Alerts::Alerts(AlertSettings how, std::string name, Fired whenFired)
    : settings(std::move(how)), file(std::move(name)), tellFired(std::move(whenFired)) {}

// Programs go on without this one, which only waits a little to tell of failures.
Alerts::~Alerts() {
    for (int i = 0; i < 200 && !running.empty(); ++i) {
        Collect();
        if (!running.empty()) std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

void Alerts::Start(const Live& live) {
    const std::size_t count = live.Bars().BarCount();
    openBar = count > 0 ? std::string(live.Bars().Date(count - 1)) : std::string();
}

void Alerts::Look(const Live& live) {
    const std::size_t count = live.Bars().BarCount();
    if (settings.conditions.empty() || count == 0) return;
    Collect();
    const std::size_t last = count - 1;
    if (!settings.atClose) {
        LookAt(live, last);
    } else if (live.Bars().Date(last) != openBar) {
        std::size_t closed = last;  // the first one
        for (std::size_t bar = last; bar-- > 0 && closed == last;) {
            if (live.Bars().Date(bar) == openBar) closed = bar;
        }
        for (; closed < last; ++closed) LookAt(live, closed);
    }
    Start(live);
}

void Alerts::LookAt(const Live& live, std::size_t bar) {
    for (std::size_t i = 0; i < settings.conditions.size(); ++i) {
        if (live.Holds(i, bar) && fired.emplace(i, live.Bars().Date(bar)).second)
            Fire(live, bar, settings.conditions[i]);
    }
}

void Alerts::Fire(const Live& live, std::size_t bar, const std::string& condition) {
    const std::string text = fmt::format("{}: {}", live.Bars().Date(bar), condition);
    Tell(text);
    tellFired(live.Bars().Date(bar), condition);
    if (settings.notify) NotifyUser("study", text);
    if (!settings.command.empty()) StartProgramFor(live, bar, condition);
}

void Alerts::StartProgramFor(const Live& live, std::size_t bar, const std::string& condition) {
    if (running.size() >= MostRunning)
        return Tell(fmt::format("{}: not started, because {} of them still run", settings.command, running.size()));
    const long long program = StartProgram(settings.command, settings.throughShell,
                                           {{"STUDY_FILE", file},
                                            {"STUDY_TIME", std::string(live.Bars().Date(bar))},
                                            {"STUDY_CONDITION", condition},
                                            {"STUDY_VALUES", ValuesText(live, bar)}});
    if (program < 0) return Tell(fmt::format("{}: {}", settings.command, std::strerror(errno)));
    running.push_back(program);
}

// Programs that have ended, of which those are told that failed.
void Alerts::Collect() {
    std::erase_if(running, [&](long long program) {
        const auto status = StatusOfProgram(program, false);
        if (status.value_or(0) != 0) Tell(fmt::format("{}: ended with status {}", settings.command, *status));
        return status.has_value();
    });
}

}  // namespace sarvane::study
