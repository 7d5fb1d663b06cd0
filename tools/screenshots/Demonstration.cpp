#include "Demonstration.h"

#include <QDir>
#include <QTest>
#include <stdexcept>

#include <fmt/format.h>

#include "sandbox/account/Account.h"
#include "sandbox/account/generated/DemoAccount.h"
#include "sandbox/faults/FaultSettings.h"

namespace tovri::screenshots {

Demonstration::Demonstration() {
    sandbox::addDemoAccount(sandbox_.scene());
    sandbox_.start();
    const std::string url = sandbox_.apiURL();
    const Result<ServiceHosts> hosts = serviceHosts({url, url, std::nullopt});
    if (!hosts) throw std::runtime_error(hosts.error().description);

    app_.emplace(TovriApp::Ports{platform(), http_, transfers_, credentials_, defaults_, signIn_, updates_, *hosts});
    app_->setup();
    desktop_.emplace(Desktop::Surroundings{*app_, platform(), defaults_, workspace_, collation_, inhibitor_,
                                           notifications_, *hosts, [] { return false; }, keptLog_, entries_},
                     [](const Result<void>&) {});
}

Demonstration::~Demonstration() = default;

Platform Demonstration::platform() {
    return {loop_,
            clock_,
            random_,
            files_,
            folderAccess_,
            background_,
            volumes_,
            log_,
            {home(), home() / ".local/share/Tovri", std::filesystem::path(QDir::tempPath().toStdString())}};
}

void Demonstration::strikeWith(std::string_view fault) {
    auto parsed = sandbox::parseFault(fault);
    if (!parsed) throw std::runtime_error(parsed.error());
    sandbox_.faults().add(*parsed);
}

void Demonstration::strikeNoMore() {
    sandbox_.faults().clear();
}

PutIOFile Demonstration::fileAt(std::string_view path) {
    const std::optional<sandbox::File> found = sandbox_.account().findPath(path);
    if (!found) throw std::runtime_error(fmt::format("the account has no {}", path));
    PutIOFile file;
    file.id = FileID(found->id);
    file.name = found->name;
    file.size = static_cast<ByteCount>(found->size);
    return file;
}

void Demonstration::waitUntil(const std::function<bool()>& isSo, std::string_view what) {
    if (!QTest::qWaitFor(isSo, 20'000)) throw std::runtime_error(fmt::format("in vain waited until {}", what));
}

}  // namespace tovri::screenshots
