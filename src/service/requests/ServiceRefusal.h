#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "service/records/JSONField.h"

namespace tovri {

// The service's own answer to a request that it refuses.
struct ServiceRefusal {
    std::string status;
    std::optional<std::int64_t> statusCode;
    std::optional<std::string> errorType;

    // It knows nothing of what was asked about.
    [[nodiscard]] bool saysNotFound() const {
        constexpr int notFound = 404;
        return status == "ERROR" && (statusCode == notFound || errorType == "NotFound");
    }

    bool operator==(const ServiceRefusal&) const = default;

    static constexpr auto jsonFields() {
        return jsonFieldList(JSONField{"status", &ServiceRefusal::status},
                             JSONField{"status_code", &ServiceRefusal::statusCode},
                             JSONField{"error_type", &ServiceRefusal::errorType});
    }
};

}  // namespace tovri
