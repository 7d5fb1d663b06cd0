#pragma once

#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace tovri::test {

// Answers each connection with exactly the bytes that a test wants, and closes it. For answers that no decent server
// gives.
class ScriptedServer {
public:
    // What to send for a request, headers and body as they came; none to stay silent until the server goes.
    using Script = std::function<std::optional<std::string>(const std::string& request)>;

    explicit ScriptedServer(Script script);
    ScriptedServer(const ScriptedServer&) = delete;
    ScriptedServer& operator=(const ScriptedServer&) = delete;
    ~ScriptedServer();

    [[nodiscard]] std::string url(const std::string& path) const;
    [[nodiscard]] std::vector<std::string> requests() const;

private:
    void serve();
    void answer(int connection);

    Script script_;
    int listener_ = -1;
    int port_ = 0;
    mutable std::mutex mutex_;
    std::vector<std::string> requests_;
    std::vector<int> silent_;
    std::thread thread_;
};

}  // namespace tovri::test
