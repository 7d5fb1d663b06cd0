#pragma once

#include <optional>
#include <string>

#include "base/Result.h"

namespace tovri {

// The origins at which the service is reached: scheme, host and port, without a slash at the end.
struct ServiceHosts {
    std::string api = "https://api.put.io";
    std::string upload = "https://upload.put.io";
    std::string web = "https://app.put.io";

    bool operator==(const ServiceHosts&) const = default;
};

// The values of TOVRI_API_URL, TOVRI_UPLOAD_URL and TOVRI_WEB_URL; none or empty keeps the default.
struct ServiceHostOverrides {
    std::optional<std::string> api;
    std::optional<std::string> upload;
    std::optional<std::string> web;
};

// Fails with ErrorCase::invalidURL, naming the variable, unless each value is an https origin, or an http one of a
// loopback host: the bearer token must not travel in the clear. One slash at the end is dropped.
[[nodiscard]] Result<ServiceHosts> serviceHosts(const ServiceHostOverrides& overrides);

}  // namespace tovri
