// The HTTP hooks against a loopback server that sets cookies, echoes posts and answers late.

#include <sxmlib.h>

#include <curl/curl.h>
#include <gtest/gtest.h>
#include <httplib.h>

#include <chrono>
#include <condition_variable>
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
        m_server.Get("/cookies", [](const httplib::Request&, httplib::Response& response) {
            response.headers.emplace("Set-Cookie", "session=abc123; Path=/");
            response.headers.emplace("Set-Cookie", "region=us; Path=/");
            response.headers.emplace("Set-Cookie", "pref=dark; Path=/; Max-Age=3600; HttpOnly");
            response.set_content("cookies set", "text/plain");
        });
        m_server.Post("/echo",
                      [this](const httplib::Request& request, httplib::Response& response) {
                          std::lock_guard<std::mutex> lock(m_mutex);
                          const auto cookies = request.headers.equal_range("Cookie");
                          for (auto line = cookies.first; line != cookies.second; ++line)
                              m_lastCookies += (m_lastCookies.empty() ? "" : " | ") + line->second;
                          response.set_content(request.body, "application/json");
                      });
        // Answers once the test is over, long after any client time-out (or after a minute, so
        // that a client without one fails instead of hanging).
        m_server.Get("/late", [this](const httplib::Request&, httplib::Response& response) {
            std::unique_lock<std::mutex> lock(m_mutex);
            m_released.wait_for(lock, std::chrono::minutes(1), [this] { return m_closing; });
            response.set_content("late", "text/plain");
        });
        m_port = m_server.bind_to_any_port("127.0.0.1");
        m_thread = std::thread([this] { m_server.listen_after_bind(); });
    }

    ~LoopbackServer()
    {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_closing = true;
        }
        m_released.notify_all();
        // stop() only takes effect once the accept loop runs.
        while (!m_server.is_running())
            std::this_thread::yield();
        m_server.stop();
        m_thread.join();
    }

    std::string url(const std::string& path) const
    {
        return "http://127.0.0.1:" + std::to_string(m_port) + path;
    }

    /// Every Cookie line that /echo was sent, in the order sent, joined with " | ".
    std::string echoedCookies() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_lastCookies;
    }

private:
    httplib::Server m_server;
    int m_port = 0;
    std::thread m_thread;
    mutable std::mutex m_mutex;
    std::condition_variable m_released;
    bool m_closing = false;
    std::string m_lastCookies;
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
// body and the error text.
class HttpExchange
{
public:
    HttpExchange()
        : m_handle(sirius_HT_init())
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
        std::memset(errorText, 0, sizeof(errorText));
        context.handle = m_handle.get();
        context.writeFunction = appendToString;
        context.writeData = &body;
        context.errorText = errorText;
        context.timeout = 10;
        context.connectTimeout = 5;
    }

    int request(const std::string& url, const char* postBody = nullptr)
    {
        m_url = url;
        context.url = m_url.c_str();
        context.isPost = postBody != nullptr;
        context.body = postBody;
        return sirius_HT_Request(&context);
    }

    std::vector<std::string> keptCookies() const
    {
        std::vector<std::string> lines;
        for (const sirius_HT_cookie* node = context.cookies; node; node = node->next)
            lines.emplace_back(node->line);
        return lines;
    }

    CURL* handle() const { return static_cast<CURL*>(m_handle.get()); }

    sirius_HT_ctx context;
    std::string body;
    char errorText[SIRIUS_HT_ERROR_TEXT_SIZE];

private:
    std::unique_ptr<void, CurlHandleCleanup> m_handle;
    std::string m_url;
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

} // namespace

// A refused connection and an error status are met against the service in the library's tests;
// a missing URL and a slow answer are not.
TEST(HttpTransport, AMissingUrlMakesNoRequestAndTheTimeoutCoversTheWholeRequest)
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

    LoopbackServer server;
    HttpExchange exchange;
    exchange.context.timeout = 1;
    EXPECT_EQ(exchange.request(server.url("/late")), CURLE_OPERATION_TIMEDOUT);
    EXPECT_EQ(exchange.context.failed, 1);
    EXPECT_EQ(exchange.context.errorCode, -2);
    EXPECT_STREQ(exchange.errorText, kConnectionFailed);
}

TEST(HttpTransport, CookiesAreKeptInCurlsOrderWithTwoZeroBytesAndTravelBackUnchanged)
{
    LoopbackServer server;
    HttpExchange exchange;
    ASSERT_EQ(exchange.request(server.url("/cookies")), CURLE_OK);

    const std::vector<std::string> kept = exchange.keptCookies();
    ASSERT_EQ(kept.size(), 3u);
    EXPECT_EQ(kept, cookieEngineLines(exchange.handle()));
    EXPECT_NE(kept[0].find("\tsession\tabc123"), std::string::npos) << kept[0];
    EXPECT_NE(kept[1].find("\tregion\tus"), std::string::npos) << kept[1];
    EXPECT_EQ(kept[2].rfind("#HttpOnly_", 0), 0u) << kept[2];
    for (const sirius_HT_cookie* node = exchange.context.cookies; node; node = node->next)
        EXPECT_EQ(node->line[std::strlen(node->line) + 1], '\0');

    exchange.prepare();
    ASSERT_EQ(exchange.request(server.url("/echo"), "{}"), CURLE_OK);
    EXPECT_EQ(exchange.body, "{}");
    EXPECT_EQ(exchange.keptCookies(), kept);
    // curl's engine sends the kept cookies in a line of its own, ahead of the fixed line.
    EXPECT_EQ(server.echoedCookies(), "session=abc123; region=us; pref=dark | application/json");
}

// The context's list must be empty on entry; one that is not is the library's to free, so it is
// left as it is rather than lost or doubled.
TEST(HttpTransport, ACookieListAlreadyThereIsLeftIntact)
{
    LoopbackServer server;
    HttpExchange exchange;
    const char line[] = "127.0.0.1\tFALSE\t/\tFALSE\t0\told\tvalue";
    auto* existing = static_cast<sirius_HT_cookie*>(std::calloc(1, sizeof(sirius_HT_cookie)));
    existing->line = static_cast<char*>(std::calloc(sizeof(line) + 1, 1));
    std::strcpy(existing->line, line);
    exchange.context.cookies = existing;

    EXPECT_EQ(exchange.request(server.url("/cookies")), CURLE_OK);
    EXPECT_EQ(exchange.context.cookies, existing);
    EXPECT_EQ(existing->next, nullptr);
    EXPECT_STREQ(existing->line, line);
    EXPECT_EQ(exchange.body, "cookies set") << "the request itself still went through";
}
