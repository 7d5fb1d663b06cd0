#include "sandbox/http/HttpServer.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>
#include <thread>

#include <fmt/format.h>
#include <httplib.h>
#include <strings.h>

#include "sandbox/http/Certificate.h"
#include "sandbox/http/MultipartParser.h"

namespace tovri::sandbox {
namespace {

constexpr std::size_t connectionThreads = 64;
constexpr const char* announcedLengthHeader = "X-Sandbox-Announced-Length";

// The library keeps its connections to itself. They are found as the sockets whose own end is the server's port; with a
// `clientPort`, the one whose other end that is.
void shutDownConnections(int serverPort, std::optional<int> clientPort) {
    const auto portOf = [](int socket, auto getName) {
        sockaddr_in address{};
        socklen_t length = sizeof address;
        if (getName(socket, reinterpret_cast<sockaddr*>(&address), &length) != 0) return -1;
        return address.sin_family == AF_INET ? int{ntohs(address.sin_port)} : -1;
    };
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        const int socket = std::atoi(entry.path().filename().c_str());
        if (portOf(socket, ::getsockname) != serverPort) continue;
        if (!clientPort || portOf(socket, ::getpeername) == *clientPort) ::shutdown(socket, SHUT_RDWR);
    }
}

// A request is the library's own local variable, not a constant; what it says decides what the library does next.
httplib::Request& own(const httplib::Request& request) {
    return const_cast<httplib::Request&>(request);
}

class LibraryBody : public BodyReader {
public:
    // Without its type the library gives the body as it is, instead of taking it apart.
    LibraryBody(httplib::Request& request, const httplib::ContentReader& reader)
        : request_(request), reader_(reader), contentType_(request.get_header_value("Content-Type")) {
        request.headers.erase("Content-Type");
    }

    std::string readAll() override {
        std::string body;
        // Without a length the library would read until the client hangs up.
        if (!request_.has_header("Content-Length") && !request_.has_header("Transfer-Encoding")) return body;
        reader_([&](const char* data, std::size_t size) {
            body.append(data, size);
            return true;
        });
        return body;
    }

    bool readParts(const OnPart& onPart, const OnData& onData) override {
        const std::string boundary = MultipartParser::boundaryOf(contentType_);
        if (boundary.empty()) return false;
        MultipartParser parser(boundary, onPart, onData);
        const bool isRead =
            reader_([&](const char* data, std::size_t size) { return parser.feed(std::string_view(data, size)); });
        return isRead && parser.isComplete();
    }

private:
    const httplib::Request& request_;
    const httplib::ContentReader& reader_;
    std::string contentType_;
};

class LibrarySink : public Sink {
public:
    explicit LibrarySink(httplib::DataSink& sink) : sink_(sink) {}

    bool write(std::span<const char> bytes) override { return sink_.write(bytes.data(), bytes.size()); }

    bool wait(std::chrono::duration<double> duration) override {
        using Clock = std::chrono::steady_clock;
        constexpr std::chrono::duration<double> look = std::chrono::milliseconds(10);
        const auto start = Clock::now();
        for (;;) {
            if (!sink_.is_writable()) return false;
            const std::chrono::duration<double> left = duration - (Clock::now() - start);
            if (left.count() <= 0) return true;
            std::this_thread::sleep_for(std::min(left, look));
        }
    }

private:
    httplib::DataSink& sink_;
};

HttpRequest toRequest(const httplib::Request& from, BodyReader* body) {
    HttpRequest request;
    request.method = from.method;
    const std::size_t queryMark = from.target.find('?');
    request.path = percentDecode(std::string_view(from.target).substr(0, queryMark));
    if (queryMark != std::string::npos) request.query = from.target.substr(queryMark + 1);
    for (const auto& [name, value] : from.headers) request.headers.emplace_back(name, value);
    request.body = body;
    request.clientPort = from.remote_port;
    return request;
}

void setStream(httplib::Response& to, const std::string& contentType, HttpResponse::Stream stream) {
    if (stream.hidesLength) {
        to.set_chunked_content_provider(
            contentType,
            [writeTo = std::move(stream.writeTo)](std::size_t, httplib::DataSink& librarySink) {
                LibrarySink sink(librarySink);
                if (!writeTo(sink)) return false;
                librarySink.done();
                return true;
            },
            [closed = std::move(stream.closed)](bool) { closed(); });
        return;
    }
    if (stream.announcedLength != stream.length) {
        to.set_header(announcedLengthHeader, fmt::to_string(stream.announcedLength));
    }
    const bool isHonest = stream.announcedLength == stream.length;
    to.set_content_provider(
        static_cast<std::size_t>(stream.length), contentType,
        [writeTo = std::move(stream.writeTo), isHonest](std::size_t, std::size_t, httplib::DataSink& librarySink) {
            LibrarySink sink(librarySink);
            // After a wrong length the connection is of no further use.
            return writeTo(sink) && isHonest;
        },
        [closed = std::move(stream.closed)](bool) { closed(); });
}

void fillResponse(httplib::Response& to, HttpResponse from) {
    to.status = from.status;
    for (const auto& [name, value] : from.headers) to.set_header(name, value);
    if (from.stream && from.stream->length > 0) {
        setStream(to, from.contentType, std::move(*from.stream));
    } else if (from.stream) {
        // The library takes a stream without a length for one that is still to be found out.
        to.set_content("", from.contentType);
        from.stream->closed();
    } else {
        to.set_content(from.body, from.contentType);
    }
}

// The library sets Content-Length last; this puts another one in its place where a fault asks for it.
void announceLength(const httplib::Request&, httplib::Response& response) {
    const std::string announced = response.get_header_value(announcedLengthHeader);
    if (announced.empty()) return;
    response.headers.erase(announcedLengthHeader);
    response.headers.erase("Content-Length");
    response.set_header("Content-Length", announced);
}

template <class Server>
class RoomyServer : public Server {
public:
    using Server::Server;

