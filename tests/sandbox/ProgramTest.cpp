#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <httplib.h>
#include <sys/wait.h>
#include <unistd.h>

#include "SandboxTest.h"
#include "support/TemporaryFolder.h"

namespace tovri::sandbox {
namespace {

namespace fs = std::filesystem;

// Seconds. No run of the program takes so long.
constexpr unsigned longestRun = 120;

// One run of the built putio-sandbox, with its standard output in a file. Ended with the object, or by an alarm.
class Program {
public:
    Program(std::vector<std::string> arguments, const fs::path& output) {
        arguments.insert(arguments.begin(), PUTIO_SANDBOX);
        std::vector<char*> raw;
        for (std::string& argument : arguments) raw.push_back(argument.data());
        raw.push_back(nullptr);
        pid_ = fork();
        if (pid_ == 0) {
            const int file = ::open(output.c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0600);
            ::dup2(file, STDOUT_FILENO);
            ::dup2(file, STDERR_FILENO);
            ::alarm(longestRun);
            ::execv(raw[0], raw.data());
            ::_exit(127);
        }
    }

    ~Program() {
        if (pid_ == 0) return;
        ::kill(pid_, SIGKILL);
        exitStatus();
    }

    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    void terminate() const { ::kill(pid_, SIGTERM); }

    int exitStatus() {
        int status = 0;
        ::waitpid(std::exchange(pid_, 0), &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }

private:
    pid_t pid_ = 0;
};

std::string contentOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

class ProgramTest : public testing::Test {
protected:
    int statusOf(const std::vector<std::string>& arguments) { return Program(arguments, output_).exitStatus(); }

    // The lines NAME=VALUE of the environment file, once it is there.
    std::map<std::string, std::string> waitForEnvironment(const fs::path& file) {
        EXPECT_TRUE(comesTrue([&] { return fs::exists(file); }));
        std::map<std::string, std::string> values;
        std::ifstream lines(file);
        for (std::string line; std::getline(lines, line);) {
            values[line.substr(0, line.find('='))] = line.substr(line.find('=') + 1);
        }
        return values;
    }

    test::TemporaryFolder temporary_;
    fs::path folder_ = temporary_.path;
    fs::path output_ = folder_ / "output";
};

TEST_F(ProgramTest, servesUntilItIsToldToStop) {
    const fs::path environment = folder_ / "environment";
    const fs::path certificate = folder_ / "certificate.pem";
    const fs::path log = folder_ / "log";
    Program program({"--demo", "--tls", "--certificate", certificate, "--env-file", environment, "--log", log,
                     "--token", "secret", "--fault", "api:/v2/rss/list:status=503", "--growing-folder", "/a=b=0.01",
                     "--changing-folder", "/c=900", "--growing-folder", "/d=900"},
                    output_);
    auto values = waitForEnvironment(environment);
    EXPECT_EQ(values["SSL_CERT_FILE"], certificate);
    EXPECT_EQ(values["TOVRI_TOKEN"], "secret");

    httplib::Client client(values["TOVRI_API_URL"]);
    client.set_ca_cert_path(certificate.c_str());
    client.set_bearer_token_auth(values["TOVRI_TOKEN"]);
    const auto listing = client.Get("/v2/files/list?parent_id=0");
    ASSERT_TRUE(listing);
    for (const char* name : {"\"Films\"", "\"a=b\"", "\"c\"", "\"d\""})
        EXPECT_NE(listing->body.find(name), std::string::npos) << name;
    EXPECT_EQ(client.Get("/v2/rss/list")->status, 503);
    program.terminate();
    EXPECT_EQ(program.exitStatus(), 0);
    EXPECT_EQ(contentOf(output_), contentOf(environment) + "ready\n");
    const std::string logged = contentOf(log);
    EXPECT_EQ(std::ranges::count(logged, '\n'), 2);
    EXPECT_EQ(logged.find("secret"), std::string::npos);
}

TEST_F(ProgramTest, tellsByItsStatusWhatWentWrong) {
    EXPECT_EQ(statusOf({"--help"}), 0);
    EXPECT_NE(contentOf(output_).find("range-shift"), std::string::npos);
    EXPECT_EQ(statusOf({"--files", "many"}), 2);
    EXPECT_EQ(statusOf({"--max-size", "5Q"}), 2);
    EXPECT_EQ(statusOf({"--growing-folder", "/Films"}), 2);
    EXPECT_EQ(statusOf({"--growing-folder", "/Films=0"}), 2);
    EXPECT_EQ(statusOf({"--fault", "storage:x:explode"}), 1);
    std::ofstream(folder_ / "account.json") << R"({"files": {"a": []}})";
    EXPECT_EQ(statusOf({"--account", folder_ / "account.json"}), 1);
    EXPECT_NE(contentOf(output_).find("account.json: a:"), std::string::npos) << contentOf(output_);
    EXPECT_EQ(statusOf({"--files", "5", "--max-size", "1KiB", "--write-tree", folder_ / "tree"}), 0);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder_ / "tree/Generated"), {}), 5);
}

}  // namespace
}  // namespace tovri::sandbox
