#include "HttpExchange.h"

#include "Log.h"

#include <sxmlib.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace sxmlib {
namespace {

struct ExchangeState
{
    const HttpRequest* request = nullptr;
    HttpResponse* response = nullptr;
};

size_t receiveBody(char* data, size_t size, size_t count, void* user)
{
    auto* state = static_cast<ExchangeState*>(user);
    const size_t bytes = size * count;
    if (state->request->abortRequested && state->request->abortRequested()) {
        state->response->aborted = true;
        return 0; // a short count makes the transport end the transfer
    }
    // Only a successful answer is the caller's data; an error answer is the service's JSON
    // explanation and is kept in `body`.
    const bool success = state->response->status >= 200 && state->response->status < 300;
    if (state->request->onBody && success) {
        if (!state->request->onBody(std::string_view(data, bytes), *state->response)) {
            state->response->aborted = true;
            return 0;
        }
        return bytes;
    }
    state->response->body.append(data, bytes);
    return bytes;
}

std::string trimmed(std::string_view text)
{
    const auto notSpace = [](char c) {
        return c != ' ' && c != '\t' && c != '\r' && c != '\n';
    };
    const auto begin = std::find_if(text.begin(), text.end(), notSpace);
    const auto end = std::find_if(text.rbegin(), text.rend(), notSpace).base();
    return begin < end ? std::string(begin, end) : std::string();
}

std::string lowerCase(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

size_t receiveHeader(char* data, size_t size, size_t count, void* user)
{
    auto* state = static_cast<ExchangeState*>(user);
    const std::string_view line(data, size * count);
    // A status line starts the headers of a new response (after a redirect or a 100 Continue):
    // only the final response's headers are kept.
    if (line.rfind("HTTP/", 0) == 0) {
        state->response->headers.clear();
        const auto space = line.find(' ');
        state->response->status = space == std::string_view::npos
                                      ? 0
                                      : std::atol(std::string(line.substr(space + 1, 3)).c_str());
        return size * count;
    }
    const auto colon = line.find(':');
    if (colon != std::string_view::npos) {
        state->response->headers[lowerCase(trimmed(line.substr(0, colon)))] =
            trimmed(line.substr(colon + 1));
    }
    return size * count;
}

// A cookie line in the transport's (Netscape) format: domain, subdomains flag, path, secure,
// expiry, name and value, separated by tabs.
void readCookieLine(const char* line, std::map<std::string, std::string>& cookies)
{
    std::vector<std::string_view> fields;
    std::string_view rest(line);
    while (true) {
        const auto tab = rest.find('\t');
        fields.push_back(rest.substr(0, tab));
        if (tab == std::string_view::npos)
            break;
        rest.remove_prefix(tab + 1);
    }
    if (fields.size() >= 7)
        cookies[std::string(fields[5])] = std::string(fields[6]);
}

// Owns the context record for one exchange: cleared before the request (an empty cookie list
// is the transport's precondition) and cleared again when the exchange is over (which frees
// the cookie list the transport made). The handle is the caller's and stays alive.
class ContextRecord
{
public:
    ContextRecord() { sirius_HT_clearCtxData(&m_context); }
    ~ContextRecord() { sirius_HT_clearCtxData(&m_context); }
    ContextRecord(const ContextRecord&) = delete;
    ContextRecord& operator=(const ContextRecord&) = delete;
    sirius_HT_ctx* operator->() { return &m_context; }
    sirius_HT_ctx* get() { return &m_context; }

private:
    sirius_HT_ctx m_context{};
};

} // namespace

void HttpHandle::Cleanup::operator()(void* handle) const
{
    sirius_HT_cleanup(handle);
}

HttpHandle::HttpHandle()
    : m_handle(sirius_HT_init())
{
    if (!m_handle)
        throw std::runtime_error("sirius_HT_init gave no handle");
}

std::string HttpResponse::header(const std::string& lowerCaseName) const
{
    const auto found = headers.find(lowerCaseName);
    return found == headers.end() ? std::string() : found->second;
}

HttpResponse perform(const HttpHandle& handle, const HttpRequest& request)
{
    HttpResponse response;
    ExchangeState state{&request, &response};
    char errorText[SIRIUS_HT_ERROR_TEXT_SIZE + 1] = {};

    ContextRecord context;
    context->url = request.url.c_str();
    context->isPost = request.post ? 1 : 0;
    context->body = request.post ? request.body.c_str() : nullptr;
    context->writeFunction = receiveBody;
    context->writeData = &state;
    context->headerFunction = receiveHeader;
    context->headerData = &state;
    context->errorText = errorText;
    context->handle = handle.get();
    context->timeout = request.timeoutSeconds;
    context->connectTimeout = request.connectTimeoutSeconds;

    const int result = sirius_HT_Request(context.get());
    response.status = static_cast<long>(context->responseCode);
    for (const sirius_HT_cookie* cookie = context->cookies; cookie; cookie = cookie->next) {
        if (cookie->line)
            readCookieLine(cookie->line, response.cookies);
    }
    if (result != 0 || context->failed || context->errorCode != 0 || response.aborted) {
        response.failed = true;
        response.failure = errorText[0] ? std::string(errorText)
                                        : "Unable to connect to SiriusXM (transport result " +
                                              std::to_string(result) + ")";
    }
    if (response.failed)
        SXMLIB_DEBUG(request.url << " failed: " << response.failure);
    return response;
}

std::string urlEncode(std::string_view text)
{
    static const char hex[] = "0123456789ABCDEF";
    std::string encoded;
    encoded.reserve(text.size() * 3);
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        const bool unreserved = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
                                (c >= '0' && c <= '9') || c == '-' || c == '_' || c == '.' ||
                                c == '~';
        if (unreserved) {
            encoded.push_back(c);
        } else {
            encoded.push_back('%');
            encoded.push_back(hex[byte >> 4]);
            encoded.push_back(hex[byte & 0x0F]);
        }
    }
    return encoded;
}

} // namespace sxmlib
