#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QLineEdit>
#include <QPainter>
#include <QSpinBox>
#include <QVBoxLayout>
#include <algorithm>
#include <cmath>

#include <gtest/gtest.h>

#include "tests/widgets/ListedRows.h"
#include "tests/widgets/Seen.h"
#include "widgets/parts/PlaceholderView.h"
#include "widgets/parts/bars/BannerView.h"
#include "widgets/parts/bars/Breadcrumbs.h"
#include "widgets/parts/bars/SummaryLine.h"
#include "widgets/parts/bars/Toolbar.h"
#include "widgets/parts/forms/Form.h"
#include "widgets/parts/forms/Switch.h"
#include "widgets/parts/sheets/Sheet.h"
#include "widgets/rows/RowListView.h"
#include "widgets/theme/Colors.h"
#include "widgets/theme/Palettes.h"
#include "widgets/theme/Symbols.h"

namespace tovri {
namespace {

// Pictures of the parts in light and dark, at both densities and directions, for people to look at: into the folder
// that TOVRI_PICTURES names.
class Pictures : public testing::TestWithParam<bool> {
protected:
    void SetUp() override {
        folder_ = qEnvironmentVariable("TOVRI_PICTURES");
        if (folder_.isEmpty()) GTEST_SKIP() << "TOVRI_PICTURES names no folder";
        QApplication::setPalette(GetParam() ? darkPalette() : lightPalette());
    }

    void TearDown() override { QApplication::setPalette(lightPalette()); }

