#include "sandbox/api/Answers.h"

#include <fmt/format.h>

namespace tovri::sandbox {

HttpResponse jsonAnswer(const JsonWriter& json) {
    HttpResponse response;
    response.body = json.text();
    return response;
}

HttpResponse okAnswer() {
    return jsonAnswer(JsonWriter().beginObject().field("status", "OK").endObject());
}

HttpResponse errorAnswer(int status, std::string_view type, std::string_view message) {
    JsonWriter json;
    json.beginObject()
        .field("status", "ERROR")
        .field("status_code", status)
        .field("error_type", type)
        .field("error_message", message)
        .endObject();
    HttpResponse response = jsonAnswer(json);
    response.status = status;
    return response;
}

HttpResponse notFoundAnswer() {
    return errorAnswer(404, "NotFound", "The requested resource could not be found.");
}

HttpResponse redirectAnswer(std::string_view url, int status) {
    HttpResponse response;
    response.status = status;
    response.contentType = "text/plain";
    response.headers.emplace_back("Location", url);
    return response;
}

std::optional<HttpResponse> forcedAnswer(const Fault& fault) {
    if (fault.drop) {
        HttpResponse dropped;
        dropped.drop = true;
        return dropped;
    }
    if (fault.redirect) return redirectAnswer(*fault.redirect, fault.status.value_or(302));
    if (!fault.status) return std::nullopt;
    HttpResponse response = errorAnswer(*fault.status, "SandboxFault", "The sandbox was asked to answer like this.");
    if (fault.body == FaultBody::html) {
        response.contentType = "text/html; charset=utf-8";
        response.body = fmt::format(
            "<!DOCTYPE html>\n<html><head><title>{0}</title></head>\n"
            "<body><h1>{0}</h1><p>Please come back later.</p></body></html>\n",
            *fault.status);
    } else if (fault.body == FaultBody::empty) {
        response.body.clear();
    }
    if (fault.retryAfter) response.headers.emplace_back("Retry-After", *fault.retryAfter);
    if (fault.rateLimitReset) response.headers.emplace_back("X-RateLimit-Reset", *fault.rateLimitReset);
    return response;
}

}  // namespace tovri::sandbox
