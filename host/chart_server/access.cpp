#include "chart_server/access.h"

#include <algorithm>
#include <fmt/format.h>
#include <random>

namespace sarvane::study {
namespace {

enum Status { Allowed = 0, Forbidden = 403, MethodNotAllowed = 405, Misdirected = 421 };

std::string_view PortOf(std::string_view host) { return host.substr(std::min(host.rfind(':'), host.size())); }

// Against pages whose own name was made to lead to this server.
bool IsHost(const Access& access, std::string_view host) {
    const std::string_view port = PortOf(access.host);
    if (host == access.host) return true;
    if (access.anyHost) return PortOf(host) == port;
    const auto isNamed = [&](std::string_view name) {
        return host.size() == name.size() + port.size() && host.starts_with(name) && host.ends_with(port);
    };
    return access.isLoopback && (isNamed("localhost") || isNamed("127.0.0.1") || isNamed("[::1]"));
}

// Takes as long for any text of the token's length.
bool BeginsWithToken(std::string_view path, std::string_view token) {
    if (path.size() <= token.size() || path[0] != '/') return false;
    unsigned difference = 0;
    for (std::size_t i = 0; i < token.size(); ++i)
        difference |= static_cast<unsigned char>(path[i + 1]) ^ static_cast<unsigned char>(token[i]);
    return difference == 0 && (path.size() == token.size() + 1 || path[token.size() + 1] == '/');
}

std::string_view WithoutQuery(std::string_view target) { return target.substr(0, target.find('?')); }

}  // namespace

int RefusalOf(const Access& access, const Asked& asked) {
    if (asked.method != "GET") return MethodNotAllowed;
    if (!IsHost(access, asked.host)) return Misdirected;
    if (!access.token.empty() && !BeginsWithToken(WithoutQuery(asked.target), access.token)) return Forbidden;
    if (!asked.origin.empty() && asked.origin != fmt::format("http://{}", asked.host)) return Forbidden;
    // Another page may lead to the chart, but read nothing of it.
    const bool isPage = PathIn(access, asked.target) == "/";
    const bool isOwn = asked.fetchSite.empty() || asked.fetchSite == "same-origin" || asked.fetchSite == "none";
    return isPage || isOwn ? Allowed : Forbidden;
}

std::string_view PathIn(const Access& access, std::string_view target) {
    const std::size_t length = access.token.empty() ? 0 : access.token.size() + 1;
    return WithoutQuery(target).substr(std::min(length, WithoutQuery(target).size()));
}

std::optional<std::string_view> ParameterIn(std::string_view target, std::string_view name) {
    std::string_view query = target.substr(std::min(WithoutQuery(target).size() + 1, target.size()));
    while (!query.empty()) {
        const std::string_view part = query.substr(0, query.find('&'));
        if (part.starts_with(name) && part.size() > name.size() && part[name.size()] == '=')
            return part.substr(name.size() + 1);
        query.remove_prefix(std::min(part.size() + 1, query.size()));
    }
    return std::nullopt;
}

std::string MakeToken() {
    std::random_device random;
    std::string token;
    for (int i = 0; i < 4; ++i) token += fmt::format("{:08x}", random());
    return token;
}

}  // namespace sarvane::study
