#include "cli/running/RunReporter.h"

#include <unordered_map>
#include <unordered_set>
#include <utility>

#include <fmt/format.h>

#include "base/ByteCountFormat.h"
#include "cli/display/DisplayText.h"
#include "cli/display/ProgressLayout.h"

namespace tovri::cli {
namespace {

using Status = Download::Status;

// Which waits were told: one that goes on, or comes again for the same reason, is no news.
class ToldWaits {
public:
    [[nodiscard]] bool isNews(const QueueChange& change) {
        if (!change.item) return true;
        const Download& item = *change.item;
        if (isFinished(item.status) || change.kind == QueueChange::Kind::removed) told_.erase(item.id);
        if (change.kind == QueueChange::Kind::removed) return true;
        const bool isWait = item.hold && (change.kind == QueueChange::Kind::hold || item.status == Status::queued);
        return !isWait || std::exchange(told_[item.id], item.hold->text) != item.hold->text;
    }

private:
    std::unordered_map<UUID, std::string> told_;
};

class LineReporter final : public RunReporter {
public:
    explicit LineReporter(const RunView& view) : view_(view) {}

    void follow(const QueueChange& change) override {
        if (!waits_.isNews(change)) return;
        if (const std::string line = eventLine(change, view_.clock.now()); !line.empty()) view_.terminal.print(line);
    }

    void end() override {
        if (const std::string line = summaryLine(view_.tally); !line.empty()) view_.terminal.print(line);
    }

private:
    RunView view_;
    ToldWaits waits_;
};

// Events as they come, and once a second how far the running downloads are.
class JSONReporter final : public RunReporter {
public:
    explicit JSONReporter(const RunView& view) : view_(view) {}

    void follow(const QueueChange& change) override {
        if (change.kind == QueueChange::Kind::inserted && !change.item) return tellQueued();
        if (change.kind == QueueChange::Kind::inserted) queued_.insert(change.item->id);
        if (change.kind == QueueChange::Kind::removed && change.item) queued_.erase(change.item->id);
        if (waits_.isNews(change)) print(eventJSON(change, view_.clock.now()));
        if (change.kind != QueueChange::Kind::progress || timer_.isActive()) return;
        timer_ = view_.loop.schedule(std::chrono::seconds(1), [this] {
            timer_.reset();
            if (view_.terminal.isBehind()) return;
            for (const ConstDownloadPointer& item : view_.downloads.downloads().withStatus(Status::downloading))
                print(progressJSON(*item, view_.clock.now()));
        });
    }

    void end() override {
        timer_.reset();
        print(summaryJSON(view_.tally, view_.clock.now()));
    }

private:
    // Many items came; those that were there before are not told again.
    void tellQueued() {
        for (const ConstDownloadPointer& item : view_.downloads.downloads().items())
            if (!isFinished(item->status) && queued_.insert(item->id).second)
                print(eventJSON({QueueChange::Kind::inserted, item}, view_.clock.now()));
    }

    void print(const std::string& line) const {
        if (!line.empty()) view_.terminal.print(line);
    }

    RunView view_;
    ToldWaits waits_;
    std::unordered_set<UUID> queued_;
    Subscription timer_;
};

// A bar for each running download and a line for all, drawn at most ten times a second and only when something changed.
// What has arrived is told above.
class LiveReporter final : public RunReporter {
public:
    explicit LiveReporter(const RunView& view) : view_(view) {
        resized_ = view_.terminal.onResize([this] { drawSoon(); });
    }

    void follow(const QueueChange& change) override {
        const bool isInRow = change.item && change.item->status == Status::downloading;
        const bool isTold = !isInRow && waits_.isNews(change);
        const std::string line = isTold ? eventLine(change, view_.clock.now()) : std::string();
        if (!line.empty()) view_.terminal.print(line);
        drawSoon();
    }

    void end() override {
        resized_.reset();
        timer_.reset();
        countdown_.reset();
        view_.terminal.showLive({});
        if (const std::string line = summaryLine(view_.tally); !line.empty()) view_.terminal.print(line);
    }

private:
    void drawSoon() {
        if (timer_.isActive()) return;
        timer_ = view_.loop.schedule(std::chrono::milliseconds(100), [this] {
            timer_.reset();
            draw();
        });
    }

    void draw() {
        const Terminal::Size size = view_.terminal.size();
        const ProgressPicture seen = picture();
        view_.terminal.showLive(
            layOut(seen, {size.columns, size.rows, view_.terminal.hasColor(), view_.terminal.hasUnicode()}));
    }

    // Also while nothing else changes, where it says how long something still waits.
    void drawLater() {
        if (countdown_.isActive()) return;
        countdown_ = view_.loop.schedule(std::chrono::seconds(1), [this] {
            countdown_.reset();
            drawSoon();
        });
    }

    [[nodiscard]] ProgressPicture picture() {
        ProgressPicture result;
        for (const ConstDownloadPointer& item : view_.downloads.activeDownloads()) result.rows.push_back(row(*item));
        const DownloadList& list = view_.downloads.downloads();
        for (const std::string& what : list.holds()) result.rows.push_back(heldRow(list, what));
        if (list.heldCount() > 0) drawLater();
        const RunTally& tally = view_.tally;
        const ByteCount arrived = tally.finishedBytes() + tally.runningBytes();
        const ByteCount all = tally.finishedBytes() + tally.unfinishedBytes();
        const BytesPerSecond speed = view_.downloads.totalSpeed();
        result.total.finished = tally.finished();
        result.total.count = tally.finished() + tally.unfinished();
        result.total.sizes = formatByteCount(arrived) + " / " + formatByteCount(all);
        if (all > 0) result.total.percent = std::to_string(arrived * 100 / all) + "%";
        if (speed > BytesPerSecond()) result.total.speed = formatRate(speed);
        if (speed > BytesPerSecond() && all > arrived)
            result.total.remaining = durationText(timeFor(all - arrived, speed).count()) + " left";
        return result;
    }

    // One for all that wait for the same.
    [[nodiscard]] ProgressRow heldRow(const DownloadList& list, const std::string& what) const {
        const ConstDownloadPointer first = list.firstHeldFor(what);
        const std::size_t count = list.heldCount(what);
        ProgressRow row;
        row.name = printable(first->fileName);
        if (count > 1) row.name += fmt::format(" and {} more", count - 1);
        row.state = printable(first->hold->textAt(view_.clock.now()));
        return row;
    }

    [[nodiscard]] ProgressRow row(const Download& item) const {
        ProgressRow row;
        row.name = printable(item.fileName);
        row.fraction = item.progress;
        row.speed = item.speedText();
        row.remaining = item.etaText();
        if (item.hold) row.state = printable(item.hold->textAt(view_.clock.now()));
        if (item.status == Status::deleting) row.state = "Removing from put.io...";
        if (item.status == Status::awaitingConflict) row.state = "Waiting \xE2\x80\x94 file already exists";
        return row;
    }

    RunView view_;
    ToldWaits waits_;
    Subscription timer_;
    Subscription countdown_;
    Subscription resized_;
};

}  // namespace

std::unique_ptr<RunReporter> makeReporter(ReportForm form, const RunView& view) {
    switch (form) {
        case ReportForm::json:
            return std::make_unique<JSONReporter>(view);
        case ReportForm::live:
            return std::make_unique<LiveReporter>(view);
        case ReportForm::lines:
            break;
    }
    return std::make_unique<LineReporter>(view);
}

}  // namespace tovri::cli
