#pragma once

namespace tovri {

// A crash of this process leaves no copy of its memory, in which the access token stands.
void forbidCoreDumps();

}  // namespace tovri
