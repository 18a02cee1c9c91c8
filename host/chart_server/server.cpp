#ifdef _WIN32
#include <winsock2.h>  // ahead of windows.h, which headers below include
#endif

#include "chart_server/server.h"

#include "chart_server/chart_feed.h"
#include "failure.h"
#include "platform/system.h"

#include <array>
#include <atomic>
#include <boost/asio.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <charconv>
#include <fmt/format.h>
#include <optional>
#include <set>
#include <thread>

namespace sarvane::study {
namespace {

using namespace std::chrono_literals;
namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
using asio::ip::tcp;
using Error = boost::system::error_code;

constexpr auto Pace = 40ms;              // from one event of a viewer to the next
constexpr auto Heartbeat = 15s;          // without an event, so that a lost connection is noticed
constexpr auto LongestWrite = 60s;       // then a viewer that takes nothing is let go; its page comes back by itself
constexpr auto LongestRequest = 30s;
constexpr auto Farewell = 500ms;         // for the last events
constexpr std::size_t MostViewers = 64;
constexpr std::size_t MostConnections = 256;
constexpr int SendBuffer = 1 << 16;      // what lies here is behind the newest state

std::string_view View(beast::string_view text) { return {text.data(), text.size()}; }

// The stream of one viewer.
class Viewer : public std::enable_shared_from_this<Viewer> {
public:
    Viewer(tcp::socket connected, const ChartFeed& source, ChartFeed::Seen position)
        : socket(std::move(connected)), pause(socket.get_executor()), patience(socket.get_executor()), feed(source),
          seen(std::move(position)) {}

    void Start() {
        Error ignored;
        socket.set_option(tcp::no_delay(true), ignored);
        socket.set_option(asio::socket_base::send_buffer_size(SendBuffer), ignored);
        WatchForEnd();
        Send("HTTP/1.1 200 OK\r\nContent-Type: text/event-stream\r\nCache-Control: no-store\r\n"
             "X-Content-Type-Options: nosniff\r\nCross-Origin-Resource-Policy: same-origin\r\nConnection: close\r\n\r\n"
             "retry: 1000\n\n");
    }

    // Sends what is new, unless something is still on its way.
    void Push() {
        if (isWriting || isPausing || !socket.is_open()) return;
        if (auto event = feed.Next(seen)) Send(std::move(*event));
    }

    void Close() {
        Error ignored;
        socket.shutdown(tcp::socket::shutdown_both, ignored);
        socket.close(ignored);
        pause.cancel();
        patience.cancel();
    }

    bool IsOpen() const { return socket.is_open(); }
    bool IsWriting() const { return isWriting; }
    // Sends without a pause what is left.
    void Hurry() {
        isPausing = false;
        Push();
    }

private:
    // A viewer sends nothing; what can be read is its end.
    void WatchForEnd() {
        socket.async_read_some(asio::buffer(nothing), [self = shared_from_this()](Error, std::size_t) { self->Close(); });
    }

    void Send(std::string what) {
        text = std::move(what);
        isWriting = isPausing = true;
        patience.expires_after(LongestWrite);
        patience.async_wait([self = shared_from_this()](Error error) {
            if (!error && self->isWriting) self->Close();
        });
        const auto begun = std::chrono::steady_clock::now();
        asio::async_write(socket, asio::buffer(text), [self = shared_from_this(), begun](Error error, std::size_t) {
            self->isWriting = false;
            self->patience.cancel();
            if (error) return self->Close();
            self->Rest(begun + Pace);
        });
    }

    void Rest(std::chrono::steady_clock::time_point until) {
        pause.expires_at(until);
        pause.async_wait([self = shared_from_this()](Error error) {
            if (error) return;
            self->isPausing = false;
            self->Push();
            if (!self->isPausing) self->WaitForHeartbeat();
        });
    }

    // A push takes the timer over.
    void WaitForHeartbeat() {
        pause.expires_after(Heartbeat);
        pause.async_wait([self = shared_from_this()](Error error) {
            if (!error && !self->isWriting && self->socket.is_open()) self->Send(": \n\n");
        });
    }

