#include "sandbox/Options.h"

#include <algorithm>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "sandbox/ByteSize.h"
#include "sandbox/faults/FaultSettings.h"

namespace tovri::sandbox {
namespace {

constexpr const char* description =
    "Answers as the put.io service does, from an account of your making, on two ports of this machine: one for the "
    "API, "
    "uploads and sign-in, one for the bytes. Prints the addresses as lines NAME=VALUE and then \"ready\", and runs "
    "until "
    "it is told to stop (SIGINT, SIGTERM).";

std::string footer() {
    std::string text =
        "Faults are written ROLE:PATTERN:SETTING[=VALUE][,SETTING[=VALUE]]...\n"
        "  ROLE      api, link (a look-up of a download link), upload, storage, or web\n"
        "  PATTERN   of a link, upload or stored file: its name or #ID; of anything: the path, with or without the\n"
        "            fields as a query. * and ? stand for any text and any character. The first fault that is meant\n"
        "            for a request and is not used up strikes.\n"
        "Settings:\n";
    for (const FaultSetting& setting : faultSettings()) {
        text += fmt::format(
            "  {:<24}{}\n",
            setting.value.empty() ? std::string(setting.name) : fmt::format("{}={}", setting.name, setting.value),
            setting.help);
    }
    text +=
        "\nExamples:\n"
        "  putio-sandbox --demo\n"
        "  putio-sandbox --files 1000 --min-size 64KiB --max-size 64KiB --folders 0\n"
        "  putio-sandbox --demo --fault 'storage:*.mkv:cut=1MB,times=2' --fault "
        "'api:/v2/files/list:status=429,times=1'\n"
        "  putio-sandbox --demo --fault 'api:/v2/files/list?parent_id=0:status=200,body=html'    a listing that is no "
        "JSON\n"
        "  putio-sandbox --files 200 --seed 7 --awkward-names --write-tree expected    the same tree, on the disk\n"
        "\nWhile it runs, on the API port and without a token:\n"
        "  GET    /sandbox/requests    every request so far        GET    /sandbox/stats      counters\n"
        "  GET    /sandbox/account     the tree as it is now       POST   /sandbox/reset-log  forget the requests\n"
        "  GET    /sandbox/faults      faults and their uses       POST   /sandbox/faults     add, one per line or as "
        "JSON\n"
        "  DELETE /sandbox/faults      no more faults\n"
        "  POST   /sandbox/files/ACTION  a form: add (path, size or text), remove (path or id), rename (path or id, "
        "name),\n"
        "                              replace (path or id, size or text), move (path or id, to)\n";
    return text;
}

// An option that takes a size like "64KiB".
template <class Size>
CLI::Option* addSize(CLI::App& app, const std::string& name, Size& size, const std::string& help) {
    const auto set = [&size](const std::vector<std::string>& values) {
        const std::optional<std::uint64_t> parsed = parseByteSize(values.back());
        if (parsed) size = static_cast<Size>(*parsed);
        return parsed.has_value();
    };
    return app.add_option(name, set, help)->type_name("SIZE");
}

// An option that takes a folder and an interval, "/Films=5", and may be given again.
void addLivingFolder(CLI::App& app, const std::string& name, Options& options, LivingFolder::Change change,
                     const std::string& help) {
    const auto add = [&options, change](const std::vector<std::string>& values) {
        return std::ranges::all_of(values, [&](const std::string& value) {
            const std::size_t sign = value.rfind('=');
            double seconds = 0;
            if (sign == std::string::npos || !CLI::detail::lexical_cast(value.substr(sign + 1), seconds)) return false;
            if (!(seconds >= 0.001 && seconds < 1e9)) return false;
            options.livingFolders.push_back({value.substr(0, sign), seconds, change});
            return true;
        });
    };
    app.add_option(name, add, help)->type_name("FOLDER=SECONDS")->take_all()->expected(1)->group("Behaviour");
}

void addAccountOptions(CLI::App& app, Options& options) {
    GeneratedAccountSettings& generated = options.generated;
    app.add_flag("--demo", options.isDemo, "A small media library")->group("Account");
    app.add_option("--account", options.accountFile, "A JSON file that describes the account (see docs/sandbox.md)")
        ->type_name("FILE")
        ->check(CLI::ExistingFile)
        ->group("Account");
    app.add_option("--files", generated.files, "Generate an account with N files in /Generated")
        ->type_name("N")
        ->group("Account");
    app.add_option("--seed", generated.seed, "Another seed, another account (default: 1)")
        ->type_name("N")
        ->group("Account");
    app.add_option("--folders", generated.folders, "Spread the files over N folders below (default: N files / 12)")
        ->type_name("N")
        ->group("Account");
    addSize(app, "--min-size", generated.minSize, "Smallest file (default: 0)")->group("Account");
    addSize(app, "--max-size", generated.maxSize, "Largest file (default: 4MiB)")->group("Account");
    app.add_flag("--awkward-names", generated.hasAwkwardNames, "Names that careless code trips over")->group("Account");
    app.add_option("--token", options.token, "The access token to expect (default: sandbox-token)")
        ->type_name("TEXT")
        ->group("Account");
    app.add_option("--username", options.username, "What the account is called (default: sandbox)")
        ->type_name("TEXT")
        ->group("Account");
}

void addBehaviourOptions(CLI::App& app, Options& options) {
    SandboxSettings& settings = options.settings;
    app.add_option("--fault", options.faults, "A deviation from good service, see below; may be given again")
        ->type_name("FAULT")
        ->group("Behaviour")
        ->take_all()
        ->expected(1);
    app.add_option("--page-size", settings.pageSize, "Entries in a listing before a cursor cuts it (default: 1000)")
        ->type_name("N")
        ->check(CLI::PositiveNumber)
        ->group("Behaviour");
    addSize(app, "--crc-limit", settings.crcLimit, "List no CRC-32 for files larger than this (default: for all)")
        ->group("Behaviour");
    addSize(app, "--upload-memory", settings.uploadMemory,
            "How much uploaded content can be downloaded again, in all (default: 64MiB)")
        ->group("Behaviour");
    app.add_option_function<double>(
           "--link-lifetime",
           [&settings](double seconds) {
               settings.linkLifetime = std::chrono::milliseconds(static_cast<std::int64_t>(seconds * 1000));
           },
           "Seconds after which a download link expires (default: never)")
        ->type_name("SECONDS")
        ->group("Behaviour");
    app.add_option("--clock-rate", settings.clockRate, "Let transfers and folders live this many times faster")
        ->type_name("FACTOR")
        ->check(CLI::PositiveNumber)
        ->group("Behaviour");
    addLivingFolder(app, "--growing-folder", options, LivingFolder::Change::grows,
                    "Add a file to FOLDER every SECONDS; may be given again");
    addLivingFolder(app, "--changing-folder", options, LivingFolder::Change::turns,
                    "The same, but rename, replace and remove some of them too");
    app.add_flag("--deny-sign-in", settings.deniesSignIn, "The user does not agree on the sign-in page")
        ->group("Behaviour");
}

void addServingOptions(CLI::App& app, Options& options) {
    SandboxSettings& settings = options.settings;
    const CLI::Range port(0, 65535);
    app.add_option("--api-port", settings.apiPort, "Port of the API (default: the system chooses)")
        ->type_name("PORT")
        ->check(port)
        ->group("Serving");
    app.add_option("--storage-port", settings.storagePort, "Port of the storage host (default: the system chooses)")
        ->type_name("PORT")
        ->check(port)
        ->group("Serving");
    app.add_flag("--tls", settings.tls, "Speak HTTPS, with a certificate made at start")->group("Serving");
    app.add_option("--certificate", options.certificateFile, "Write that certificate here, for clients to trust")
        ->type_name("FILE")
        ->group("Serving");
    app.add_option("--storage-url", settings.storageURL,
                   "Hand out links to another server that holds the tree: URL/FOLDER/NAME, percent-encoded")
        ->type_name("URL")
        ->group("Serving");
}

void addRunOptions(CLI::App& app, Options& options) {
    app.add_option("--env-file", options.envFile, "Write the lines NAME=VALUE here too, when ready")
        ->type_name("FILE")
        ->group("Running");
    app.add_option("--log", options.logFile, "Append each finished request here, as a line of JSON")
        ->type_name("FILE")
        ->group("Running");
    app.add_flag("--exit-with-parent", options.exitsWithParent, "Stop when the process that started this one ends")
        ->group("Running");
    app.add_option("--write-tree", options.writeTree,
                   "Write the account's files below this folder and exit, to compare a download with")
        ->type_name("DIR")
        ->group("Running");
}

}  // namespace

OptionsOrExit parseOptions(int count, char** arguments) {
    Options options;
    CLI::App app(description, "putio-sandbox");
    app.get_formatter()->column_width(34);
    app.footer(footer());
    addAccountOptions(app, options);
    addBehaviourOptions(app, options);
    addServingOptions(app, options);
    addRunOptions(app, options);
    try {
        app.parse(count, arguments);
    } catch (const CLI::ParseError& error) {
        return {std::nullopt, app.exit(error) == 0 ? 0 : 2};
    }
    options.isGenerated = app.count("--files") > 0;
    return {std::move(options), 0};
}

}  // namespace tovri::sandbox
