#pragma once

#include <filesystem>
#include <functional>
#include <vector>

#include "screens/FileChooser.h"

class QMimeData;
class QWidget;

namespace tovri {

using LocalPaths = std::vector<std::filesystem::path>;

// Opens the platform's dialog over the parent's window and returns. `chosen` gets one path or several; it is not called
// when the user cancels, or when the parent has gone.
void chooseLocalFiles(QWidget& parent, const FileChooser& chooser, std::function<void(LocalPaths)> chosen);

// The local files and folders that a drag brings.
[[nodiscard]] LocalPaths localFilesOf(const QMimeData& data);

}  // namespace tovri
