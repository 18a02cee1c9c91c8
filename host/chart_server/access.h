#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace sarvane::study {

// Who may read what a chart's server has: whoever knows its address, and no page of another origin.
struct Access {
    std::string host;         // of the address, such as "127.0.0.1:8000"
    bool anyHost = false;     // for a server that listens on all addresses of the machine, whatever they are called
    bool isLoopback = true;   // then "localhost" and the other loopback addresses are names of it, too
    std::string token = {};   // that the path has to begin with; empty for none
};

// What a request asks for, as its headers have it; empty where there is none.
struct Asked {
    std::string_view method, target, host, origin, fetchSite;
};

// The status that a request is refused with, and 0 if it is not.
int RefusalOf(const Access& access, const Asked& asked);

// The path behind the token, without the query.
std::string_view PathIn(const Access& access, std::string_view target);

// The value of a parameter in the query of a target; no escapes are resolved. Nothing if it is not there.
std::optional<std::string_view> ParameterIn(std::string_view target, std::string_view name);

// Letters and digits that can't be guessed.
std::string MakeToken();

}  // namespace sarvane::study
