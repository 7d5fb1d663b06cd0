#include "service/requests/ServiceHosts.h"

#include <string_view>

#include "service/requests/WebURL.h"

namespace tovri {
namespace {

// The value itself stays out of the text: it may hold a password that someone put there.
Error invalidOrigin(std::string_view variable, std::string_view reason) {
    return {ErrorCase::invalidURL, std::string(variable).append(" ").append(reason)};
}

Result<std::string> origin(std::string_view variable, const std::optional<std::string>& value, std::string fallback) {
    if (!value || value->empty()) return fallback;
    const std::optional<WebURL> url = parseWebURL(*value);
    if (!url || !url->userInfo.empty() || (!url->rest.empty() && url->rest != "/"))
        return failure(invalidOrigin(
            variable, "must be a scheme, a host and a port without a path, such as https://example.com:8443."));
    if (url->scheme == "http" && !url->isLoopback())
        return failure(invalidOrigin(variable, "must begin with https://, since its host is not this machine."));
    return url->scheme + "://" + url->host + (url->port.empty() ? "" : ":" + url->port);
}

}  // namespace

Result<ServiceHosts> serviceHosts(const ServiceHostOverrides& overrides) {
    const ServiceHosts defaults;
    Result<std::string> api = origin("TOVRI_API_URL", overrides.api, defaults.api);
    if (!api) return failure(api);
    Result<std::string> upload = origin("TOVRI_UPLOAD_URL", overrides.upload, defaults.upload);
    if (!upload) return failure(upload);
    Result<std::string> web = origin("TOVRI_WEB_URL", overrides.web, defaults.web);
    if (!web) return failure(web);
    return ServiceHosts{std::move(*api), std::move(*upload), std::move(*web)};
}

}  // namespace tovri