    void take(QWidget& widget, const QString& name) const {
        widget.show();
        test::settle();
        for (const double scale : {1.0, 2.0}) {
            QPixmap picture(widget.size() * scale);
            picture.setDevicePixelRatio(scale);
            widget.render(&picture);
            const QString scheme = GetParam() ? "dark" : "light";
            EXPECT_TRUE(picture.save(QString("%1/%2-%3-%4x.png").arg(folder_, name, scheme).arg(scale)));
        }
    }

private:
    QString folder_;
};

INSTANTIATE_TEST_SUITE_P(lightAndDark, Pictures, testing::Bool());

ListedRows::Row row(std::uint64_t number, std::string_view symbol, Tint tint, const QString& title,
                    std::vector<CaptionSegment> caption, std::vector<InlineButton> buttons) {
    return {number,
            {.symbol = symbol,
             .symbolTint = tint,
             .title = title,
             .caption = std::move(caption),
             .buttons = std::move(buttons)}};
}

ListedRows queue() {
    const InlineButton cancel{2, "xmark", "Cancel"};
    ListedRows source;
    auto& rows = source.rows;
    rows.push_back(headerRow(100, "Active"));
    rows.push_back(row(1, "arrow.down.circle.fill", Tint::accent, "Big Buck Bunny (2008) 1080p.mkv",
                       {{"412.3 MB / 1.1 GB"}, {"12.4 MB/s"}, {"56 s left"}}, {{1, "pause.fill", "Pause"}, cancel}));
    rows.push_back(row(2, "", Tint::secondary, "ubuntu-24.04-desktop-amd64.iso", {{"Removing from put.io..."}}, {}));
    rows.push_back(row(3, "exclamationmark.triangle.fill", Tint::attention, "Holiday photographs.zip",
                       {{"Waiting — file already exists", Tint::attention}}, {cancel}));
    rows.push_back(headerRow(101, "Paused"));
    rows.push_back(row(4, "pause.circle.fill", Tint::attention, "Sintel.2010.2160p.mkv",
                       {{"1.2 GB / 3.4 GB"}, {"Paused 35%", Tint::attention}}, {{1, "play.fill", "Resume"}, cancel}));
    for (const std::size_t i : {1U, 5U}) rows[i].content.shape = RowShape::progress;
    rows[1].content.progress = RowProgress{0.37};
    rows[5].content.progress = RowProgress{0.35, Tint::attention};
    rows.push_back(headerRow(102, "Finished"));
    rows.push_back(row(5, "checkmark.circle.fill", Tint::success,
                       "A document with a name so long that it cannot "
                       "possibly fit into the width that this picture has for it.pdf",
                       {{"2.3 MB"}, {"5 min ago"}}, {{3, "folder", "Show in Folder"}}));
    rows.push_back(row(6, "xmark.circle.fill", Tint::failure, "Notes.txt",
                       {{"HTTP error 404 from put.io.", Tint::failure}}, {{4, "arrow.clockwise", "Retry"}, cancel}));
    rows.push_back(row(7, "trash.slash.fill", Tint::attention, "Album.flac",
                       {{"Downloaded — couldn't delete from put.io", Tint::attention, "trash.slash.fill"}},
                       {{4, "arrow.clockwise", "Retry"}, {3, "folder", "Show in Folder"}}));
    rows.push_back(
        row(8, "forward.circle.fill", Tint::secondary, "Skipped.srt", {{"Skipped"}}, {{4, "arrow.up.to.line", "Top"}}));
    return source;
}

ListedRows files() {
    ListedRows source;
    const std::pair<std::string_view, const char*> kinds[] = {
        {"folder.fill", "Films"},  {"film", "Sintel.mkv"},        {"music.note", "Song.flac"},
        {"photo", "Photo.jpg"},    {"doc.zipper", "Archive.zip"}, {"doc.richtext", "Paper.pdf"},
        {"doc.text", "Notes.txt"}, {"doc", "Unknown.bin"}};
    for (const auto& [symbol, name] : kinds) {
        const bool isFolder = symbol == "folder.fill";
        source.rows.push_back(row(source.rows.size() + 1, symbol, isFolder ? Tint::accent : Tint::secondary, name,
                                  {{"1.2 MB"}, {"video/x-matroska"}}, {}));
        source.rows.back().content.symbolSize = measures::fileSymbol;
        if (isFolder) source.rows.back().content.trailingSymbol = "chevron.right";
    }
    return source;
}

const std::vector<ToolbarEntry> entries = {
    {.action = 1, .title = "Download", .symbol = "arrow.down.circle"},
    {.kind = ToolbarEntry::Kind::menu,
     .title = "Sort",
     .symbol = "arrow.up.arrow.down",
     .choices = {{1, "Name", true}}},
    {.kind = ToolbarEntry::Kind::progress, .title = "Uploading"},
    {.action = 2, .title = "Upload", .symbol = "arrow.up.circle", .isEnabled = false},
    {.action = 3, .title = "Refresh", .symbol = "arrow.clockwise"},
    {.kind = ToolbarEntry::Kind::searchField, .title = "Filter files"}};

void fillScreen(QWidget& screen, RowModel& model, int selected) {
    auto* column = new QVBoxLayout(&screen);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    auto* toolbar = new Toolbar;
    auto* banner = new BannerView("Dismiss");
    auto* crumbs = new Breadcrumbs;
    auto* summary = new SummaryLine;
    auto* list = new RowListView;
    for (QWidget* part : std::initializer_list<QWidget*>{toolbar, banner, crumbs, summary, list})
        column->addWidget(part);
    toolbar->show(entries);
    banner->show({"exclamationmark.triangle.fill", "Automation could not list “Films”.", Tint::attention});
    crumbs->show(QStringList{"Your Files", "Films", "2010s"});
    summary->show({{"arrow.down.circle.fill", "3 active"},
                   {"pause.circle.fill", "1 paused"},
                   {"speedometer", "12.4 MB/s"},
                   {"clock", "6 min left"}});
    list->setAlternatingRowColors(true);
    list->setModel(&model);
    model.setParent(&screen);
    list->setFocus(Qt::TabFocusReason);
    list->setCurrentIndex(model.index(selected));
}

TEST_P(Pictures, screens) {
    const ListedRows downloads = queue();
    const ListedRows listing = files();
    for (const auto direction : {Qt::LeftToRight, Qt::RightToLeft}) {
        QApplication::setLayoutDirection(direction);
        const QString suffix = direction == Qt::LeftToRight ? "" : "-rtl";
        for (const auto& [source, name, width] : {std::tuple{&downloads, "downloads", 900}, {&listing, "files", 640}}) {
            QWidget screen;
            screen.resize(width, 700);
            fillScreen(screen, *new RowModel(*source), 1);
            take(screen, name + suffix);
        }
    }
    QApplication::setLayoutDirection(Qt::LeftToRight);
}

TEST_P(Pictures, placeholdersAndSheets) {
    PlaceholderView placeholder;
    placeholder.resize(520, 360);
    placeholder.show({Placeholder::Kind::message, "arrow.up.arrow.down.circle", "No Transfers",
                      "Add a magnet link or torrent URL to start a transfer on put.io.", "Add Transfer"});
    take(placeholder, "placeholder");
    placeholder.show(progressPlaceholder("Loading files..."));
    take(placeholder, "loading");
    Sheet* confirmation = makeConfirmation(nullptr, "Delete 2 items?",
                                           "This permanently removes it from your put.io account and can't be undone.",
                                           "Delete from put.io", "Cancel");
    take(*confirmation, "confirmation");
    delete confirmation;
    Sheet form("New RSS Feed", nullptr);
    auto* error = new ErrorLine;
    QFormLayout* fields = makeForm();
    form.body()->addLayout(fields);
    addField(*fields, "Title", new QLineEdit("A feed"));
    addField(*fields, "RSS Feed URL", new QLineEdit);
    fields->addRow(QString(), error);
    addField(*fields, "Interval", new QSpinBox);
    auto* picker = new QComboBox;
    picker->addItems({"Ask every time", "Keep both"});
    addField(*fields, "When a file already exists", picker);
    auto* toggle = new QCheckBox("Skip existing items on first fetch");
    toggle->setChecked(true);
    fields->addRow(QString(), toggle);
    auto* on = new Switch;
    on->setChecked(true);
    addField(*fields, "Enabled", on);
    addField(*fields, "Paused", new Switch);
    error->show("HTTP error 400 from put.io.");
    form.addCancelButton("Cancel");
    form.addConfirmButton("Add Feed");
    take(form, "form");
}

// Every symbol at every size.
TEST_P(Pictures, symbols) {
    class Sheet final : public QWidget {
        void paintEvent(QPaintEvent*) override {
            QPainter painter(this);
            painter.fillRect(rect(), palette().color(QPalette::Base));
            int place = 0;
            for (const std::string_view name : symbolNames()) {
                const QPoint at(10 + place % 8 * 140, 10 + place / 8 * 90);
                ++place;
                int x = at.x();
                for (const int size : {16, 22, 28, 66}) {
                    paintSymbol(painter, {x, at.y(), size, 66}, size, name, color(Tint::primary, palette()));
                    x += size + 4;
                }
                painter.setPen(color(Tint::secondary, palette()));
                painter.setFont(QFont(font().family(), 6));
                painter.drawText(at.x(), at.y() + 78, QString::fromUtf8(name.data(), static_cast<int>(name.size())));
            }
            applicationIcon().paint(&painter, {10 + 6 * 140, 10 + 5 * 90, 80, 80});
        }
    } sheet;

    sheet.resize(1130, 560);
    take(sheet, "symbols");
}

}  // namespace
}  // namespace tovri
