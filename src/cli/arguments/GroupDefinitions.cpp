#include "cli/arguments/GroupDefinitions.h"

#include <algorithm>

#include "cli/arguments/SharedFlags.h"

namespace tovri::cli {
namespace {

const CommandGroup groups[] = {
    {"rules", "manage the automation rules, which bring home every new file of a folder"},
    {"transfers", "show and control what put.io fetches for you"},
    {"feeds", "show and edit the RSS feeds that put.io watches for you"},
};

const FlagDefinition title{"--title", "TEXT", "The feed's title (of a new feed otherwise: its address)"};
const FlagDefinition keyword{"--keyword", "TEXT", "Download only items that match it; with \"\" all"};
const FlagDefinition skipExisting{"--skip-existing",
                                  "WHETHER",
                                  "Skip what the feed holds at its first fetch (of a new feed otherwise: yes)",
                                  ValueKind::choice,
                                  {"yes", "no"}};
const FlagDefinition deleteOld{"--delete-old",
                               "WHETHER",
                               "Delete old files when new ones arrive (of a new feed otherwise: no)",
                               ValueKind::choice,
                               {"yes", "no"}};

const FlagDefinition deleteAfterDownload{"--delete", "", "Delete files from put.io once they are safely here"};
const FlagDefinition every{"--every", "MINUTES",
                           "How often to look, from 1 to 60 (of a new rule otherwise: syncPollIntervalMinutes)",
                           ValueKind::number};

const OperandDefinition ruleID{"ID", "A rule's ID, as \"rules list\" shows it, or the beginning of one", 1, 1};
const OperandDefinition transferID{"ID", "A transfer's ID, as \"transfers list\" shows it", 1, 1, ValueKind::serviceID};
const OperandDefinition feedID{"ID", "A feed's ID, as \"feeds list\" shows it", 1, 1, ValueKind::serviceID};

std::vector<CommandDefinition> ruleDefinitions() {
    using enum CommandName;
    return {
        {rulesList,
         "rules list",
         "list the automation rules",
         "Shows which folder of put.io each watches, where its files go, how often it looks and when it did last.\n\n"
         "With --json, one object with the array \"rules\". Each holds \"id\", \"putioFolderID\", "
         "\"putioFolderName\", \"localFolderPath\", \"deleteAfterDownload\", \"isEnabled\", "
         "\"pollIntervalMinutes\", \"isInitialized\", \"knownFiles\" and \"pendingFiles\" (how many), and "
         "\"lastSyncDate\" (in UTC) once there was a pass, and \"lastFailure\" while the last look has failed.",
         {},
         {jsonDocument}},
        {rulesAdd,
         "rules add",
         "watch a folder and bring its new files home",
         "Takes stock of the folder first and says how many files it found: these stay where they are. From then on "
         "every file that appears in it, or in a folder below it, is downloaded into DIR, sub-folders kept, whenever "
         "\"watch\" or \"rules sync\" runs.",
         {{"FOLDER", "The folder on put.io to watch, a path or a numeric ID", 1, 1},
          {"DIR", "The local folder that receives its files", 1, 1, ValueKind::localFolder}},
         {deleteAfterDownload,
          {"--keep", "", "Keep the files on put.io, as is done unless --delete is given"},
          every,
          {"--force", "", "Make it also when a rule brings the same folder to DIR already"},
          jsonEvents},
         QueueUse::owns},
        {rulesEdit,
         "rules edit",
         "change an automation rule",
         "What is not named stays as it is. With another folder of put.io the rule begins anew and takes stock of it.",
         {ruleID},
         {{"--folder", "FOLDER", "The folder on put.io to watch"},
          {"--to", "DIR", "The local folder that receives its files", ValueKind::localFolder},
          deleteAfterDownload,
          {"--keep", "", "Keep files on put.io"},
          every,
          jsonEvents},
         QueueUse::owns},
        {rulesEnable,
         "rules enable",
         "let a paused rule look for files again",
         "A rule that was made in another account begins anew in the one that is signed in.",
         {ruleID},
         {jsonEvents},
         QueueUse::owns},
        {rulesDisable,
         "rules disable",
         "pause a rule",
         "\"rules sync\" with its ID still looks.",
         {ruleID},
         {jsonEvents},
         QueueUse::owns},
        {rulesRemove,
         "rules rm",
         "delete an automation rule",
         "Its files stay, here and on put.io; what it has put into the queue is still downloaded. Asks first.",
         {ruleID},
         {yes, jsonEvents},
         QueueUse::owns},
        {rulesSync,
         "rules sync",
         "look for new files now and download them",
         "Without ID, for all rules that are not paused. Then works until the queue is empty.",
         {{"ID", ruleID.help, 0, 1}},
         {onConflict, jobs, limitRate, useFolderAnyway, jsonEvents},
         QueueUse::owns},
    };
}

std::vector<CommandDefinition> transferDefinitions() {
    using enum CommandName;
    return {
        {transfersList,
         "transfers list",
         "list the transfers that put.io runs for you",
         "Shows what is active, seeding, failed and completed, with the ID of each transfer.\n\n"
         "With --json, one object with the array \"transfers\". Each holds its \"id\" and what put.io says of "
         "\"name\", \"size\", \"status\", \"status_message\", \"error_message\", \"type\", \"source\", "
         "\"percent_done\", \"downloaded\", \"uploaded\", \"down_speed\", \"up_speed\", \"estimated_time\", "
         "\"peers_connected\", \"peers_sending_to_us\", \"peers_getting_from_us\", \"availability\", \"file_id\", "
         "\"save_parent_id\", \"extract\", \"current_ratio\", \"created_at\" and \"finished_at\".",
         {},
         {jsonDocument}},
        {transfersAdd,
         "transfers add",
         "have put.io fetch a torrent, magnet link or address",
         "",
         {{"URL", "A magnet link, or the address of a torrent or of any file", 1, 1}},
         {{"--to", "FOLDER", "The folder on put.io that receives it (otherwise: the top folder)"},
          {"--extract", "", "Extract archives after download"},
          jsonEvents}},
        {transfersCancel,
         "transfers cancel",
         "cancel an active or seeding transfer",
         "put.io stops the transfer and discards what it has downloaded so far. Asks first.",
         {transferID},
         {yes, jsonEvents}},
        {transfersRetry, "transfers retry", "let put.io try a failed transfer again", "", {transferID}, {jsonEvents}},
        {transfersClean,
         "transfers clean",
         "take completed transfers off the list",
         "The files that they fetched stay on put.io. Asks first.",
         {},
         {yes, jsonEvents}},
    };
}

std::vector<CommandDefinition> feedDefinitions() {
    using enum CommandName;
    return {
        {feedsList,
         "feeds list",
         "list the RSS feeds that put.io watches for you",
         "With --json, one object with the array \"feeds\". Each holds its \"id\" and what put.io says of \"title\", "
         "\"rss_source_url\", \"keyword\", \"parent_dir_id\", \"paused\", \"dont_process_whole_feed\", "
         "\"delete_old_files\", \"last_fetch\" and \"extract\".",
         {},
         {jsonDocument}},
        {feedsAdd,
         "feeds add",
         "have put.io watch an RSS feed and download its new items",
         "",
         {{"URL", "The feed's address", 1, 1}},
         {title,
          {"--to", "FOLDER", "The folder on put.io that receives what is found (otherwise: the top folder)"},
          keyword,
          skipExisting,
          deleteOld,
          jsonEvents}},
        {feedsEdit,
         "feeds edit",
         "change an RSS feed",
         "What is not named stays as it is. A feed's address and folder cannot be changed.",
         {feedID},
         {title, keyword, skipExisting, deleteOld, jsonEvents}},
        {feedsPause, "feeds pause", "stop watching an RSS feed until it is resumed", "", {feedID}, {jsonEvents}},
        {feedsResume, "feeds resume", "watch a paused RSS feed again", "", {feedID}, {jsonEvents}},
        {feedsRemove,
         "feeds rm",
         "delete an RSS feed",
         "Permanently removes the feed from your put.io account. Asks first.",
         {feedID},
         {yes, jsonEvents}},
    };
}

}  // namespace

std::span<const CommandGroup> commandGroups() {
    return groups;
}

std::vector<CommandDefinition> groupedDefinitions() {
    std::vector<CommandDefinition> all = ruleDefinitions();
    std::ranges::move(transferDefinitions(), std::back_inserter(all));
    std::ranges::move(feedDefinitions(), std::back_inserter(all));
    return all;
}

}  // namespace tovri::cli
