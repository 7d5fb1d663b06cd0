#include <csignal>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include <fmt/format.h>
#include <sys/prctl.h>

#include "sandbox/Options.h"
#include "sandbox/Sandbox.h"
#include "sandbox/account/AccountFile.h"
#include "sandbox/account/TreeWriter.h"
#include "sandbox/account/generated/DemoAccount.h"
#include "sandbox/faults/FaultSettings.h"

namespace {

using namespace tovri::sandbox;

std::string readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    if (!file) throw std::runtime_error(fmt::format("cannot read {}", path));
    return text.str();
}

// Whoever reads the file finds all of it or none.
void writeFileAtomically(const std::string& path, const std::string& text) {
    const std::string hidden = path + ".new";
    std::ofstream file(hidden, std::ios::binary | std::ios::trunc);
    if (!(file << text).flush()) throw std::runtime_error(fmt::format("cannot write {}", path));
    file.close();
    std::filesystem::rename(hidden, path);
}

void fill(Sandbox& sandbox, const Options& options) {
    const Scene scene = sandbox.scene();
    if (!options.accountFile.empty()) {
        const auto read = readAccountFile(readFile(options.accountFile), scene);
        if (!read) throw std::runtime_error(fmt::format("{}: {}", options.accountFile, read.error()));
    }
    if (options.isGenerated) generateAccount(scene.account, options.generated);
    if (options.isDemo) addDemoAccount(scene);
    for (const LivingFolder& folder : options.livingFolders) sandbox.folders().add(folder);
    if (options.token) scene.settings.token = *options.token;
    if (options.username) scene.settings.username = *options.username;
    for (const std::string& text : options.faults) {
        std::expected<Fault, std::string> fault = parseFault(text);
        if (!fault) throw std::runtime_error(fault.error());
        scene.faults.add(std::move(*fault));
    }
}

int writeTreeOnly(const Account& account, const std::string& folder) {
    const WrittenTree written = writeTree(account, folder);
    for (const std::string& skipped : written.skipped) fmt::print(stderr, "putio-sandbox: skipped {}\n", skipped);
    fmt::print("wrote {} files, {} bytes\n", written.files, written.bytes);
    return 0;
}

std::string environmentOf(const Sandbox& sandbox, const Options& options) {
    const std::string api = sandbox.apiURL();
    std::string text = fmt::format(
        "TOVRI_API_URL={0}\nTOVRI_UPLOAD_URL={0}\nTOVRI_WEB_URL={0}\nTOVRI_TOKEN={1}\nSANDBOX_STORAGE_URL={2}\n", api,
        sandbox.settings().token, sandbox.storageURL());
    if (!options.certificateFile.empty() && options.settings.tls) {
        text += fmt::format("CURL_CA_BUNDLE={0}\nSSL_CERT_FILE={0}\n",
                            std::filesystem::absolute(options.certificateFile).string());
    }
    return text;
}

int serve(Sandbox& sandbox, const Options& options) {
    // Blocked before the servers' threads start, so that only this one is told.
    sigset_t endings;
    sigemptyset(&endings);
    sigaddset(&endings, SIGINT);
    sigaddset(&endings, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &endings, nullptr);
    if (options.exitsWithParent) prctl(PR_SET_PDEATHSIG, SIGTERM);

    sandbox.start();
    if (!options.logFile.empty()) sandbox.log().writeTo(options.logFile);
    if (!options.certificateFile.empty()) writeFileAtomically(options.certificateFile, sandbox.certificatePem());
    const std::string environment = environmentOf(sandbox, options);
    if (!options.envFile.empty()) writeFileAtomically(options.envFile, environment);
    fmt::print("{}ready\n", environment);
    std::fflush(stdout);

    int ending = 0;
    sigwait(&endings, &ending);
    sandbox.stop();
    return 0;
}

}  // namespace

int main(int count, char** arguments) {
    const OptionsOrExit parsed = parseOptions(count, arguments);
    if (!parsed.options) return parsed.exitStatus;
    try {
        Sandbox sandbox(parsed.options->settings);
        fill(sandbox, *parsed.options);
        if (!parsed.options->writeTree.empty()) return writeTreeOnly(sandbox.account(), parsed.options->writeTree);
        return serve(sandbox, *parsed.options);
    } catch (const std::exception& error) {
        fmt::print(stderr, "putio-sandbox: {}\n", error.what());
        return 1;
    }
}
