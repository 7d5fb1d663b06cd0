#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "app/TovriApp.h"
#include "base/UUID.h"
#include "cli/ExitCode.h"
#include "cli/Terminal.h"
#include "cli/TerminalLog.h"
#include "cli/arguments/ArgumentParser.h"
#include "platform/Platform.h"
#include "service/PutIOAPI.h"
#include "service/signin/AuthManager.h"
#include "service/signin/KeychainItem.h"
#include "settings/Preferences.h"

namespace tovri::cli {

// What a command works with. All of it outlives the command.
struct CommandContext {
    const Platform& platform;
    Terminal& terminal;
    TerminalLog& log;
    TovriApp& app;
    AuthManager& auth;
    PutIOAPI& api;  // good without the application's setup
    Preferences& preferences;
    Invocation invocation;
    std::filesystem::path currentFolder;
    bool hasTokenFromEnvironment = false;
    std::filesystem::path configurationFolder;
    std::function<bool()> hasSavedPreferences;  // whether what was assigned has reached the disk
    // Whether this value is what is stored of the secret, or what the environment gives.
    std::function<bool(KeychainItem, const std::string& value)> isKept;
    std::function<bool()> forgetToken;  // takes it out of every store; whether it is gone

    // How wide a line on standard output may be, when that is a terminal.
    [[nodiscard]] std::optional<std::size_t> outputWidth() const;

    // "tovri-cli ls: text" on standard error.
    void complain(std::string_view text) const;

    // The same of a failure, with what the user can do about it where that is known.
    void complain(const Error& error) const;

    // Says on standard error that the command has failed, and with --json in an object on standard output too. The
    // exit status says of which kind it is.
    [[nodiscard]] ExitCode fail(const Error& error) const;
    ExitCode fail(std::string_view text, ExitCode code = ExitCode::failure,
                  const std::optional<UUID>& rule = std::nullopt) const;

    // The same of what does not end the command, where diagnostic lines have said it already: an object with --json,
    // without it nothing.
    void tellFailure(std::string_view text, const std::optional<UUID>& rule) const;

    // Says on standard output what was done, with --json in an object; for which rule, where it was done to one.
    void tellDone(std::string_view text, const std::optional<UUID>& rule = std::nullopt) const;
};

// The exit status of a command that has failed for this reason.
[[nodiscard]] ExitCode exitCodeOf(const Error& error);

// The failure's description with what the user can do about it where that is known.
[[nodiscard]] std::string withAdvice(const Error& error);

}  // namespace tovri::cli