    tcp::socket socket;
    asio::steady_timer pause, patience;
    const ChartFeed& feed;
    ChartFeed::Seen seen;
    std::string text;
    std::array<char, 16> nothing;
    bool isWriting = false;
    bool isPausing = false;
};

std::optional<std::uint64_t> NumberIn(std::string_view target, std::string_view name) {
    const std::string_view text = ParameterIn(target, name).value_or("");
    std::uint64_t number = 0;
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && stop == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

std::string SystemText(const Error& error) { return error.message(); }

}  // namespace

class ChartServer::Implementation {
public:
    Implementation(ChartFeed& source, const ServerSettings& settings) : feed(source), acceptor(io) {
        Error error;
        const bool isLoopback = settings.address.empty();
        const auto address = asio::ip::make_address(isLoopback ? "127.0.0.1" : settings.address, error);
        if (error) Fail("--listen: \"{}\" is no IP address", settings.address);
        const tcp::endpoint wanted(address, settings.port);
        acceptor.open(wanted.protocol(), error);
        if (!error) KeepFromPrograms(static_cast<std::intptr_t>(acceptor.native_handle()));
#ifndef _WIN32  // where it would let another program take the address
        if (!error) acceptor.set_option(asio::socket_base::reuse_address(true), error);
#endif
        if (!error) acceptor.bind(wanted, error);
        if (!error) acceptor.listen(asio::socket_base::max_listen_connections, error);
        if (error) Fail("port {} of {}: {}", settings.port, address.to_string(), SystemText(error));
        const std::uint16_t port = acceptor.local_endpoint().port();
        const std::string name = address.is_unspecified() ? asio::ip::host_name()
                                 : address.is_v6()       ? "[" + address.to_string() + "]"
                                                         : address.to_string();
        access.host = fmt::format("{}:{}", name, port);
        access.anyHost = address.is_unspecified();
        access.isLoopback = address.is_loopback();
        if (!isLoopback) access.token = MakeToken();
    }

    void Start() {
        Accept();
        thread = std::thread([this] { io.run(); });
    }

    void Stop() {
        asio::post(io, [this] {
            Error ignored;
            acceptor.close(ignored);
            CloseWhenSent(std::chrono::steady_clock::now() + Farewell);
        });
        thread.join();
        pages.join();
    }

    void Wake() {
        if (isAwake.exchange(true)) return;
        asio::post(io, [this] {
            isAwake = false;
            for (const auto& viewer : viewers) viewer->Push();
        });
    }

    const Access& Rules() const { return access; }

private:
    // One request after the other on a connection.
    class Connection : public std::enable_shared_from_this<Connection> {
    public:
        Connection(tcp::socket connected, Implementation& owner)
            : stream(std::move(connected)), server(&owner) {
            ++server->connectionCount;
        }
        ~Connection() { --server->connectionCount; }
        Connection(const Connection&) = delete;
        Connection& operator=(const Connection&) = delete;

        void Read() {
            request.emplace();
            request->header_limit(8192);
            stream.expires_after(LongestRequest);
            http::async_read_header(stream, buffer, *request, [self = shared_from_this()](Error error, std::size_t) {
                if (!error) self->Answer();
            });
        }

    private:
        void Answer() {
            const auto& header = request->get();
            const auto field = [&](beast::string_view name) { return View(header[name]); };
            const Asked asked = {View(header.method_string()), View(header.target()), field("Host"), field("Origin"),
                                 field("Sec-Fetch-Site")};
            const bool hasBody = header.has_content_length() ? field("Content-Length") != "0" : header.chunked();
            const int refusal = RefusalOf(server->access, asked);
            if (refusal != 0 || hasBody) return Refuse(refusal != 0 ? refusal : 400);
            const std::string_view path = PathIn(server->access, asked.target);
            if (path.empty()) return Redirect();
            if (path == "/") return Write([feed = &server->feed] { return feed->Page(); }, "text/html; charset=utf-8");
            if (path == "/then") return WriteThen(asked.target);
            if (path != "/stream") return Refuse(404);
            if (server->viewers.size() >= MostViewers) return Refuse(503);
            const std::string_view last = field("Last-Event-ID");
            const auto from = ParameterIn(asked.target, "from");
            const auto viewer = std::make_shared<Viewer>(stream.release_socket(), server->feed,
                                                         ChartFeed::SeenIn(last.empty() ? from.value_or("") : last));
            server->Add(viewer);
            viewer->Start();
        }

        void Refuse(int status) {
            response.result(static_cast<unsigned>(status));
            response.set(http::field::content_type, "text/plain");
            if (status == 405) response.set(http::field::allow, "GET");
            if (request->get().method() != http::verb::head)
                response.body() = fmt::format("{} {}\n", status, View(http::obsolete_reason(response.result())));
            Send(false);
        }

