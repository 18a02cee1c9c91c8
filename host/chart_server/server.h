#pragma once

#include "chart_server/access.h"

#include <cstdint>
#include <memory>
#include <string>

namespace sarvane::study {

class ChartFeed;

struct ServerSettings {
    std::string address = {};  // to listen on; empty for the loopback address, which needs no token
    std::uint16_t port = 0;    // a free one for 0
};

// Serves the page of a chart and the stream of its changes by HTTP, in threads of its own. A viewer that takes what it
// gets slowly is sent the newest state once it has taken all, and others don't wait for it.
class ChartServer {
public:
    // Listens from now on. Fails if the address can't be had.
    ChartServer(ChartFeed& feed, const ServerSettings& settings);
    // Sends what is new to viewers that are there, and closes.
    ~ChartServer();
    ChartServer(const ChartServer&) = delete;
    ChartServer& operator=(const ChartServer&) = delete;

    // Of the page, with the token if there is one.
    std::string Address() const;
    // Sends what is new. For any thread.
    void Wake();

private:
    class Implementation;
    std::unique_ptr<Implementation> implementation;
};

}  // namespace sarvane::study
