#include "cli/arguments/CommandDefinition.h"

#include <algorithm>

#include <fmt/format.h>

#include "cli/arguments/GroupDefinitions.h"
#include "cli/arguments/SharedFlags.h"
#include "settings/PreferenceTable.h"

namespace tovri::cli {
namespace {

const OperandDefinition items{"ITEM", "A download's ID, as \"queue\" shows it, or the beginning of one"};
const OperandDefinition someItems{"ITEM", items.help, 1};
const OperandDefinition remotePath{"PATH", "A path on put.io (\"/Films/Season 1\") or a numeric ID", 1, 1};
const OperandDefinition remotePaths{"PATH", remotePath.help, 1};

// Those that are set by their keys.
std::vector<std::string_view> preferenceKeys() {
    std::vector<std::string_view> keys;
    preference::forEach([&](const auto& one) {
        if (!one.meaning.empty()) keys.push_back(one.key);
    });
    return keys;
}

std::string_view preferencesText() {
    static const std::string text = [] {
        std::string all = "Without KEY, shows all keys with their values. Without VALUE, shows one.";
        preference::forEach([&](const auto& one) {
            if (!one.meaning.empty()) all += fmt::format("\n\n{}: {}.", one.key, one.meaning);
        });
        return all;
    }();
    return text;
}

std::vector<CommandDefinition> makeDefinitions() {
    using enum CommandName;
    return {
        {login,
         "login",
         "sign in to put.io",
         "Prints the address of put.io's sign-in page and takes the address to which the page redirects, pasted "
         "back.\n\n"
         "The page needs the client ID of an OAuth application that you have registered with put.io, with the "
         "redirect address tovri-putio://callback. It is kept for the next time.",
         {},
         {{"--client-id", "ID", "The client ID of your OAuth application"},
          {"--token-stdin", "", "Read an access token from standard input instead"}}},
        {logout, "logout", "forget the access token", "The client ID, the queue and the preferences stay.", {}, {}},
        {status,
         "status",
         "show who is signed in and what is queued",
         "Asks put.io for the account's name and space, for five seconds at most.",
         {},
         {jsonDocument}},
        {ls,
         "ls",
         "list a folder on put.io",
         "Shows each entry's ID, size and name; a folder's name ends with a slash.",
         {{"FOLDER", "A path on put.io or a numeric ID; the top folder when left out", 0, 1}},
         {jsonDocument}},
        {get,
         "get",
         "download files and whole folders",
         "Puts the files on the queue, then works until the queue is empty. A folder arrives as DIR/NAME.",
         {remotePaths},
         {{"--to", "DIR", "The folder that receives them (otherwise: defaultDownloadPath)", ValueKind::localFolder},
          {"--delete", "", "Delete them from put.io once they are safely here"},
          onConflict,
          jobs,
          limitRate,
          useFolderAnyway,
          jsonEvents},
         QueueUse::owns},
        {run,
         "run",
         "work on the saved queue until it is empty",
         "Goes on where the last run stopped, at the same byte.",
         {},
         {onConflict, jobs, limitRate, useFolderAnyway, jsonEvents},
         QueueUse::owns},
        {queue,
         "queue",
         "show the saved queue",
         "Shows what is active, paused, queued and finished, with the ID of each download.\n\n"
         "With --json, one object with the array \"downloads\". Each holds \"id\", \"fileID\", \"name\", \"size\", "
         "\"bytes\", \"status\" and \"destination\", and where there is something to say, \"path\", \"proof\", "
         "\"waiting\", \"error\", the times \"queuedAt\", \"startedAt\" and \"completedAt\", and \"failedTries\": of "
         "the last 20 tries that failed, when each ended (\"at\") and what went wrong (\"what\").",
         {},
         {jsonDocument}},
        {retry,
         "retry",
         "put failed downloads back and work on the queue",
         "Without ITEM, all that failed or arrived otherwise than put.io's record says. A download that arrived but "
         "could not be deleted from put.io is not fetched again: only the deletion is. Then works until the queue is "
         "empty.",
         {items},
         {{"--anyway", "", "Delete ITEM from put.io also where something is missing here, after saying what"},
          onConflict,
          jobs,
          limitRate,
          useFolderAnyway,
          jsonEvents},
         QueueUse::owns},
        {pause,
         "pause",
         "pause downloads of the saved queue",
         "Without ITEM, pauses the whole queue: nothing starts until \"resume\" without ITEM.",
         {items},
         {jsonEvents},
         QueueUse::owns},
        {resume,
         "resume",
         "let paused downloads go on",
         "Without ITEM, resumes the whole queue. \"run\" then works on it. An ITEM that waits for another "
         "account, in which it was queued, is downloaded from the one that is signed in.",
         {items},
         {jsonEvents},
         QueueUse::owns},
        {cancel,
         "cancel",
         "cancel downloads",
         "They stay on the list until \"clear\"; what has arrived of them is dropped. Without ITEM, cancels all that "
         "are not finished.",
         {items},
         {jsonEvents},
         QueueUse::owns},
        {remove,
         "remove",
         "take downloads off the list",
         "Files that have arrived stay where they are.",
         {someItems},
         {jsonEvents},
         QueueUse::owns},
        {top,
         "top",
         "move downloads to the top of the queue",
         "The first ITEM comes to stand on top.",
         {someItems},
         {jsonEvents},
         QueueUse::owns},
        {clear,
         "clear",
         "take all finished downloads off the list",
         "Removes completed, failed, skipped and cancelled downloads. Files that have arrived stay where they are.",
         {},
         {jsonEvents},
         QueueUse::owns},
        {watch,
         "watch",
         "poll the automation rules and download what is new, until stopped",
         "Looks at every rule that is not paused as often as the rule says, and works on the queue. Made to run as a "
         "service: a line per event, none while nothing happens. Nothing else can change the rules or the queue "
         "meanwhile.",
         {},
         {onConflict, jobs, limitRate, useFolderAnyway, jsonEvents},
         QueueUse::owns},
        {put,
         "put",
         "upload files to put.io",
         "",
         {{"FILE", "A local file", 1, 0, ValueKind::localFile}},
         {{"--to", "FOLDER", "The folder on put.io that receives them (otherwise: the top folder)"}, jsonEvents}},
        {mv,
         "mv",
         "move files and folders on put.io",
         "",
         {remotePaths, {"FOLDER", "The folder on put.io that receives them, a path or a numeric ID", 1, 1}},
         {jsonEvents}},
        {rm,
         "rm",
         "delete files and folders from put.io",
         "Asks first. A folder goes with all that it holds.",
         {remotePaths},
         {yes, jsonEvents}},
        {link,
         "link",
         "print the download links of files",
         "One line per file. Whoever has a link can download the file until the link expires.",
         {remotePaths},
         {}},
        {config,
         "config",
         "show or change the preferences",
         preferencesText(),
         {{"KEY", "One of the keys above", 0, 1, ValueKind::choice, preferenceKeys()},
          {"VALUE", "Its new value", 0, 1}},
         {jsonDocument}},
    };
}

const HelpSection sections[] = {
    {"Paths",
     "PATH is a path on put.io, from its top folder on: \"/Films/Season 1\". A PATH of digits only is a numeric ID; a "
     "name of digits only is reached with a slash before it. Names are compared exactly."},
    {"Output",
     "Standard output carries the data, or what happens: a live display on a terminal, otherwise one line per event, "
     "and the diagnostic lines, which begin with a name in square brackets. Standard error carries failures and "
     "advice. "
     "With --json, standard output carries JSON alone and the diagnostic lines move to standard error. Control "
     "characters "
     "in names are replaced in all output but JSON."},
    {"Stopping",
     "Ctrl-C ends the running downloads, keeps what has arrived and saves the queue; \"tovri-cli run\" goes on at the "
     "same "
     "byte. A second Ctrl-C ends at once. One process at a time works on the queue."},
};

const HelpEntry statuses[] = {
    {"0", "All that was asked for has happened; downloads have arrived or were skipped."},
    {"1", "Something has not. A line on standard error says what, why, and what to do next."},
    {"2", "Wrong arguments, or --yes is missing and there is no terminal to ask on; nothing was begun."},
    {"3", "Nobody is signed in, or put.io does not accept the access token."},
    {"4", "Another process works on the queue and the rules and cannot be asked; nothing was begun."},
    {"130", "Ended by Ctrl-C, or asked to end; \"tovri-cli run\" goes on."},
};

const HelpEntry variables[] = {
    {"TOVRI_TOKEN", "An access token, which takes precedence over the stored one and is never written down."},
    {"TOVRI_API_URL, TOVRI_UPLOAD_URL, TOVRI_WEB_URL", "Other hosts than put.io's: scheme, host and port."},
    {"NO_COLOR", "When set and not empty, no colours."},
    {"XDG_DATA_HOME, XDG_CONFIG_HOME, XDG_STATE_HOME", "Where the files below live."},
};

const HelpEntry fileEntries[] = {
    {"$XDG_DATA_HOME/Tovri", "The queue and what has arrived of running downloads (~/.local/share/Tovri)."},
    {"$XDG_CONFIG_HOME/Tovri", "The preferences (~/.config/Tovri)."},
    {"$XDG_STATE_HOME/Tovri", "The access token where no Secret Service answers (~/.local/state/Tovri)."},
};

std::string operandForm(const OperandDefinition& operand) {
    std::string form(operand.placeholder);
    if (operand.most == 0) form += "...";
    return operand.least == 0 ? "[" + form + "]" : form;
}

}  // namespace

std::span<const CommandDefinition> commandDefinitions() {
    static const std::vector<CommandDefinition> definitions = [] {
        std::vector<CommandDefinition> all = makeDefinitions();
        std::ranges::copy(groupedDefinitions(), std::back_inserter(all));
        return all;
    }();
    return definitions;
}

const CommandDefinition& definitionOf(CommandName command) {
    return *std::ranges::find(commandDefinitions(), command, &CommandDefinition::command);
}

std::vector<CommandDefinition> commandsOf(const CommandGroup& group) {
    std::vector<CommandDefinition> commands;
    std::ranges::copy_if(commandDefinitions(), std::back_inserter(commands),
                         [&](const CommandDefinition& each) { return groupOf(each) == &group; });
    return commands;
}

const CommandGroup* groupOf(const CommandDefinition& definition) {
    const std::size_t blank = definition.name.find(' ');
    if (blank == std::string_view::npos) return nullptr;
    return &*std::ranges::find(commandGroups(), definition.name.substr(0, blank), &CommandGroup::name);
}

std::string_view lastWordOf(const CommandDefinition& definition) {
    return definition.name.substr(definition.name.find(' ') + 1);
}

std::vector<HelpEntry> firstWords() {
    std::vector<HelpEntry> words;
    for (const CommandDefinition& definition : commandDefinitions())
        if (!groupOf(definition)) words.push_back({definition.name, definition.summary});
    for (const CommandGroup& group : commandGroups()) words.push_back({group.name, group.summary});
    return words;
}

std::span<const HelpSection> helpSections() {
    return sections;
}

std::span<const HelpEntry> exitStatuses() {
    return statuses;
}

std::span<const HelpEntry> environmentVariables() {
    return variables;
}

std::span<const HelpEntry> files() {
    return fileEntries;
}

std::string synopsis(const CommandDefinition& definition) {
    std::string text = std::string(programName) + " " + std::string(definition.name);
    for (const OperandDefinition& operand : definition.operands) text += " " + operandForm(operand);
    for (const FlagDefinition& flag : definition.flags) text += " [" + flagForm(flag) + "]";
    return text;
}

std::string flagForm(const FlagDefinition& flag) {
    std::string form(flag.name);
    if (flag.placeholder.empty()) return form;
    if (flag.kind != ValueKind::choice) return form + " " + std::string(flag.placeholder);
    form += " ";
    for (const std::string_view choice : flag.choices) form += std::string(choice) + "|";
    form.pop_back();
    return form;
}

}  // namespace tovri::cli