        // To the address with a slash at its end, below which the stream is.
        void Redirect() {
            response.result(http::status::moved_permanently);
            response.set(http::field::location, "/" + server->access.token + "/");
            Send(true);
        }

        void WriteThen(std::string_view target) {
            const auto update = NumberIn(target, "update"), bar = NumberIn(target, "bar");
            if (!update && !bar) return Refuse(400);
            Write([feed = &server->feed, update, bar] { return feed->Then(update, bar.value_or(0)); },
                  "application/json");
        }

        // `make` may take long, so it is called in another thread.
        template <class Make>
        void Write(Make make, const char* type) {
            asio::post(server->pages, [self = shared_from_this(), make, type] {
                std::string text;
                int status = 200;
                try {
                    text = make();
                } catch (const std::exception& failure) {
                    text = failure.what();
                    status = 500;
                }
                asio::post(self->stream.get_executor(), [self, status, type, text = std::move(text)]() mutable {
                    self->response.result(static_cast<unsigned>(status));
                    self->response.set(http::field::content_type, status == 200 ? type : "text/plain");
                    self->response.body() = std::move(text);
                    self->Send(self->request->get().keep_alive());
                });
            });
        }

        void Send(bool keepsAlive) {
            response.version(11);
            response.keep_alive(keepsAlive);
            response.set(http::field::cache_control, "no-store");
            response.set("X-Content-Type-Options", "nosniff");
            response.set("X-Frame-Options", "DENY");
            response.set("Referrer-Policy", "no-referrer");
            response.set("Cross-Origin-Resource-Policy", "same-origin");
            response.prepare_payload();
            stream.expires_after(LongestWrite);
            http::async_write(stream, response, [self = shared_from_this(), keepsAlive](Error error, std::size_t) {
                self->response = {};
                if (!error && keepsAlive) return self->Read();
                Error ignored;
                self->stream.socket().shutdown(tcp::socket::shutdown_send, ignored);
            });
        }

        beast::tcp_stream stream;
        Implementation* server;
        beast::flat_buffer buffer{16384};
        std::optional<http::request_parser<http::empty_body>> request;
        http::response<http::string_body> response;
    };

    void Accept() {
        acceptor.async_accept([this](Error error, tcp::socket socket) {
            if (!acceptor.is_open()) return;
            if (error) {  // such as too many open files
                retry.expires_after(100ms);
                return retry.async_wait([this](Error) {
                    if (acceptor.is_open()) Accept();
                });
            }
            KeepFromPrograms(static_cast<std::intptr_t>(socket.native_handle()));
            if (connectionCount < MostConnections) std::make_shared<Connection>(std::move(socket), *this)->Read();
            Accept();
        });
    }

    void Add(const std::shared_ptr<Viewer>& viewer) {
        std::erase_if(viewers, [](const auto& other) { return !other->IsOpen(); });
        viewers.insert(viewer);
    }

    void CloseWhenSent(std::chrono::steady_clock::time_point end) {
        bool isSent = true;
        for (const auto& viewer : viewers) {
            viewer->Hurry();
            isSent = isSent && !viewer->IsWriting();
        }
        if (isSent || std::chrono::steady_clock::now() >= end) {
            for (const auto& viewer : viewers) viewer->Close();
            viewers.clear();
            return io.stop();
        }
        retry.expires_after(5ms);
        retry.async_wait([this, end](Error) { CloseWhenSent(end); });
    }

    ChartFeed& feed;
    Access access;
    std::atomic<std::size_t> connectionCount = 0;
    std::atomic<bool> isAwake = false;
    asio::io_context io{1};
    asio::thread_pool pages{1};
    tcp::acceptor acceptor;
    asio::steady_timer retry{io};
    std::thread thread;
    std::set<std::shared_ptr<Viewer>> viewers;
};

ChartServer::ChartServer(ChartFeed& feed, const ServerSettings& settings)
    : implementation(std::make_unique<Implementation>(feed, settings)) {
    implementation->Start();
}

ChartServer::~ChartServer() { implementation->Stop(); }

std::string ChartServer::Address() const {
    const Access& rules = implementation->Rules();
    return fmt::format("http://{}/{}", rules.host, rules.token.empty() ? "" : rules.token + "/");
}

void ChartServer::Wake() { implementation->Wake(); }

}  // namespace sarvane::study
