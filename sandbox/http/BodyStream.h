#pragma once

#include <cstdint>
#include <functional>
#include <span>

#include "sandbox/faults/Faults.h"
#include "sandbox/http/HttpServer.h"

namespace tovri::sandbox {

// A body to be sent: how long it is, where its bytes come from, what a fault does to it on the way.
struct BodyPlan {
    std::uint64_t length = 0;
    std::function<void(std::uint64_t offset, std::span<char> into)> read;
    Fault fault;
    // Told once, before the client can know that the answer is over: ahead of the last byte, of a cut, or when it is
    // gone.
    std::function<void()> ending = [] {};
    // Told last, with the number of bytes that went out.
    std::function<void(std::uint64_t sent)> closed = [](std::uint64_t) {};
};

HttpResponse::Stream streamBody(BodyPlan plan);

}  // namespace tovri::sandbox
