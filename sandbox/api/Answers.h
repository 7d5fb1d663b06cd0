#pragma once

#include <string_view>

#include "sandbox/api/JsonWriter.h"
#include "sandbox/faults/Faults.h"
#include "sandbox/http/HttpServer.h"

namespace tovri::sandbox {

HttpResponse jsonAnswer(const JsonWriter& json);

// {"status":"OK"}
HttpResponse okAnswer();

// The service's error object.
HttpResponse errorAnswer(int status, std::string_view type, std::string_view message);

HttpResponse notFoundAnswer();
HttpResponse redirectAnswer(std::string_view url, int status = 302);

// The answer that a fault puts in the place of the real one, if it does.
std::optional<HttpResponse> forcedAnswer(const Fault& fault);

}  // namespace tovri::sandbox
