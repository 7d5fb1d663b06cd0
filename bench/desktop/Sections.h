#pragma once

#include <filesystem>

namespace tovri::bench {

class MeasuredApplication;

// Each measures one thing and prints its figures. They return the program's exit status.

// The downloads screen over the queue in the folder: its first frame, and ten seconds with three busy transfers.
int measureQueue(MeasuredApplication& application, const std::filesystem::path& folder, double startedAt);

}  // namespace tovri::bench
