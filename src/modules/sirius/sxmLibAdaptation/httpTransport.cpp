// The HTTP hooks of the client library (sirius_HT_*), on libcurl's easy interface. Called on the
// library's threads, one request per context at a time; no state is kept between calls.

#include "curlHandles.h"
#include "httpCookies.h"
#include "siriusLogging.h"

#include <sxmlib.h>

#include <cstring>
#include <mutex>
#include <string_view>

namespace {

constexpr std::string_view kEmptyUrl = "Unable to connect to SiriusXM. Empty url";
constexpr std::string_view kInternalError = "Unable to connect to SiriusXM. Internal error";
constexpr std::string_view kConnectionFailed =
    "Unable to connect to SiriusXM. Check your Internet connection";

constexpr int kNoRequestMade = -3;
constexpr int kRequestFailed = -2;

static_assert(kConnectionFailed.size() < SIRIUS_HT_ERROR_TEXT_SIZE,
              "every failure message fits the library's error buffer");

// curl_global_init is not safe to race with the first curl_easy_init of another thread, and the
// library may start requests on several threads at once. It is never undone: the library's
// threads live until the process ends.
void ensureCurlInitialized()
{
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

// The library gets the message without a terminating zero; its buffer arrives zero-filled.
void reportFailure(sirius_HT_ctx* context, int code, std::string_view message)
{
    context->errorCode = code;
    if (context->errorText)
        std::memcpy(context->errorText, message.data(), message.size());
}

// Stands in for a missing body or header callback: curl's own default would write to
// `writeData` as if it were a FILE*.
size_t discardBytes(char*, size_t size, size_t count, void*)
{
    return size * count;
}

// "Cookie: application/json" is what the service's clients have always sent; the session
// cookie itself travels through curl's cookie engine.
sirius::CurlSlistPtr requestHeaders()
{
    sirius::CurlSlistPtr headers(curl_slist_append(nullptr, "Content-Type: application/json"));
    if (!headers)
        return nullptr;
    curl_slist* withCookie = curl_slist_append(headers.get(), "Cookie: application/json");
    if (!withCookie)
        return nullptr;
    return headers;
}

void setRequestOptions(CURL* handle, const sirius_HT_ctx* context, curl_slist* headers)
{
    curl_easy_setopt(handle, CURLOPT_URL, context->url);
    curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION,
                     context->writeFunction ? context->writeFunction : discardBytes);
    curl_easy_setopt(handle, CURLOPT_HEADERFUNCTION,
                     context->headerFunction ? context->headerFunction : discardBytes);
    curl_easy_setopt(handle, CURLOPT_HEADERDATA, context->headerData);
    curl_easy_setopt(handle, CURLOPT_WRITEDATA, context->writeData);
    // The library's threads must not receive SIGALRM from curl's resolver time-outs.
    curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(handle, CURLOPT_HTTPHEADER, headers);
    // An empty file name turns on the in-memory cookie engine without reading any file.
    curl_easy_setopt(handle, CURLOPT_COOKIEFILE, "");
    if (context->isPost) {
        // A null body would make curl read the body from its read callback (stdin).
        const char* body = context->body ? context->body : "";
        curl_easy_setopt(handle, CURLOPT_POST, 1L);
        curl_easy_setopt(handle, CURLOPT_POSTFIELDS, body);
        curl_easy_setopt(handle, CURLOPT_POSTFIELDSIZE, static_cast<long>(std::strlen(body)));
    }
    curl_easy_setopt(handle, CURLOPT_TIMEOUT, static_cast<long>(context->timeout));
    curl_easy_setopt(handle, CURLOPT_CONNECTTIMEOUT, static_cast<long>(context->connectTimeout));
}

// libcurl 7.88's curl_easy_reset forgets the list of cookie files that CURLOPT_COOKIEFILE
// builds, without freeing it: every request would leak one list node. Switching the file list
// off frees it, but also throws away the handle's cookies, so they are read first and put back,
// in their order. When they cannot be read the list is left alone: a small leak is better than a
// lost session cookie.
void releaseCookieFileList(CURL* handle)
{
    curl_slist* raw = nullptr;
    if (curl_easy_getinfo(handle, CURLINFO_COOKIELIST, &raw) != CURLE_OK)
        return;
    const sirius::CurlSlistPtr cookies(raw);
    curl_easy_setopt(handle, CURLOPT_COOKIEFILE, nullptr);
    for (const curl_slist* line = cookies.get(); line; line = line->next)
        curl_easy_setopt(handle, CURLOPT_COOKIELIST, line->data);
}

int64_t lastResponseCode(CURL* handle)
{
    long code = 0;
    curl_easy_getinfo(handle, CURLINFO_RESPONSE_CODE, &code);
    return code;
}

} // namespace

extern "C" {

void* sirius_HT_init(void)
{
    ensureCurlInitialized();
    return curl_easy_init();
}

void sirius_HT_reset(void* handle)
{
    if (handle)
        curl_easy_reset(static_cast<CURL*>(handle));
}

void sirius_HT_cleanup(void* handle)
{
    if (handle)
        curl_easy_cleanup(static_cast<CURL*>(handle));
}

void sirius_HT_clearCtxData(sirius_HT_ctx* context)
{
    if (!context)
        return;
    clearHtCtxCookies(context);
    std::memset(context, 0, sizeof(*context));
}

int sirius_HT_Request(sirius_HT_ctx* context)
{
    SIRIUS_TRACE_FUNCTION(sirius::siriusLibraryLogger());
    if (!context) {
        LOG4CPLUS_ERROR(sirius::siriusLibraryLogger(), "sirius_HT_Request without a context");
        return 0;
    }
    if (!context->url || !*context->url) {
        reportFailure(context, kNoRequestMade, kEmptyUrl);
        return 0;
    }
    ensureCurlInitialized();
    // A context without a handle gets one for this request only; it is not stored, so the
    // library's ownership of `handle` stays as it was.
    sirius::CurlEasyPtr requestOnlyHandle;
    CURL* handle = static_cast<CURL*>(context->handle);
    if (!handle) {
        requestOnlyHandle.reset(curl_easy_init());
        handle = requestOnlyHandle.get();
    }
    const sirius::CurlSlistPtr headers = requestHeaders();
    if (!handle || !headers) {
        reportFailure(context, kNoRequestMade, kInternalError);
        return 0;
    }

    setRequestOptions(handle, context, headers.get());
    const CURLcode result = curl_easy_perform(handle);
    context->responseCode = 0;
    context->responseCode = lastResponseCode(handle);
    if (result != CURLE_OK) {
        LOG4CPLUS_WARN(sirius::siriusLibraryLogger(),
                       "HTTP request to " << context->url
                                          << " failed: " << curl_easy_strerror(result));
        reportFailure(context, kRequestFailed, kConnectionFailed);
        context->failed = 1;
    } else {
        context->failed = 0;
    }
    addCookies(context, handle);
    releaseCookieFileList(handle);
    // The header list is freed when `headers` goes out of scope; reset first so that the handle
    // does not keep a pointer to it.
    curl_easy_reset(handle);
    return result;
}

} // extern "C"
