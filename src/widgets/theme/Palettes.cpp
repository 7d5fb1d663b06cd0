#include "widgets/theme/Palettes.h"

#include "widgets/theme/Colors.h"

namespace tovri {
namespace {

struct Shades {
    QColor window, base, alternate, text, button, highlight, link;
};

QPalette paletteOf(const Shades& shades) {
    QPalette palette(shades.button, shades.window);
    palette.setColor(QPalette::Base, shades.base);
    palette.setColor(QPalette::AlternateBase, shades.alternate);
    palette.setColor(QPalette::ToolTipBase, shades.base);
    palette.setColor(QPalette::Highlight, shades.highlight);
    palette.setColor(QPalette::HighlightedText, colorOn(shades.highlight));
    palette.setColor(QPalette::Link, shades.link);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::ToolTipText})
        palette.setColor(role, shades.text);
    palette.setColor(QPalette::PlaceholderText, mixed(shades.text, shades.base, 0.5));
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, mixed(shades.text, shades.window, 0.4));
    palette.setColor(QPalette::Inactive, QPalette::Highlight, shades.highlight);
    return palette;
}

}  // namespace

QPalette lightPalette() {
    return paletteOf({.window = 0xF6F7F8,
                      .base = 0xFFFFFF,
                      .alternate = 0xFAFBFC,
                      .text = 0x1F2326,
                      .button = 0xFCFCFD,
                      .highlight = 0x2F7DD1,
                      .link = 0x1F6FC4});
}

QPalette darkPalette() {
    return paletteOf({.window = 0x26292C,
                      .base = 0x1D2022,
                      .alternate = 0x212427,
                      .text = 0xECEEF0,
                      .button = 0x34383C,
                      .highlight = 0x3D8FE6,
                      .link = 0x6FB1F5});
}

}  // namespace tovri
