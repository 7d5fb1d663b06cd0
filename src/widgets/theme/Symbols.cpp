#include "widgets/theme/Symbols.h"

#include <QFile>
#include <QGuiApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPalette>
#include <QPixmapCache>
#include <QSvgRenderer>
#include <algorithm>
#include <array>
#include <cmath>

#include "widgets/theme/Colors.h"
#include "widgets/theme/Measures.h"

namespace tovri {
namespace {

enum class Source : std::uint8_t { breeze, drawn };

struct Symbol {
    std::string_view name;
    Source source;
    const char* file;         // an icon of the Breeze theme, or a file of resources/icons/symbols
    bool isDirected = false;  // turned around where one reads from the right; signs of players are not
};

// Sorted by name.
constexpr std::array symbols = {
    Symbol{"arrow.clockwise", Source::breeze, "view-refresh"},
    Symbol{"arrow.down", Source::drawn, "arrow-down"},
    Symbol{"arrow.down.circle", Source::drawn, "arrow-down-circle"},
    Symbol{"arrow.down.circle.fill", Source::drawn, "arrow-down-circle-fill"},
    Symbol{"arrow.right", Source::drawn, "arrow-right", true},
    Symbol{"arrow.triangle.2.circlepath", Source::drawn, "circlepath"},
    Symbol{"arrow.up", Source::drawn, "arrow-up"},
    Symbol{"arrow.up.arrow.down", Source::drawn, "arrow-up-arrow-down"},
    Symbol{"arrow.up.arrow.down.circle", Source::drawn, "arrow-up-arrow-down-circle"},
    Symbol{"arrow.up.circle", Source::drawn, "arrow-up-circle"},
    Symbol{"arrow.up.circle.fill", Source::drawn, "arrow-up-circle-fill"},
    Symbol{"arrow.up.to.line", Source::breeze, "go-top"},
    Symbol{"checkmark.circle.fill", Source::drawn, "checkmark-circle-fill"},
    Symbol{"chevron.right", Source::breeze, "go-next", true},
    Symbol{"clock", Source::breeze, "clock"},
    Symbol{"cloud", Source::drawn, "cloud"},
    Symbol{"desktopcomputer", Source::breeze, "computer"},
    Symbol{"doc", Source::drawn, "doc"},
    Symbol{"doc.richtext", Source::drawn, "doc-richtext"},
    Symbol{"doc.text", Source::drawn, "doc-text"},
    Symbol{"doc.zipper", Source::drawn, "doc-zipper"},
    Symbol{"dot.radiowaves.up.forward", Source::drawn, "radiowaves"},
    Symbol{"exclamationmark.triangle", Source::drawn, "exclamationmark-triangle"},
    Symbol{"exclamationmark.triangle.fill", Source::drawn, "exclamationmark-triangle-fill"},
    Symbol{"film", Source::drawn, "film"},
    Symbol{"folder", Source::drawn, "folder"},
    Symbol{"folder.fill", Source::drawn, "folder-fill"},
    Symbol{"forward.circle.fill", Source::drawn, "forward-circle-fill"},
    Symbol{"gear", Source::drawn, "gear"},
    Symbol{"gearshape.2", Source::drawn, "gearshape-2"},
    Symbol{"globe", Source::drawn, "globe"},
    Symbol{"internaldrive", Source::drawn, "internaldrive"},
    Symbol{"magnifyingglass", Source::breeze, "edit-find"},
    Symbol{"minus.circle.fill", Source::drawn, "minus-circle-fill"},
    Symbol{"music.note", Source::drawn, "music-note"},
    Symbol{"pause.circle.fill", Source::drawn, "pause-circle-fill"},
    Symbol{"pause.fill", Source::drawn, "pause-fill"},
    Symbol{"person.circle", Source::breeze, "user-identity"},
    Symbol{"photo", Source::drawn, "photo"},
    Symbol{"play.fill", Source::drawn, "play-fill"},
    Symbol{"plus", Source::breeze, "list-add"},
    Symbol{"questionmark.circle", Source::drawn, "questionmark-circle"},
    Symbol{"sidebar.left", Source::drawn, "sidebar-left", true},
    Symbol{"speedometer", Source::breeze, "speedometer"},
    Symbol{"trash", Source::breeze, "edit-delete"},
    Symbol{"trash.slash.fill", Source::drawn, "trash-slash-fill"},
    Symbol{"xmark", Source::drawn, "xmark"},
    Symbol{"xmark.circle", Source::drawn, "xmark-circle"},
    Symbol{"xmark.circle.fill", Source::drawn, "xmark-circle-fill"},
};

static_assert(std::ranges::is_sorted(symbols, {}, &Symbol::name));

const Symbol* find(std::string_view name) {
    const auto* found = std::ranges::lower_bound(symbols, name, {}, &Symbol::name);
    return found != symbols.end() && found->name == name ? found : nullptr;
}

int gridOf(int size) {
    return size % measures::symbol != 0 && size % measures::smallSymbol == 0 ? measures::smallSymbol : measures::symbol;
}

// The theme has drawings of several sizes, each with its own grid. Between whole scales, Qt takes one of another grid
// and stretches it, which then looks heavier than its neighbours.
QString breezeFile(const Symbol& symbol, int grid) {
    for (const QString& folder : QIcon::themeSearchPaths())
        for (const char* kind : {"actions", "devices"}) {
            QString file =
                QStringLiteral("%1/breeze/%2/%3/%4.svg")
                    .arg(folder, QLatin1StringView(kind), QString::number(grid), QLatin1StringView(symbol.file));
            if (QFile::exists(file)) return file;
        }
    return {};
}

QImage shapeOf(QSvgRenderer& drawing, int pixels) {
    QImage shape(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    shape.fill(Qt::transparent);
    QPainter painter(&shape);
    drawing.render(&painter, QRectF(0, 0, pixels, pixels));
    return shape;
}

QImage breezeShape(const Symbol& symbol, int pixels, int size) {
    const int grid = gridOf(size);
    QSvgRenderer drawing(breezeFile(symbol, grid));
    if (drawing.isValid()) return shapeOf(drawing, pixels);
    const QIcon icon = QIcon::fromTheme(QLatin1StringView(symbol.file));
    const QPixmap shape = icon.pixmap(QSize(grid, grid), static_cast<double>(pixels) / grid);
    return shape.toImage().convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

// At the small size the drawing has less of its margin, as those of Breeze have.
QImage drawnShape(const Symbol& symbol, int pixels, int size) {
    QSvgRenderer drawing(QStringLiteral(":/tovri/symbols/%1.svg").arg(QLatin1StringView(symbol.file)));
    const double grid = drawing.viewBoxF().width();
    if (size == measures::smallSymbol && grid == measures::symbol) {
        constexpr double margin = 1.5;
        drawing.setViewBox(QRectF(margin, margin, grid - 2 * margin, grid - 2 * margin));
    }
    return shapeOf(drawing, pixels);
}

// Only the shape of the drawing is used; the colour is ours.
QPixmap render(const Symbol& symbol, int size, double scale, const QColor& color) {
    const int pixels = static_cast<int>(std::lround(size * scale));
    QImage shape =
        symbol.source == Source::breeze ? breezeShape(symbol, pixels, size) : drawnShape(symbol, pixels, size);
    if (symbol.isDirected && QGuiApplication::isRightToLeft()) shape.mirror(true, false);
    shape.setDevicePixelRatio(1);
    QPainter painter(&shape);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(shape.rect(), color);
    painter.end();
    QPixmap drawn = QPixmap::fromImage(std::move(shape));
    drawn.setDevicePixelRatio(scale);
    return drawn;
}

QPixmap cached(const Symbol& symbol, int size, double scale, const QColor& color) {
    const QString key = QStringLiteral("tovri/%1/%2/%3/%4/%5")
                            .arg(QLatin1StringView(symbol.file))
                            .arg(size)
                            .arg(scale)
                            .arg(color.rgba())
                            .arg(QGuiApplication::isRightToLeft());
    QPixmap drawn;
    if (QPixmapCache::find(key, &drawn)) return drawn;
    drawn = render(symbol, size, scale, color);
    QPixmapCache::insert(key, drawn);
    return drawn;
}

class SymbolEngine final : public QIconEngine {
public:
    SymbolEngine(const Symbol& symbol, Tint tint) : symbol_(symbol), tint_(tint) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State) override {
        const int size = std::min(rect.width(), rect.height());
        const QColor ink = colorFor(mode);
        paintSymbol(*painter, rect, size, symbol_.name, ink);
    }

    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
        return scaledPixmap(size, mode, state, 1);
    }

    QPixmap scaledPixmap(const QSize& size, QIcon::Mode mode, QIcon::State, qreal scale) override {
        const double side = std::min(size.width(), size.height()) / scale;
        return cached(symbol_, static_cast<int>(std::lround(side)), scale, colorFor(mode));
    }

    [[nodiscard]] QIconEngine* clone() const override { return new SymbolEngine(symbol_, tint_); }

private:
    [[nodiscard]] QColor colorFor(QIcon::Mode mode) const {
        const QPalette palette = QGuiApplication::palette();
        if (mode == QIcon::Disabled) return mixed(palette.color(QPalette::Text), palette.color(QPalette::Base), 0.3);
        if (mode == QIcon::Selected) return palette.color(QPalette::HighlightedText);
        return color(tint_, palette);
    }

    const Symbol& symbol_;
    Tint tint_;
};

}  // namespace

QIcon symbolIcon(std::string_view name, Tint tint) {
    const Symbol* symbol = find(name);
    return symbol == nullptr ? QIcon() : QIcon(new SymbolEngine(*symbol, tint));
}

void paintSymbol(QPainter& painter, const QRect& rect, int size, std::string_view name, const QColor& color) {
    const Symbol* symbol = find(name);
    if (symbol == nullptr) return;
    QRect box(0, 0, size, size);
    box.moveTopLeft({rect.x() + (rect.width() - size) / 2, rect.y() + (rect.height() - size) / 2});
    painter.drawPixmap(box, cached(*symbol, size, painter.device()->devicePixelRatioF(), color));
}

bool isSymbol(std::string_view name) {
    return find(name) != nullptr;
}

std::vector<std::string_view> symbolNames() {
    std::vector<std::string_view> names;
    for (const Symbol& symbol : symbols) names.push_back(symbol.name);
    return names;
}

QIcon applicationIcon() {
    return QIcon(QStringLiteral(":/tovri/tovri.svg"));
}

}  // namespace tovri
