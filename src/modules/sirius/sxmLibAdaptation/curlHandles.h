#pragma once
// Thread contract: each handle belongs to the thread that uses it; curl's easy handles and lists
// are not shared between threads while in use.
//
// Owning pointers for the libcurl handles that the transport makes itself.

#include <curl/curl.h>

#include <memory>

namespace sirius {

struct CurlEasyCleanup
{
    void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
};
struct CurlSlistFreeAll
{
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};

/// An easy handle made for one request only.
using CurlEasyPtr = std::unique_ptr<CURL, CurlEasyCleanup>;
/// A header list, or a cookie list read from a handle.
using CurlSlistPtr = std::unique_ptr<curl_slist, CurlSlistFreeAll>;

} // namespace sirius
