#pragma once

#include <memory>

#include <curl/curl.h>

namespace tovri {

// Owners of what the library hands out as plain pointers.

struct CurlCleanup {
    void operator()(CURL* handle) const { curl_easy_cleanup(handle); }

    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};

struct CurlMultiCleanup {
    void operator()(CURLM* handle) const { curl_multi_cleanup(handle); }
};

struct CurlShareCleanup {
    void operator()(CURLSH* handle) const { curl_share_cleanup(handle); }
};

using EasyHandle = std::unique_ptr<CURL, CurlCleanup>;
using MultiHandle = std::unique_ptr<CURLM, CurlMultiCleanup>;
using ShareHandle = std::unique_ptr<CURLSH, CurlShareCleanup>;
using HeaderList = std::unique_ptr<curl_slist, CurlCleanup>;

}  // namespace tovri
