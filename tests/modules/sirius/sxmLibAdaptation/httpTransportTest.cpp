// The HTTP hooks against a loopback server that sets cookies and answers GET and POST.

#include "httpCookies.h"
#include "logCapture.h"
#include "siriusLogging.h"

#include <sxmlib.h>

#include <curl/curl.h>
#include <gtest/gtest.h>
#include <httplib.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr char kEmptyUrl[] = "Unable to connect to SiriusXM. Empty url";
constexpr char kConnectionFailed[] =
    "Unable to connect to SiriusXM. Check your Internet connection";

class LoopbackServer
{
public:
    LoopbackServer()
    {
        answer("/cookies", [](const httplib::Request&, httplib::Response& response) {
            response.headers.emplace("Set-Cookie", "session=abc123; Path=/");
            response.headers.emplace("Set-Cookie", "region=us; Path=/");
            response.headers.emplace("Set-Cookie", "pref=dark; Path=/; Max-Age=3600; HttpOnly");
            response.set_content("cookies set", "text/plain");
        });
        answer("/echo", [](const httplib::Request& request, httplib::Response& response) {
            response.set_content(request.body, "application/json");
        });
        answer("/slow", [](const httplib::Request&, httplib::Response& response) {
            std::this_thread::sleep_for(std::chrono::seconds(2));
            response.set_content("late", "text/plain");
        });
        port_ = server_.bind_to_any_port("127.0.0.1");
        thread_ = std::thread([this] { server_.listen_after_bind(); });
    }

    ~LoopbackServer()
    {
        // stop() only takes effect once the accept loop runs.
        while (!server_.is_running())
            std::this_thread::yield();
        server_.stop();
        thread_.join();
    }

    std::string url(const std::string& path) const
    {
        return "http://127.0.0.1:" + std::to_string(port_) + path;
    }

    /// Every Cookie line of the last request, in the order sent, joined with " | ".
    std::string lastCookies() const
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return lastCookies_;
    }

private:
    // Every path answers GET and POST alike, after noting the cookies it was sent.
    void answer(const char* path, httplib::Server::Handler handler)
    {
        auto recorded = [this, handler](const httplib::Request& request,
                                        httplib::Response& response) {
            record(request);
            handler(request, response);
        };
        server_.Get(path, recorded);
        server_.Post(path, recorded);
    }

    void record(const httplib::Request& request)
    {
        std::lock_guard<std::mutex> lock(mutex_);
        lastCookies_.clear();
        const auto cookies = request.headers.equal_range("Cookie");
        for (auto line = cookies.first; line != cookies.second; ++line)
            lastCookies_ += (lastCookies_.empty() ? "" : " | ") + line->second;
    }

    httplib::Server server_;
    int port_ = 0;
    std::thread thread_;
    mutable std::mutex mutex_;
    std::string lastCookies_;
};

size_t appendToString(char* data, size_t size, size_t count, void* target)
{
    static_cast<std::string*>(target)->append(data, size * count);
    return size * count;
}

struct CurlHandleCleanup
{
    void operator()(void* handle) const { sirius_HT_cleanup(handle); }
};

// A library-side context as the client library keeps one: a handle of its own, buffers for the
// body, the headers and the error text.
class HttpExchange
{
public:
    HttpExchange()
        : handle_(sirius_HT_init())
    {
        std::memset(&context, 0, sizeof(context));
        prepare();
    }
    ~HttpExchange() { sirius_HT_clearCtxData(&context); }

    // Clears the context (cookies included) and points it at this exchange's buffers again.
    void prepare()
    {
        sirius_HT_clearCtxData(&context);
        body.clear();
        headers.clear();
        std::memset(errorText, 0, sizeof(errorText));
        context.handle = handle_.get();
        context.writeFunction = appendToString;
        context.writeData = &body;
        context.headerFunction = appendToString;
        context.headerData = &headers;
        context.errorText = errorText;
        context.timeout = 10;
        context.connectTimeout = 5;
    }

    int get(const std::string& url) { return request(url, 0, nullptr); }
    int post(const std::string& url, const char* postBody) { return request(url, 1, postBody); }

    std::vector<std::string> keptCookies() const
    {
        std::vector<std::string> lines;
        for (const sirius_HT_cookie* node = context.cookies; node; node = node->next)
            lines.emplace_back(node->line);
        return lines;
    }

    CURL* handle() const { return static_cast<CURL*>(handle_.get()); }

    sirius_HT_ctx context;
    std::string body;
    std::string headers;
    char errorText[SIRIUS_HT_ERROR_TEXT_SIZE];

private:
    int request(const std::string& url, int isPost, const char* postBody)
    {
        url_ = url;
        context.url = url_.c_str();
        context.isPost = isPost;
        context.body = postBody;
        return sirius_HT_Request(&context);
    }

