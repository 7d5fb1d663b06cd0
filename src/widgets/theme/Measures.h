#pragma once

namespace tovri::measures {

// All lengths are in device-independent pixels, on a grid of 4.
inline constexpr int gap = 4;
inline constexpr int spacing = 8;
inline constexpr int margin = 12;
inline constexpr int sheetMargin = 16;
inline constexpr int sectionGap = 24;

inline constexpr int headerHeight = 32;
inline constexpr int rowHeight = 44;          // title and caption
inline constexpr int progressRowHeight = 56;  // with a progress bar between them
inline constexpr int inlineButton = 28;
inline constexpr int progressBar = 4;
inline constexpr int radius = 6;

inline constexpr int sidebarMinimum = 160;
inline constexpr int sidebarWidth = 180;
inline constexpr int sidebarMaximum = 220;
inline constexpr int sidebarRow = 32;

inline constexpr int placeholderWidth = 360;

// The symbols are drawn on a grid of 22, of which 16 are seen: at its multiples their lines fall on whole pixels.
inline constexpr int smallSymbol = 16;
inline constexpr int symbol = 22;
inline constexpr int fileSymbol = 28;  // those of file types have a grid of 28
inline constexpr int largeSymbol = 66;

}  // namespace tovri::measures
