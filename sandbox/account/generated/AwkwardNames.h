#pragma once

#include <span>
#include <string>

namespace tovri::sandbox {

// Names that a file may have on a disk and that careless code trips over. None of them holds a slash or a NUL, and none
// is
// "." or "..".
std::span<const std::string> awkwardNames();

}  // namespace tovri::sandbox
