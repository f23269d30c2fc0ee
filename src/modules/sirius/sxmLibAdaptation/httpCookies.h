#pragma once
// Thread contract: called on the library's threads, one request per context at a time; keeps no
// state of its own.
//
// The context's kept-cookie list: a copy of every cookie that the request's curl handle holds,
// so that the library can read the session cookie the service set.

#include <sxmlib.h>

#include <curl/curl.h>

/// Appends every line of the handle's cookie list, in curl's order, to the context's cookie list,
/// which must be empty on entry (a non-empty list is left intact and the error logged). An
/// unreadable cookie list is reported as "Curl curl_easy_getinfo failed: ..." on standard error.
void addCookies(sirius_HT_ctx* context, CURL* handle);

/// Frees every kept cookie line and node and leaves the list empty.
void clearHtCtxCookies(sirius_HT_ctx* context);
