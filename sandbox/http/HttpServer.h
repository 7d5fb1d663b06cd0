#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "sandbox/api/Fields.h"

namespace tovri::sandbox {

class Certificate;

using Headers = std::vector<std::pair<std::string, std::string>>;

// One part of a multipart body.
struct BodyPart {
    std::string name;
    std::string fileName;
};

// The body of a request, not yet read. It can be read once.
class BodyReader {
public:
    using OnPart = std::function<bool(const BodyPart& part)>;
    using OnData = std::function<bool(std::string_view data)>;

    virtual ~BodyReader() = default;
    virtual std::string readAll() = 0;

    // Tells each part of a multipart body as it begins, then its bytes. A callback that returns false ends the reading.
    // Returns whether the body was read to its end.
    virtual bool readParts(const OnPart& onPart, const OnData& onData) = 0;
};

struct HttpRequest {
    std::string method;
    std::string path;   // decoded
    std::string query;  // as sent
    Headers headers;
    BodyReader* body = nullptr;  // null when there can be none
    int clientPort = 0;          // tells one connection from another

    // Empty when there is no such header.
    std::string_view header(std::string_view name) const;
};

// Where a streamed body goes.
class Sink {
public:
    virtual ~Sink() = default;

    // False when the client is gone or the server stops.
    virtual bool write(std::span<const char> bytes) = 0;

    // Holds the answer up; false as soon as the client is gone or the server stops.
    virtual bool wait(std::chrono::duration<double> duration) = 0;
};

struct HttpResponse {
    struct Stream {
        std::uint64_t length = 0;
        std::uint64_t announcedLength = 0;        // what Content-Length says
        bool hidesLength = false;                 // there is none: only the body's end tells how long it was
        std::function<bool(Sink& sink)> writeTo;  // false: the connection is closed at once
        std::function<void()> closed;             // told last, also when nothing was written
    };

    int status = 200;
    Headers headers;
    std::string contentType = "application/json";
    std::string body;
    std::optional<Stream> stream;  // instead of `body`
    bool drop = false;             // close the connection without an answer
};

// An HTTP/1.1 server on a loopback port with a thread per connection. The handler is called on any of them.
class HttpServer {
public:
    using Handler = std::function<HttpResponse(const HttpRequest& request)>;

    // Listens on 127.0.0.1; port 0 lets the system choose. With a certificate it speaks TLS. Throws std::runtime_error
    // when the port cannot be had.
    HttpServer(int port, const Certificate* certificate, Handler handler);

    // Closes every connection at once.
    ~HttpServer();

    int port() const;

    // How many of its TLS connections went on with the session of an earlier one.
    long resumedSessions() const;

private:
    class Listener;
    std::unique_ptr<Listener> listener_;
};

}  // namespace tovri::sandbox
