// Measures what a folder of 50,000 entries costs the file browser, without a display: from the service's answer, or
// from the key or click, to the drawn list.
#include <QApplication>

#include <benchmark/benchmark.h>

#include "downloads/PutIODownloadService.h"
#include "platform/icu/ICUTextCollation.h"
#include "screens/files/FileBrowserFixture.h"
#include "support/FakeWorkspace.h"
#include "support/SimulatedTransferSession.h"
#include "widgets/files/FileBrowserView.h"
#include "widgets/files/FileListView.h"
#include "widgets/theme/Theme.h"

using namespace tovri;
using namespace tovri::test;

namespace {

constexpr std::int64_t entryCount = 50'000;

// In an order of their own by name, by size and by date; every tenth is a folder.
std::string longListing() {
    constexpr std::array words = {"Holiday", "series", "Ärger", "Document", "song"};
    PutIOFileList list;
    list.status = "OK";
    for (std::int64_t i = 0; i < entryCount; ++i) {
        const std::string name = std::string(words[static_cast<std::size_t>(i) % words.size()]) +
                                 " with a name of usual length " + std::to_string(i * 7'919 % entryCount);
        list.files.push_back(i % 10 == 0 ? FileBrowserFixture::folder(i + 1, name)
                                         : FileBrowserFixture::file(i + 1, name + ".mkv", i * 104'729 % 1'000'007));
        list.files.back().contentType = "video/x-matroska";
        list.files.back().createdAt = "2024-01-01T00:00:" + std::to_string(10 + i * 31 % 50);
    }
    return encodeJSON(list);
}

class LongFolder final : public FileBrowserFixture {
public:
    LongFolder() {
        http.handler = [this](const HTTPRequest&) { return HTTPResponse{200, listing_}; };
        downloads.configure(service, preferences);
        view.resize(900, 600);
        view.show();
        draw();
    }

    void TestBody() override {}

    // All that is due, and the list in sight.
    void draw() {
        settle();
        QApplication::processEvents();
        view.findChild<FileListView*>()->viewport()->repaint();
    }

private:
    std::string listing_ = longListing();
    MemoryUserDefaults defaults_;

public:
    Preferences preferences{defaults_, folderAccess, "/home/user"};
    SimulatedStorage storage;
    SimulatedTransferSession transfers{loop, storage};
    PutIODownloadService service{api};
    DownloadManager downloads{downloadPorts(platform, transfers)};
    FakeWorkspace workspace;
    ICUTextCollation language{"en_US"};
    Notices notices{loop};
    FileBrowserScreen screen{{state, api, downloads, preferences, workspace, language, random, notices, {}, clock}};
    FileBrowserView view{screen};
};

void shown(benchmark::State& state) {
    LongFolder folder;
    for (auto _ : state) {
        state.PauseTiming();
        folder.state.reset();
        folder.draw();
        state.ResumeTiming();
        folder.state.loadFiles();
        folder.draw();
    }
}

// The first letter of a search, which has to learn about all names.
void filtered(benchmark::State& state) {
    LongFolder folder;
    for (auto _ : state) {
        state.PauseTiming();
        folder.screen.search("");
        folder.state.loadFiles();
        folder.draw();
        state.ResumeTiming();
        folder.screen.search("s");
        folder.draw();
    }
}

// In the costliest order, with all rows selected.
void sorted(benchmark::State& state) {
    LongFolder folder;
    folder.view.findChild<FileListView*>()->selectAll();
    for (auto _ : state) {
        state.PauseTiming();
        folder.screen.perform(FileToolbarAction::sortBySize);
        folder.draw();
        state.ResumeTiming();
        folder.screen.perform(FileToolbarAction::sortByName);
        folder.draw();
    }
}

BENCHMARK(shown)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(filtered)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(sorted)->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace

int main(int count, char** arguments) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(count, arguments);
    const Theme theme(application);
    benchmark::Initialize(&count, arguments);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
