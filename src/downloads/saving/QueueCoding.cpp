#include <rapidjson/prettywriter.h>

#include "downloads/saving/QueueSnapshot.h"
#include "downloads/saving/SavedRecord.h"
#include "downloads/saving/SavedText.h"

namespace tovri {
namespace {

using namespace saved;

struct StatusFormat {
    static void write(auto& json, DownloadStatus status) { writeString(json, rawValue(status)); }

    static DownloadStatus read(const SavedValue& saved) {
        const auto status = downloadStatus(saved.text());
        if (!status) saved.reject("a known status");
        return *status;
    }
};

// For whoever looks at the queue. The next process that works on it finds out for itself.
struct HoldFormat {
    static void write(auto& json, const Hold& hold) { TextFormat::write(json, hold.text); }

    static HoldPointer read(const SavedValue& saved) {
        return std::make_shared<const Hold>(Hold{.text = TextFormat::read(saved)});
    }
};

// An object with a number under each name.
struct CountsFormat {
    static void write(auto& json, const std::map<std::string, std::int64_t>& counts) {
        json.StartObject();
        for (const auto& [name, count] : counts) {
            writeKey(json, name);
            json.Int64(count);
        }
        json.EndObject();
    }

    static std::map<std::string, std::int64_t> read(const SavedValue& saved) {
        std::map<std::string, std::int64_t> counts;
        for (auto field : saved.as<json::object>("an object")) {
            const std::string name(std::string_view(field.unescaped_key()));
            json::value value = field.value();
            counts[name] = IntegerFormat::read({value, name, saved.shared});
        }
        return counts;
    }
};

constexpr RecordFormat copyFormat{
    "a copy",
    required("checksum", &DifferingCopy::checksum, TextFormat()),
    required("path", &DifferingCopy::path, FileURLFormat()),
    required("size", &DifferingCopy::size, IntegerFormat()),
};

struct CopyFormat {
    static void write(auto& json, const DifferingCopy& copy) { copyFormat.write(json, copy); }

    static std::shared_ptr<const DifferingCopy> read(const SavedValue& saved) {
        return std::make_shared<const DifferingCopy>(copyFormat.read(saved));
    }
};

constexpr RecordFormat ruleRetryFormat{
    "a rule's retry",
    required("failures", &RuleRetry::failures, IntegerFormat()),
    required("notBefore", &RuleRetry::notBefore, DateFormat()),
    required("reason", &RuleRetry::reason, TextFormat()),
};

struct SharedRuleRetryFormat {
    static void write(auto& json, const RuleRetry& retry) { ruleRetryFormat.write(json, retry); }

    static std::shared_ptr<const RuleRetry> read(const SavedValue& saved) {
        return std::make_shared<const RuleRetry>(ruleRetryFormat.read(saved));
    }
};

constexpr RecordFormat failedTryFormat{
    "a failed try",
    required("at", &FailedTry::at, DateFormat()),
    required("what", &FailedTry::what, TextFormat()),
};

struct FailedTriesFormat {
    static void write(auto& json, const FailedTries& tries) { ListFormat(failedTryFormat).write(json, tries); }

    static std::shared_ptr<const FailedTries> read(const SavedValue& saved) {
        return keptTries(ListFormat(failedTryFormat).read(saved));
    }
};

constexpr RecordFormat itemFormat{
    "an item",
    optional("account", &DownloadRecord::account, SharedTextFormat()),
    optional("arrivedChecksum", &DownloadRecord::arrivedChecksum, TextFormat()),
    optional("batchID", &DownloadRecord::batchID, UUIDFormat()),
    required("bytesDownloaded", &DownloadRecord::bytesDownloaded, IntegerFormat()),
    optional("completedAt", &DownloadRecord::completedAt, DateFormat()),
    optional("crc32", &DownloadRecord::crc32, TextFormat()),
    required("deleteAfterDownload", &DownloadRecord::deleteAfterDownload, FlagFormat()),
    optional("deletionAccount", &DownloadRecord::deletionAccount, TextFormat()),
    required("destinationFolder", &DownloadRecord::destinationFolder, SharedFolderFormat()),
    optional("durable", &DownloadRecord::durable, FlagFormat()),
    optional("error", &DownloadRecord::error, TextFormat()),
    optional("failedTries", &DownloadRecord::failedTries, FailedTriesFormat()),
    required("fileID", &DownloadRecord::fileID, IdentifierFormat<FileID>()),
    required("fileName", &DownloadRecord::fileName, TextFormat()),
    required("fileSize", &DownloadRecord::fileSize, IntegerFormat()),
    optional("folderDeleteID", &DownloadRecord::folderDeleteID, IdentifierFormat<FolderID>()),
    optional("folderGroupID", &DownloadRecord::folderGroupID, UUIDFormat()),
    optional("formerCopy", &DownloadRecord::formerCopy, CopyFormat()),
    younger("hasStartedOver", &DownloadRecord::hasStartedOver, FlagFormat()),
    required("id", &DownloadRecord::id, UUIDFormat()),
    younger("isUnproven", &DownloadRecord::isUnproven, FlagFormat()),
    optional("listedSize", &DownloadRecord::listedSize, IntegerFormat()),
    required("progress", &DownloadRecord::progress, NumberFormat()),
    optional("queuedAt", &DownloadRecord::queuedAt, DateFormat()),
    optional("receivedFile", &DownloadRecord::receivedFile, SharedBase64Format()),
    optional("resolvedURL", &DownloadRecord::resolvedURL, FileURLFormat()),
    optional("resumeData", &DownloadRecord::resumeData, Base64Format()),
    optional("ruleRetry", &DownloadRecord::ruleRetry, SharedRuleRetryFormat()),
    optional("securityScopeBookmark", &DownloadRecord::securityScopeBookmark, SharedBase64Format()),
    optional("stagedURL", &DownloadRecord::stagedURL, FileURLFormat()),
    optional("startedAt", &DownloadRecord::startedAt, DateFormat()),
    required("status", &DownloadRecord::status, StatusFormat()),
    optional("syncRuleID", &DownloadRecord::syncRuleID, UUIDFormat()),
    optional("waiting", &DownloadRecord::hold, HoldFormat()),
};

constexpr RecordFormat queueFormat{
    "the queue",
    optional("bootID", &QueueSnapshot::bootID, TextFormat()),
    required("downloads", &QueueSnapshot::downloads, ListFormat(itemFormat)),
    required("folderGroupExpectedCounts", &QueueSnapshot::folderGroupExpectedCounts, CountsFormat()),
    required("isPaused", &QueueSnapshot::isPaused, FlagFormat()),
    required("version", &QueueSnapshot::version, IntegerFormat()),
};

static_assert(copyFormat.isSorted() && ruleRetryFormat.isSorted() && failedTryFormat.isSorted() &&
              itemFormat.isSorted() && queueFormat.isSorted());

}  // namespace

Result<void> encodeQueue(const QueueSnapshot& snapshot, const FileManager::Sink& sink) {
    SlashEscapingText text(sink);
    rapidjson::PrettyWriter<SlashEscapingText> json(text);
    json.SetIndent(' ', 2);
    queueFormat.write(json, snapshot);
    return text.finish();
}

Result<QueueSnapshot> decodeQueue(ByteBlob text) {
    return decode<QueueSnapshot>(std::move(text), "queue file", [](json::document& document) {
        QueueSnapshot snapshot;
        SharedValues shared;
        queueFormat.read(document.get_object(), snapshot, shared);
        return snapshot;
    });
}

}  // namespace tovri
