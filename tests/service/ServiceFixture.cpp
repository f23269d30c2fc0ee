#include "ServiceFixture.h"

namespace sxm::service::test {

TestClient::TestClient(const std::string& host, int port)
    : http_(host, port)
{
    http_.set_read_timeout(20, 0);
}

httplib::Headers TestClient::headers() const
{
    httplib::Headers headers;
    if (literalCookieLine_) {
        headers.emplace("Cookie", "application/json");
    }
    if (!cookie_.empty()) {
        headers.emplace("Cookie", cookie_);
    }
    return headers;
}

Reply TestClient::convert(const httplib::Result& result)
{
    Reply reply;
    if (!result) {
        return reply;
    }
    reply.status = result->status;
    reply.body = result->body;
    reply.headers = result->headers;
    if (result->get_header_value("Content-Type") == "application/json") {
        reply.json = Json::parse(result->body, nullptr, false);
    }
    return reply;
}

Reply TestClient::get(const std::string& path)
{
    return convert(http_.Get(path, headers()));
}

Reply TestClient::post(const std::string& path, const Json& body)
{
    return postRaw(path, body.dump());
}

Reply TestClient::postRaw(const std::string& path, const std::string& body)
{
    return convert(http_.Post(path, headers(), body, "application/json"));
}

Reply TestClient::signIn(const std::string& user, const std::string& password)
{
    Reply reply =
        post("/api/v1/session/login",
             {{"user", user},
              {"password", password},
              {"device", {{"make", "Acme"}, {"model", "Tuner 9"}, {"mac", "00:11:22:33:44:55"}}}});
    for (const auto& [name, value] : reply.headers) {
        if (name == "Set-Cookie") {
            cookie_ = value.substr(0, value.find(';'));
        }
    }
    return reply;
}

void ServiceFixture::SetUp()
{
    Options options;
    options.clock = [this] {
        return now_.load();
    };
    adjust(options);
    server_ = std::make_unique<Server>(options);
    port_ = server_->start();
}

void ServiceFixture::TearDown()
{
    server_.reset();
}

std::unique_ptr<TestClient> ServiceFixture::client()
{
    return std::make_unique<TestClient>("127.0.0.1", port_);
}

std::unique_ptr<TestClient> ServiceFixture::signedInClient()
{
    auto c = client();
    const Reply reply = c->signIn();
    EXPECT_EQ(reply.status, 200) << reply.body;
    return c;
}

} // namespace sxm::service::test