    std::unique_ptr<void, CurlHandleCleanup> handle_;
    std::string url_;
};

std::vector<std::string> cookieEngineLines(CURL* handle)
{
    curl_slist* list = nullptr;
    EXPECT_EQ(curl_easy_getinfo(handle, CURLINFO_COOKIELIST, &list), CURLE_OK);
    std::vector<std::string> lines;
    for (const curl_slist* line = list; line; line = line->next)
        lines.emplace_back(line->data);
    curl_slist_free_all(list);
    return lines;
}

sirius_HT_cookie* newKeptCookie(const char* line)
{
    auto* node = static_cast<sirius_HT_cookie*>(std::calloc(1, sizeof(sirius_HT_cookie)));
    node->line = static_cast<char*>(std::calloc(std::strlen(line) + 2, 1));
    std::strcpy(node->line, line);
    return node;
}

} // namespace

TEST(HttpTransport, EmptyOrMissingUrlFailsWithoutARequest)
{
    for (const char* url : {static_cast<const char*>(nullptr), ""}) {
        HttpExchange exchange;
        exchange.context.url = url;
        exchange.context.responseCode = 777;
        EXPECT_EQ(sirius_HT_Request(&exchange.context), 0);
        EXPECT_EQ(exchange.context.errorCode, -3);
        EXPECT_STREQ(exchange.errorText, kEmptyUrl);
        EXPECT_EQ(exchange.context.responseCode, 777) << "no request, so no response code";
        EXPECT_EQ(exchange.context.failed, 0);
    }
}

// A refused connection and an error status are met against the service in the library's tests;
// a slow answer is not.
TEST(HttpTransport, TheTimeoutCoversTheWholeRequest)
{
    LoopbackServer server;
    HttpExchange exchange;
    exchange.context.timeout = 1;
    EXPECT_EQ(exchange.get(server.url("/slow")), CURLE_OPERATION_TIMEDOUT);
    EXPECT_EQ(exchange.context.failed, 1);
    EXPECT_EQ(exchange.context.errorCode, -2);
    EXPECT_STREQ(exchange.errorText, kConnectionFailed);
}

TEST(HttpTransport, CookiesAreKeptInCurlsOrderWithTwoZeroBytesAndTravelBackUnchanged)
{
    LoopbackServer server;
    HttpExchange exchange;
    ASSERT_EQ(exchange.get(server.url("/cookies")), CURLE_OK);

    const std::vector<std::string> kept = exchange.keptCookies();
    ASSERT_EQ(kept.size(), 3u);
    EXPECT_EQ(kept, cookieEngineLines(exchange.handle()));
    EXPECT_NE(kept[0].find("\tsession\tabc123"), std::string::npos) << kept[0];
    EXPECT_NE(kept[1].find("\tregion\tus"), std::string::npos) << kept[1];
    EXPECT_EQ(kept[2].rfind("#HttpOnly_", 0), 0u) << kept[2];
    for (const sirius_HT_cookie* node = exchange.context.cookies; node; node = node->next)
        EXPECT_EQ(node->line[std::strlen(node->line) + 1], '\0');

    exchange.prepare();
    ASSERT_EQ(exchange.post(server.url("/echo"), "{}"), CURLE_OK);
    EXPECT_EQ(exchange.keptCookies(), kept);
    // curl's engine sends the kept cookies in a line of its own, ahead of the fixed line.
    EXPECT_EQ(server.lastCookies(), "session=abc123; region=us; pref=dark | application/json");
}

TEST(HttpTransport, NonEmptyCookieListIsKeptIntactAndTheErrorLogged)
{
    LoopbackServer server;
    HttpExchange exchange;
    sirius::test::LogCapture log(sirius::siriusLibraryLogger());
    sirius_HT_cookie* existing = newKeptCookie("127.0.0.1\tFALSE\t/\tFALSE\t0\told\tvalue");
    exchange.context.cookies = existing;

    EXPECT_EQ(exchange.get(server.url("/cookies")), CURLE_OK);

    EXPECT_EQ(exchange.context.cookies, existing);
    EXPECT_EQ(existing->next, nullptr);
    EXPECT_STREQ(existing->line, "127.0.0.1\tFALSE\t/\tFALSE\t0\told\tvalue");
    EXPECT_EQ(exchange.body, "cookies set") << "the request itself still went through";
    const auto errors = log.linesContaining("still holds cookies");
    ASSERT_EQ(errors.size(), 1u);
    EXPECT_EQ(errors[0].level, log4cplus::ERROR_LOG_LEVEL);
}
