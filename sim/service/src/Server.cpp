#include "sxmservice/Server.h"

#include "AdminActions.h"
#include "Adts.h"
#include "ErrorCodes.h"
#include "Routes.h"
#include "SegmentAudio.h"

#include <httplib.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <thread>

namespace sxm::service {
namespace {

// Enough workers that a few clients holding keep-alive connections, a delayed endpoint and a
// streaming client do not starve each other.
constexpr std::size_t kWorkerThreads = 16;
constexpr time_t kKeepAliveSeconds = 2;

bool isLoopback(const std::string& host)
{
    return host == "127.0.0.1" || host == "::1" || host == "localhost";
}

void answerUnknownPath(const httplib::Request& req, httplib::Response& res)
{
    if (!res.body.empty() || res.content_length_ != 0) {
        return; // a handler's own error reply stays as it is
    }
    const nlohmann::json body = {{"error",
                                  {{"code", errors::kNotFound},
                                   {"name", "NOT_FOUND"},
                                   {"message", "No such endpoint: " + req.method + " " + req.path +
                                                   " (see docs/service-api.md)"}}}};
    res.set_content(body.dump(), "application/json");
}

} // namespace

struct Server::Impl
{
    explicit Impl(Options options)
        : ctx(std::move(options))
    {}

    ServiceContext ctx;
    mutable std::mutex mutex; // guards http, thread and url
    std::unique_ptr<httplib::Server> http;
    std::thread thread;
    std::string url;
};

Server::Server(Options options)
    : m_impl(std::make_unique<Impl>(std::move(options)))
{}

Server::~Server()
{
    stop();
}

std::uint16_t Server::start(const std::string& host, std::uint16_t port)
{
    std::lock_guard<std::mutex> lock(m_impl->mutex);
    if (m_impl->http) {
        throw std::runtime_error("sxm-service is already running at " + m_impl->url);
    }
    if (!isLoopback(host)) {
        throw std::runtime_error("sxm-service serves loopback only; refusing host \"" + host +
                                 "\"");
    }
    auto http = std::make_unique<httplib::Server>();
    http->new_task_queue = [] {
        return new httplib::ThreadPool(kWorkerThreads);
    };
    http->set_keep_alive_timeout(kKeepAliveSeconds);
    // Headers and body go out in separate writes: without this, Nagle's algorithm and the
    // client's delayed acknowledgement hold small replies back for tens of milliseconds.
    http->set_tcp_nodelay(true);
    http->set_error_handler(answerUnknownPath);
    ServiceContext& ctx = m_impl->ctx;
    registerSessionRoutes(*http, ctx);
    registerContentRoutes(*http, ctx);
    registerPersonalRoutes(*http, ctx);
    registerProgramDataRoutes(*http, ctx);
    registerPlaybackRoutes(*http, ctx);
    registerAdminRoutes(*http, ctx);

    const std::string bindHost = host == "localhost" ? "127.0.0.1" : host;
    int bound = port;
    if (port == 0) {
        bound = http->bind_to_any_port(bindHost);
    } else if (!http->bind_to_port(bindHost, port)) {
        bound = -1;
    }
    if (bound <= 0) {
        throw std::runtime_error("sxm-service could not bind " + bindHost + ":" +
                                 std::to_string(port));
    }
    const std::string urlHost = bindHost == "::1" ? "[::1]" : bindHost;
    m_impl->url = "http://" + urlHost + ":" + std::to_string(bound);
    ctx.setBaseUrl(m_impl->url);
    httplib::Server* raw = http.get();
    m_impl->http = std::move(http);
    // The socket already listens: requests made before this thread accepts wait in the backlog.
    auto ended = std::make_shared<std::atomic<bool>>(false);
    m_impl->thread = std::thread([raw, ended] {
        raw->listen_after_bind();
        ended->store(true);
    });
    // A stop() that came before the accept loop runs would be missed by httplib (it stops only a
    // running server) and its join would never return: start() answers once the loop runs.
    while (!raw->is_running() && !ended->load())
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    if (ended->load() && !raw->is_running()) {
        m_impl->thread.join();
        m_impl->http.reset();
        throw std::runtime_error("sxm-service could not serve on " + m_impl->url);
    }
    return static_cast<std::uint16_t>(bound);
}

void Server::stop()
{
    std::lock_guard<std::mutex> lock(m_impl->mutex);
    if (!m_impl->http) {
        return;
    }
    m_impl->http->stop();
    if (m_impl->thread.joinable()) {
        m_impl->thread.join();
    }
    m_impl->http.reset();
    m_impl->url.clear();
    m_impl->ctx.setBaseUrl({});
}

bool Server::running() const
{
    std::lock_guard<std::mutex> lock(m_impl->mutex);
    return m_impl->http != nullptr;
}

std::string Server::url() const
{
    std::lock_guard<std::mutex> lock(m_impl->mutex);
    return m_impl->url;
}

std::string Server::configUrl() const
{
    const std::string base = url();
    return base.empty() ? base : base + "/config";
}

const Options& Server::options() const
{
    return m_impl->ctx.options();
}

const Catalog& Server::catalog() const
{
    return m_impl->ctx.m_catalog;
}

FaultState& Server::faults()
{
    return m_impl->ctx.m_faults;
}

int Server::endPlayback()
{
    return admin::endPlayback(m_impl->ctx);
}

void Server::changeFavoritesElsewhere(const std::string& user)
{
    admin::changeFavoritesElsewhere(m_impl->ctx, user);
}

void Server::changeRecentsElsewhere(const std::string& user)
{
    admin::changeRecentsElsewhere(m_impl->ctx, user);
}

void Server::exhaustSkips()
{
    admin::exhaustSkips(m_impl->ctx);
}

void Server::expireSessions()
{
    m_impl->ctx.m_sessions.expireAll();
}

void Server::reset()
{
    admin::resetService(m_impl->ctx);
}

std::vector<std::string> Server::takeRequests(const std::string& endpoint)
{
    return m_impl->ctx.m_requests.take(endpoint);
}

std::optional<TunedPlaintext> Server::tunedPlaintext() const
{
    const ServiceContext& ctx = m_impl->ctx;
    const std::optional<TuneRecord::Tune> tune = ctx.m_tunes.last();
    if (!tune) {
        return std::nullopt;
    }
    TunedPlaintext result;
    result.kind = toText(tune->kind);
    result.id = tune->id;
    result.bitrate = tune->bitrate;
    result.fromSegment = tune->startSegment;
    result.toSegment = tune->lastServedSegment.value_or(tune->startSegment - 1);
    result.startOffsetMs = tune->startOffsetMs;
    const std::optional<Stream> stream = findStream(ctx.m_catalog, tune->kind, tune->id);
    for (std::int64_t n = result.fromSegment; stream && n <= result.toSegment; ++n) {
        const std::string_view segment = segmentPlaintext(ctx, *stream, result.bitrate, n);
        result.plaintext.append(n == result.fromSegment
                                    ? segment.substr(adtsStartCut(segment, result.startOffsetMs))
                                    : segment);
    }
    return result;
}

} // namespace sxm::service
