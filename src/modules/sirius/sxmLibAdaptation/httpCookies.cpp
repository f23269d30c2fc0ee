#include "httpCookies.h"

#include "curlHandles.h"
#include "siriusLogging.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

struct FreeDeleter
{
    void operator()(void* p) const { std::free(p); }
};

// A node owning a copy of `line`. The copy sits in a zeroed buffer two bytes longer than the
// text, so the text is followed by two zero bytes: readers of the list may rely on that pair to
// find the end of a line. Null when memory ran out.
sirius_HT_cookie* newCookieNode(const char* line)
{
    const std::size_t length = std::strlen(line);
    std::unique_ptr<char, FreeDeleter> copy(static_cast<char*>(std::calloc(length + 2, 1)));
    std::unique_ptr<sirius_HT_cookie, FreeDeleter> node(
        static_cast<sirius_HT_cookie*>(std::calloc(1, sizeof(sirius_HT_cookie))));
    if (!copy || !node)
        return nullptr;
    std::memcpy(copy.get(), line, length + 1);
    node->line = copy.release();
    return node.release();
}

} // namespace

void addCookies(sirius_HT_ctx* context, CURL* handle)
{
    curl_slist* raw = nullptr;
    const CURLcode result = curl_easy_getinfo(handle, CURLINFO_COOKIELIST, &raw);
    if (result != CURLE_OK) {
        std::fprintf(stderr, "Curl curl_easy_getinfo failed: %s\n", curl_easy_strerror(result));
        return;
    }
    const sirius::CurlSlistPtr lines(raw);
    if (!lines)
        return;
    // The list is built from its head with no pointer to the tail of an existing list, so new
    // lines can only be kept on an empty list; keeping the old list whole loses no cookie the
    // library already holds.
    if (context->cookies) {
        LOG4CPLUS_ERROR(sirius::siriusLibraryLogger(),
                        "HTTP context still holds cookies from an earlier request; the new ones "
                        "are not listed (clear the context with sirius_HT_clearCtxData first)");
        return;
    }
    sirius_HT_cookie* tail = nullptr;
    for (const curl_slist* line = lines.get(); line; line = line->next) {
        sirius_HT_cookie* node = newCookieNode(line->data);
        if (!node)
            return;
        if (tail)
            tail->next = node;
        else
            context->cookies = node;
        tail = node;
    }
}

void clearHtCtxCookies(sirius_HT_ctx* context)
{
    sirius_HT_cookie* node = context->cookies;
    while (node) {
        sirius_HT_cookie* next = node->next;
        std::free(node->line);
        std::free(node);
        node = next;
    }
    context->cookies = nullptr;
}