    // The library's own backlog of 5 makes clients wait a second when they open many connections at once.
    void widenBacklog() { ::listen(this->svr_sock_, SOMAXCONN); }
};

}  // namespace

std::string_view HttpRequest::header(std::string_view name) const {
    const auto found = std::ranges::find_if(headers, [&](const auto& header) {
        return header.first.size() == name.size() && strncasecmp(header.first.data(), name.data(), name.size()) == 0;
    });
    return found == headers.end() ? std::string_view{} : found->second;
}

class HttpServer::Listener {
public:
    Listener(int port, const Certificate* certificate, Handler handler) : handler_(std::move(handler)) {
        if (certificate != nullptr) {
            listen<RoomyServer<httplib::SSLServer>>(port, certificate->x509(), certificate->key());
        } else {
            listen<RoomyServer<httplib::Server>>(port);
        }
        thread_ = std::thread([this] { server_->listen_after_bind(); });
        while (!server_->is_running()) std::this_thread::sleep_for(std::chrono::microseconds(100));
    }

    ~Listener() {
        server_->stop();
        shutDownConnections(port_, std::nullopt);
        thread_.join();
    }

    int port() const { return port_; }

    long resumedSessions() const {
        const auto* const secure = dynamic_cast<httplib::SSLServer*>(server_.get());
        return secure == nullptr ? 0 : SSL_CTX_sess_hits(secure->ssl_context());
    }

private:
    template <class Server, class... Arguments>
    void listen(int port, Arguments... arguments) {
        auto server = std::make_unique<Server>(arguments...);
        configure(*server);
        port_ = port != 0 ? port : server->bind_to_any_port("127.0.0.1");
        if (port_ < 0 || (port != 0 && !server->bind_to_port("127.0.0.1", port))) {
            throw std::runtime_error(fmt::format("cannot listen on port {} of 127.0.0.1", port));
        }
        server->widenBacklog();
        server_ = std::move(server);
    }

    void configure(httplib::Server& server) {
        using std::chrono::seconds;
        server.new_task_queue = [] { return new httplib::ThreadPool(connectionThreads); };
        server.set_keep_alive_max_count(SIZE_MAX);
        server.set_keep_alive_timeout(30);
        server.set_read_timeout(seconds(60));
        server.set_write_timeout(seconds(120));
        server.set_tcp_nodelay(true);
        server.set_socket_options([](int socket) {
            const int yes = 1;
            ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
        });
        server.set_post_routing_handler(announceLength);
        server.set_pre_routing_handler([this](const httplib::Request& request, httplib::Response& response) {
            if (request.method == "POST") return httplib::Server::HandlerResponse::Unhandled;
            answer(own(request), response, nullptr);
            return httplib::Server::HandlerResponse::Handled;
        });
        server.Post("[\\s\\S]*", [this](const httplib::Request& request, httplib::Response& response,
                                        const httplib::ContentReader& reader) {
            LibraryBody body(own(request), reader);
            answer(own(request), response, &body);
        });
    }

    void answer(httplib::Request& request, httplib::Response& response, BodyReader* body) {
        // Ranges are our business: the library would cut what is already the right part.
        request.ranges.clear();
        HttpResponse answered = handler_(toRequest(request, body));
        // The library would compress each small answer with all its might, for a millisecond.
        request.headers.erase("Accept-Encoding");
        if (answered.drop) shutDownConnections(port_, request.remote_port);
        fillResponse(response, std::move(answered));
    }

    Handler handler_;
    std::unique_ptr<httplib::Server> server_;
    int port_ = 0;
    std::thread thread_;
};

HttpServer::HttpServer(int port, const Certificate* certificate, Handler handler)
    : listener_(std::make_unique<Listener>(port, certificate, std::move(handler))) {}

HttpServer::~HttpServer() = default;

int HttpServer::port() const {
    return listener_->port();
}

long HttpServer::resumedSessions() const {
    return listener_->resumedSessions();
}

}  // namespace tovri::sandbox
